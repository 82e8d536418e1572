#pragma once

#include "dsp/ElementDispatcher.h"
#include "hosting/InstantiationStatus.h"
#include "hosting/Plugin.h"
#include "hosting/PluginInstantiator.h"
#include "protocol/PluginIdentifier.h"
#include "svbase/util/CriticalSection.h"
#include "svbase/util/checked_value.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Tarvik {

/// Finds the library of a VST identifier that has no path.
class VSTPathResolver {
public:
    virtual ~VSTPathResolver() = default;
    /// identifier: format VST, with what is known of path, key and unique identifier. The empty String: not
    /// found.
    virtual String ResolvePath(const PluginIdentifier& identifier) = 0;
};

/// Makes a plug-in look like an element. Without one, or while it is being exchanged, the element is a
/// pass-through with latency 0.
///
/// Threads. The plug-in lock orders the control thread's ChangePlugin and the audio thread's ProcessAudio:
/// the control thread waits, the audio thread only tries and leaves the block as it is. State, idle, latency
/// and the reported delay do not take it and belong to the control thread; the delay, which blocks change
/// meanwhile, is a single atomic word of the plug-in's. One exception has to be kept in order by whoever owns
/// the host: with the dry path on, Process asks for the latency as well, so then a plug-in is exchanged only
/// while audio is kept out.
class PluginHost final : public DSP::ElementDispatcher, private PluginInstantiatorHandler {
public:
    /// host and instantiator: borrowed, outlive this object. hostVendor, hostProduct: what plug-ins are told
    /// of their host. The element is mono whatever the plug-in.
    PluginHost(
        DSP::ElementHost* host, float sampleRate, PluginInstantiator* instantiator, const String& hostVendor,
        const String& hostProduct);
    ~PluginHost() override;

    /// Null, the default, when identifiers have their paths. Borrowed. [control]
    void SetPathResolver(VSTPathResolver* resolver);

    /// What this host should hold. Takes effect with the next ChangePlugin. [control]
    const PluginIdentifier& GetIdentifier() const;
    void SetIdentifier(const PluginIdentifier& newIdentifier);

    /// Destroys the present plug-in and makes the one that the identifier names. scanOnly: only load it, do
    /// not turn it on. Waits for the running block. What a plug-in's own constructor throws passes through.
    /// [control]
    void ChangePlugin(bool onlyScan);

    /// Null, or a plug-in that answered IsValid with true. [control]
    Plugin* GetPlugin() const;

    /// Invalid when the last ChangePlugin attempted nothing. [control]
    checked_value<InstantiationStatus> GetInstantiationStatus() const;

    /// True while ChangePlugin runs. [control]
    bool IsChanging() const;

    /// Of the last plug-in that was described to the host; null until then. [control]
    const String& GetPluginDescription() const;
    void SetPluginDescription(const String& description);

    bool HasExtraBytes() const override;
    std::uint32_t GetExtraBytesSize() const override;
    /// Zeroes the buffer.
    void GetDefaultExtraBytes(std::span<std::uint8_t> buffer) const override;
    /// The identifier's text form and the plug-in's state.
    void GetExtraBytes(std::span<std::uint8_t> buffer) const override;
    /// No bytes unload the plug-in. Bytes that do not begin with an identifier change nothing.
    void SetExtraBytes(const void* bytes, std::uint32_t size, bool flag) override;

    /// A delay that the plug-in measured while processing, in sample frames. [control]
    virtual checked_value<std::uint32_t> GetReportedDelay() const;

protected:
    std::uint32_t DoGetLatency(std::uint32_t stream) const override;
    void OnReset() override;
    void ProcessAudio(std::uint32_t numFrames, float** channels) override;
    void OnIdle() override;
    bool ProcessRegions(DSP::RandomAccessHost* host) override;

private:
    void InstantiatePlugin(PluginInstantiator* by) override;
    void DestroyPlugin(PluginInstantiator* by) override;
    void InstantiateVST();
    /// Nothing, on a platform without such plug-ins: the status stays unset.
    void InstantiateDirectX();
    std::vector<std::uint8_t> State() const;

    /// A new value for a parameter that says nothing but that something changed: the C library's own
    /// generator, so that two changes in a row hardly ever look like none.
    struct DirtyGenerator {
        std::uint32_t seed;
        std::uint32_t state;
        /// One over 32767.
        float scale;

        float Next();
    };

    VSTPathResolver* pathResolver = nullptr;
    PluginInstantiator* instantiator;
    String hostVendor;
    String hostProduct;
    Util::CriticalSection pluginLock;
    InstantiationStatus instantiationStatus = InstantiationOK;
    bool instantiationStatusValid = false;
    bool scanOnly = false;
    bool changing = false;
    PluginIdentifier identifier;
    String pluginDescription;
    /// Owned here alone; shared only with who wants to know whether it still lives.
    std::shared_ptr<Plugin> plugin;
    DirtyGenerator dirtyGenerator;
    float dirtyFlag = 0.0F;
};

} // namespace Tarvik
