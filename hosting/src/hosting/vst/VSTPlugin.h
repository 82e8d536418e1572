#pragma once

#include "hosting/Plugin.h"
#include "hosting/vst/VSTHostCall.h"
#include "hosting/vst/VSTHostCallHook.h"
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

/// One VST 2 effect from a dynamic library. The constructor loads it, decides whether it is a usable effect
/// and, unless it only scans, turns it on; IsValid() tells the result. The reason of a failure is told by
/// IsCoreLibrary(), AskedForShellCategory(), HasEditor() and IsArchitectureSupported(). The library, once
/// loaded, stays in the process for ever: threads and callbacks that an effect leaves behind must find their
/// code.
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

    void Reset() noexcept override;
    bool SupportsRealTime() const override;
    void Process(std::uint32_t frames, std::uint32_t channels, float** buffers) noexcept override;
    void ProcessEvents(std::uint32_t count, const ProcessEvent* events) noexcept override;

    /// No entry point of an effect, but that of a core which other libraries need.
    bool IsCoreLibrary() const { return isCoreLibrary; }
    /// The effect asked its host for "shellCategory": it holds several plug-ins.
    bool AskedForShellCategory() const { return askedForShellCategory.load(std::memory_order_relaxed); }
    /// By flag or by category.
    bool IsInstrument() const { return isInstrument.load(std::memory_order_relaxed); }
    /// 0 without an effect.
    std::uint32_t GetNumOutputs() const;
    /// The version of the interface that the effect was written for: 2400 for 2.4; 0 when it does not say.
    std::int32_t GetVstVersion() const { return vstVersion; }

    /// Answers an effect that asks for the time, in place of the transport that SetTransport tells. May be
    /// changed while the effect's threads run; calls that run already may be with the previous one still.
    void SetTimeCallback(VSTHostCallHandler callback, void* context);
    /// Answers vendor-specific calls; only with a context, too. Otherwise as SetTimeCallback.
    void SetVendorCallback(VSTHostCallHandler callback, void* context);

    /// Everything an effect may ask that depends on its object. [any]
    void AnswerHostCall(VSTHostCall& call) noexcept;

private:
    struct Program {
        String name;
        std::vector<std::uint8_t> state;
    };
    struct EventsBuffer;

    void UpdateTransport(const DSP::TransportRecord& transport) noexcept override;

    bool LoadLibraryFile();
    bool FindEntryPoint();
    bool CreateEffect(bool scanOnly);
    bool IsUsableEffect() const;
    void StartEffect();
    bool DecideInstrument() const;
    void ReadPrograms();
    void CloseEffect();
    void AbandonEffect();

    std::intptr_t Dispatch(
        std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0, void* pointer = nullptr,
        float opt = 0.0f) const;
    /// The same where an exception of the effect has nowhere to go: it is dropped.
    void DispatchQuietly(
        std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
        void* pointer = nullptr) const noexcept;
    /// The text that the effect writes for an opcode, with what it answered.
    String DispatchText(std::int32_t opcode, std::int32_t index, std::intptr_t& answer) const;
    bool ReadChunk(const std::uint8_t*& data, std::uint32_t& size) const;

    /// Leaves behind what it made when it fails or throws.
    bool OpenEditorWindow(NativeWindow parent, std::int32_t x, std::int32_t y);
    void DestroyEditorWindow();

    void GrowBuffers(std::uint32_t channels, std::uint32_t frames);
    float* InternalChannel(std::uint32_t channel);
    /// Runs a block of the caller's through the effect and leaves the result in the internal channels.
    void ProcessInternally(
        std::uint32_t internal, std::uint32_t frames, std::uint32_t channels, const float* const* buffers);

    std::intptr_t AnswerPinConnected(const VSTHostCall& call) const;
    std::intptr_t AnswerCanDo(const char* text);

    std::unique_ptr<Util::Module> library;
    checked_value<std::int32_t> blockSize;
    bool isCoreLibrary = false;
    void* entryPoint = nullptr;
    /// Null when not valid. Its resvd1 leads back to this object, also after effClose: most effects free the
    /// record there, so that nothing can be cleared any more. What an effect's threads ask must be over by
    /// then.
    AEffect* effect = nullptr;
    VSTHostCallHook timeCallback;
    VSTHostCallHook vendorCallback;
    std::int32_t vstVersion = 0;
    /// Set by the effect on any thread.
    std::atomic<bool> needsIdle = false;
    /// Found out when the effect's threads may run already.
    std::atomic<bool> isInstrument = false;
    std::atomic<bool> askedForShellCategory = false;
    /// Null while closed. Set and cleared on [main], and looked at when the effect asks for idle on any
    /// thread.
    std::atomic<NativeWindow> editorParent = nullptr;
    NativeWindow editorWindow = nullptr;
    /// While CloseEditor does its work.
    bool isEditorClosing = false;
    /// For a debugger's eyes.
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
