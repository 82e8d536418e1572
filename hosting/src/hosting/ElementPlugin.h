#pragma once

#include "dsp/ElementParam.h"
#include "hosting/Plugin.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace DSP {
class Element;
class ElementHost;
} // namespace DSP

namespace Util {
class Module;
}

namespace Tarvik {

/// A parameter of an element: a number, a switch, or a choice, which carries every whole number.
using ElementParamRef = DSP::ParamHandle;

/// A DSP element as a plug-in, by forwarding. The base of the formats whose plug-ins are elements; it has no
/// editor of its own. Parameters are the element's, in the order of their names; a parameter's stream is the
/// side of its value (0 audio, 1 control).
class ElementPlugin : public Plugin {
public:
    using ElementDeleter = void (*)(DSP::Element*);

    /// Holds no element yet. host: borrowed, outlives this object.
    ElementPlugin(float rate, std::uint32_t layout, DSP::ElementHost* host);
    ~ElementPlugin() override;

    bool IsValid() const override;
    std::uint32_t GetFormat() const override;
    /// The default identifier: an element says nothing of where it came from.
    PluginIdentifier GetIdentifier() const override;
    String GetName() const override;
    std::uint32_t GetLatency() const override;
    void Idle() override;
    OptionalBool HasEditor() const override;
    void GetEditorSize(std::uint32_t& width, std::uint32_t& height) override;
    bool OpenEditor(NativeWindow parent, std::int32_t x, std::int32_t y) override;
    void CloseEditor() override;

    std::uint32_t GetNumParameters() const override;
    String GetParameterName(std::uint32_t index) const override;
    /// kind: 0 float, 1 bool, 2 enumeration. steps: of the last two, one less than there are values.
    ParameterInfo GetParameterInfo(std::uint32_t index) const override;
    String GetParameterUnits(std::uint32_t index) const override;
    bool IsParameterQuantised(std::uint32_t index) const override;
    String GetParameterDisplay(std::uint32_t index, std::uint32_t value) const override;
    float GetParameterValue(std::uint32_t stream, std::uint32_t index) const override;
    void SetParameterValue(std::uint32_t stream, std::uint32_t index, float value) override;

    /// Every parameter's value (4 bytes each, 1 for a bool), the size of the element's extra bytes (32 bits)
    /// and those bytes. Empty when the extra bytes are more than 100000000.
    void GetState(std::int32_t stream, std::vector<std::uint8_t>& state) const override;
    bool SetState(std::uint32_t stream, std::uint32_t size, const void* data) override;

    void Reset() override;
    bool SupportsRealTime() const override;
    void Process(std::uint32_t frames, std::uint32_t channels, float** buffers) override;
    bool SupportsRandomAccess(DSP::RandomAccessHost* host) const override;
    bool ProcessRandomAccess(DSP::RandomAccessHost* host) override;

    virtual DSP::Element* GetElement() const;
    /// For derived classes that follow their element; nothing calls it here.
    virtual void OnElementChanged();

protected:
    /// Takes the element and reads its list of parameters. owns: whether the destructor ends it, through
    /// deleter, or through its own destructor where that is null.
    void SetElement(DSP::Element* newElement, bool owns, ElementDeleter deleter = nullptr);

    /// The library that the element's code stands in: freed after the element.
    void SetLibrary(std::unique_ptr<Util::Module> module);

    DSP::ElementHost* GetElementHost() const { return elementHost; }

private:
    struct ParameterTable {
        std::vector<String> names;
        std::vector<ElementParamRef> entries;
    };

    void UpdateTransport(const DSP::TransportRecord& transport) override;

    std::unique_ptr<Util::Module> library;
    DSP::Element* element = nullptr;
    DSP::ElementHost* elementHost;
    ParameterTable parameters;
    ElementDeleter elementDeleter = nullptr;
    bool ownsElement = false;
};

} // namespace Tarvik
