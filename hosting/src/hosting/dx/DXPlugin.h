#pragma once

#include "hosting/Plugin.h"
#include "protocol/PluginIdentifier.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Tarvik {

class DXFilterGraph;

/// A DirectX audio plug-in, which is a DirectShow transform filter, in a graph of its own. It has no
/// parameters that a host could see: they are its property page's alone, and its state's. Windows only. COM
/// has to be initialised on the thread that makes the object, and the object stays there, but for Process.
class DXPlugin final : public Plugin {
public:
    /// classIdText: 36 characters, without braces. layout: a channel layout code. What the filter throws
    /// makes the object invalid.
    DXPlugin(const String& classIdText, float rate, std::uint32_t layout);

    /// Closes the editor, then the graph.
    ~DXPlugin() override;

    /// The filter's class could not be created: why the object is not valid.
    bool IsClassNotFound() const;

    bool IsValid() const override;
    std::uint32_t GetFormat() const override;
    PluginIdentifier GetIdentifier() const override;
    /// The name under which the filter is registered.
    String GetName() const override;
    std::uint32_t GetLatency() const override;

    OptionalBool HasEditor() const override;
    void GetEditorSize(std::uint32_t& width, std::uint32_t& height) override;
    bool IsEditorOpen() const override;
    bool OpenEditor(NativeWindow parent, std::int32_t x, std::int32_t y) override;
    void CloseEditor() override;

    std::uint32_t GetNumParameters() const override;
    String GetParameterName(std::uint32_t index) const override;
    ParameterInfo GetParameterInfo(std::uint32_t index) const override;
    String GetParameterUnits(std::uint32_t index) const override;
    bool IsParameterQuantised(std::uint32_t index) const override;
    String GetParameterDisplay(std::uint32_t index, std::uint32_t value) const override;
    float GetParameterValue(std::uint32_t stream, std::uint32_t index) const override;
    void SetParameterValue(std::uint32_t stream, std::uint32_t index, float value) override;

    /// Only stream 1, the control side, has one. A filter that fails to write it leaves `state` as it was.
    void GetState(std::int32_t stream, std::vector<std::uint8_t>& state) const override;
    bool SetState(std::uint32_t stream, std::uint32_t size, const void* data) override;

    void Reset() override;
    bool SupportsRealTime() const override;
    void Process(std::uint32_t frames, std::uint32_t channels, float** buffers) override;
    /// The frames that the last block gave back: as many fewer than it had as the filter's delay has just
    /// grown by.
    checked_value<std::uint32_t> GetReportedDelay() const override;

    /// Of the windows that editors stand in; tells two copies of this code in one process apart.
    static String EditorClassName();

private:
    bool valid = false;
    NativeWindow editorParent = nullptr;
    NativeWindow editorWindow = nullptr;
    /// For a debugger's eyes: what the filter does after this comes late.
    bool destructing = false;
    std::unique_ptr<DXFilterGraph> graph;
};

} // namespace Tarvik
