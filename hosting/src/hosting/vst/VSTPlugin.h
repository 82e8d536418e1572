#pragma once

#include "hosting/Plugin.h"
#include "protocol/PluginIdentifier.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

struct AEffect;
struct VstMidiEvent;
struct VstTimeInfo;

namespace Util {
class Module;
}

namespace Tarvik {

/// One call of an effect to its host, handed on to whoever wants to answer it.
struct VSTHostCall {
    AEffect* effect = nullptr;
    std::int32_t opcode = 0;
    std::int32_t index = 0;
    std::intptr_t value = 0;
    void* pointer = nullptr;
    float opt = 0.0f;
    /// What the effect is answered.
    std::intptr_t result = 0;
};

/// Answers a call by its `result`. On the effect's thread, whichever that is: must not throw. [any]
using VSTHostCallHandler = void (*)(void* context, VSTHostCall& call);

/// One VST 2 effect from a dynamic library. The constructor loads it, decides whether it is a usable effect
/// and, unless it only scans, turns it on; IsValid() tells the result, and the four facts below the reason of
/// a failure. The library, once loaded, stays in the process for ever: threads and callbacks that an effect
/// leaves behind must find their code.
///
/// Entry points of all libraries run one after the other, under the lock "VSTPlugin Loading Critical
/// Section". Effects call their host on any thread; everything else here belongs to the thread that Plugin
/// names.
class VSTPlugin final : public Plugin {
public:
    /// path: in either form. layout: a channel layout code. scanOnly: create the effect and ask nothing more.
    /// blockSize: the largest block in frames; 65536 is told to the effect when there is none. hostVendor and
    /// hostProduct: what effects are told of their host, all effects of the process from now on.
    /// Throws only if the fields themselves cannot be built.
    VSTPlugin(
        const String& path, float rate, std::uint32_t layout, bool scanOnly,
        checked_value<std::int32_t> maxBlockSize, const String& hostVendor, const String& hostProduct);

    /// Closes the editor and the effect.
    ~VSTPlugin() override;

    bool IsValid() const override;
    std::uint32_t GetFormat() const override;
    PluginIdentifier GetIdentifier() const override;
    /// What the effect calls itself, byte for byte; otherwise the library's file name without ".dll".
    String GetName() const override;

    std::uint32_t GetNumPrograms() const override;
    String GetProgramName(std::uint32_t index) const override;
    bool SelectProgram(std::uint32_t index) override;

    std::uint32_t GetLatency() const override;
    void Idle() override;
    bool IsArchitectureSupported() const override;

    OptionalBool HasEditor() const override;
    void GetEditorSize(std::uint32_t& width, std::uint32_t& height) override;
    bool IsEditorOpen() const override;
    bool OpenEditor(NativeWindow parent, std::int32_t x, std::int32_t y) override;
    void CloseEditor() override;
    bool HasEditorResizeCallback() const override;
    void SetEditorResizeCallback(EditorResizeCallback callback, void* context) override;

    std::uint32_t GetNumParameters() const override;
    String GetParameterName(std::uint32_t index) const override;
    ParameterInfo GetParameterInfo(std::uint32_t index) const override;
    String GetParameterUnits(std::uint32_t index) const override;
    bool IsParameterQuantised(std::uint32_t index) const override;
    String GetParameterDisplay(std::uint32_t index, std::uint32_t value) const override;
    /// The stream is of no matter to an effect.
    float GetParameterValue(std::uint32_t stream, std::uint32_t index) const override;
    void SetParameterValue(std::uint32_t stream, std::uint32_t index, float value) override;

    /// The effect's own chunk of the current program; without one, every parameter's value as a 32-bit float.
    void GetState(std::int32_t stream, std::vector<std::uint8_t>& state) const override;
    bool SetState(std::uint32_t stream, std::uint32_t size, const void* data) override;

    void Reset() override;
    bool SupportsRealTime() const override;
    void Process(std::uint32_t frames, std::uint32_t channels, float** buffers) override;
    void ProcessEvents(std::uint32_t count, const ProcessEvent* events) override;

    /// No entry point of an effect, but that of a core which other libraries need.
    bool IsCoreLibrary() const { return isCoreLibrary; }
    /// The effect asked its host for "shellCategory": it holds several plug-ins.
    bool AskedForShellCategory() const { return askedForShellCategory; }
    /// By flag or by category.
    bool IsInstrument() const { return isInstrument; }
    /// 0 without an effect.
    std::uint32_t GetNumOutputs() const;
    /// The version of the interface that the effect was written for: 2400 for 2.4; 0 when it does not say.
    std::int32_t GetVstVersion() const { return vstVersion; }

    /// Answers an effect that asks for the time, in place of the transport that SetTransport tells.
    void SetTimeCallback(VSTHostCallHandler callback, void* context);
    /// Answers vendor-specific calls; only with a context, too.
    void SetVendorCallback(VSTHostCallHandler callback, void* context);

    /// Everything an effect may ask that depends on its object. [any]
    void AnswerHostCall(VSTHostCall& call) noexcept;

private:
    struct Program {
        String name;
        std::vector<std::uint8_t> state;
    };
    struct EventsBuffer;

    void UpdateTransport(const DSP::TransportRecord& transport) override;

    bool LoadLibraryFile();
    bool FindEntryPoint();
    bool CreateEffect(bool scanOnly);
    bool IsUsableEffect() const;
    void StartEffect();
    bool DecideInstrument() const;
    void ReadPrograms();
    void CloseEffect();

    std::intptr_t Dispatch(
        std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0, void* pointer = nullptr,
        float opt = 0.0f) const;
    /// The text that the effect writes for an opcode, with what it answered.
    String DispatchText(std::int32_t opcode, std::int32_t index, std::intptr_t& answer) const;
    bool ReadChunk(const std::uint8_t*& data, std::uint32_t& size) const;

    void GrowBuffers(std::uint32_t channels, std::uint32_t frames);
    float* InternalChannel(std::uint32_t channel);

    std::intptr_t AnswerPinConnected(const VSTHostCall& call) const;
    std::intptr_t AnswerCanDo(const char* text);

    std::unique_ptr<Util::Module> library;
    checked_value<std::int32_t> blockSize;
    bool isCoreLibrary = false;
    void* entryPoint = nullptr;
    /// Null when not valid. Its resvd1 leads back to this object.
    AEffect* effect = nullptr;
    VSTHostCallHandler timeCallback = nullptr;
    void* timeContext = nullptr;
    VSTHostCallHandler vendorCallback = nullptr;
    void* vendorContext = nullptr;
    std::int32_t vstVersion = 0;
    /// Set by the effect on any thread.
    std::atomic<bool> needsIdle = false;
    bool isInstrument = false;
    std::atomic<bool> askedForShellCategory = false;
    NativeWindow editorParent = nullptr;
    NativeWindow editorWindow = nullptr;
    /// For a debugger's eyes: late calls of the effect's threads come after this.
    bool destructing = false;
    checked_value<std::uint32_t> editorWidth;
    checked_value<std::uint32_t> editorHeight;
    EditorResizeCallback resizeCallback = nullptr;
    void* resizeContext = nullptr;
    std::vector<Program> programs;
    std::unique_ptr<EventsBuffer> eventsBuffer;
    std::unique_ptr<VstMidiEvent[]> midiEvents;
    std::unique_ptr<VstTimeInfo> timeInfo;
    bool hasEditor = false;
    bool hasEditorKnown = false;
    checked_value<std::uint32_t> bufferChannels;
    checked_value<std::uint32_t> bufferFrames;
    std::vector<float> audioBuffer;
    std::vector<float*> channelPointers;
};

} // namespace Tarvik
