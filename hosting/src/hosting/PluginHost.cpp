#include "hosting/PluginHost.h"

#include "dsp/ChannelLayout.h"
#include "dsp/ElementHost.h"
#include "hosting/vst/VSTPlugin.h"
#include "svbase/util/ByteStream.h"
#include "svbase/util/Exception.h"

#include <algorithm>
#include <bit>
#include <ctime>
#include <mutex>
#include <utility>

namespace Tarvik {

namespace {

constexpr std::uint32_t monoLayout = 0;
constexpr std::uint32_t dirtyFlagIndex = 0;

/// Of the plug-in's state: the side that the host edits.
constexpr std::uint32_t controlStream = 1;

} // namespace

PluginHost::PluginHost(
    DSP::ElementHost* host, float sampleRate, PluginInstantiator* byInstantiator, const String& vendor,
    const String& product)
    : ElementDispatcher(host, "PluginHost", sampleRate, monoLayout), instantiator(byInstantiator),
      hostVendor(vendor), hostProduct(product), pluginLock("PluginHost Plugin Critical Section") {
    const auto now = static_cast<std::uint32_t>(std::time(nullptr));
    dirtyGenerator = {now, now, std::bit_cast<float>(0x38000100U)};

    DSP::ParamRegistration<float> registration;
    registration.name = "Dirty Flag";
    registration.index = dirtyFlagIndex;
    registration.target = &dirtyFlag;
    AddFloatParam(std::move(registration));
    FinishParamRegistration();
}

PluginHost::~PluginHost() {
    const std::lock_guard lock(pluginLock);
    instantiator->Destroy(this);
}

void PluginHost::SetPathResolver(VSTPathResolver* resolver) {
    pathResolver = resolver;
}

const PluginIdentifier& PluginHost::GetIdentifier() const {
    return identifier;
}

void PluginHost::SetIdentifier(const PluginIdentifier& newIdentifier) {
    identifier = newIdentifier;
}

void PluginHost::ChangePlugin(bool onlyScan) {
    const std::lock_guard lock(pluginLock);
    scanOnly = onlyScan;
    changing = true;
    // Also when the plug-in's constructor throws.
    struct Ending {
        PluginHost& host;
        ~Ending() { host.scanOnly = host.changing = false; }
    } const ending{*this};

    instantiationStatus = InstantiationOK;
    instantiationStatusValid = false;
    if (plugin != nullptr) {
        instantiator->Destroy(this);
    }
    instantiator->Instantiate(this);
    GetHost()->OnParamBatch(1);
}

Plugin* PluginHost::GetPlugin() const {
    return plugin.get();
}

checked_value<InstantiationStatus> PluginHost::GetInstantiationStatus() const {
    return instantiationStatusValid ? checked_value<InstantiationStatus>(instantiationStatus)
                                    : checked_value<InstantiationStatus>();
}

bool PluginHost::IsChanging() const {
    return changing;
}

const String& PluginHost::GetPluginDescription() const {
    return pluginDescription;
}

void PluginHost::SetPluginDescription(const String& description) {
    pluginDescription = description;
}

void PluginHost::InstantiatePlugin(PluginInstantiator*) {
    switch (identifier.format) {
    case PluginFormat::VST:
        InstantiateVST();
        break;
    case PluginFormat::DirectX:
        InstantiateDirectX();
        break;
    default:
        // The other formats have no adapter here: nothing is attempted, and the status stays unset.
        break;
    }
}

void PluginHost::InstantiateVST() {
    String path = identifier.vstPath;
    if (path.isEmpty() && pathResolver != nullptr) {
        path = pathResolver->ResolvePath(identifier);
    }
    instantiationStatusValid = true;
    if (path.isEmpty()) {
        instantiationStatus = InstantiationNotFound;
        return;
    }

    // Valid only once the object has told it.
    instantiationStatusValid = false;
    const auto blockSize = checked_value<std::int32_t>(static_cast<std::int32_t>(GetMaxBlockSize()));
    auto vst = std::make_unique<VSTPlugin>(
        path, GetSampleRate(), GetChannelLayout(), scanOnly, blockSize, hostVendor, hostProduct);
    // Also where the new one turns out to be unusable: a plug-in never stands beside a failure.
    plugin.reset();
    if (vst->IsValid()) {
        instantiationStatus = InstantiationOK;
        plugin = std::move(vst);
    } else if (vst->IsCoreLibrary()) {
        instantiationStatus = InstantiationCoreLibrary;
    } else if (vst->AskedForShellCategory()) {
        instantiationStatus = InstantiationShell;
    } else if (const OptionalBool hasEditor = vst->HasEditor(); hasEditor.known && !hasEditor.value) {
        instantiationStatus = InstantiationNoEditor;
    } else if (!vst->IsArchitectureSupported()) {
        instantiationStatus = InstantiationWrongArchitecture;
    } else {
        instantiationStatus = InstantiationFailed;
    }
    instantiationStatusValid = true;
}

void PluginHost::DestroyPlugin(PluginInstantiator*) {
    // Cleared first: what the plug-in does while it goes finds none.
    const std::shared_ptr<Plugin> going = std::move(plugin);
}

std::vector<std::uint8_t> PluginHost::State() const {
    Util::ByteStream stream;
    try {
        stream.write(identifier.ToString());
        if (plugin != nullptr) {
            std::vector<std::uint8_t> bytes;
            plugin->GetState(controlStream, bytes);
            stream.write(bytes);
        }
    } catch (const Util::Exception::DataStreamIO&) {
        // The state is what was written so far.
    }
    return stream.data();
}

bool PluginHost::HasExtraBytes() const {
    return true;
}

std::uint32_t PluginHost::GetExtraBytesSize() const {
    return static_cast<std::uint32_t>(State().size());
}

void PluginHost::GetDefaultExtraBytes(std::span<std::uint8_t> buffer) const {
    std::fill(buffer.begin(), buffer.end(), std::uint8_t{0});
}

void PluginHost::GetExtraBytes(std::span<std::uint8_t> buffer) const {
    const std::vector<std::uint8_t> whole = State();
    if (whole.size() == buffer.size()) {
        std::copy(whole.begin(), whole.end(), buffer.begin());
    }
}

void PluginHost::SetExtraBytes(const void* bytes, std::uint32_t size, bool) {
    if (size == 0) {
        identifier = {};
        ChangePlugin(false);
        return;
    }
    try {
        const auto* first = static_cast<const std::uint8_t*>(bytes);
        Util::ByteStream stream(std::vector<std::uint8_t>(first, first + size));
        String text;
        stream.read(text);
        PluginIdentifier stored;
        if (!stored.FromString(text)) {
            return;
        }
        if (!(stored == identifier)) {
            identifier = stored;
            ChangePlugin(false);
        }
        std::vector<std::uint8_t> rest(stream.bytesRemaining());
        stream.read(rest);
        if (plugin != nullptr && !rest.empty()) {
            plugin->SetState(controlStream, static_cast<std::uint32_t>(rest.size()), rest.data());
        }
    } catch (const Util::Exception::DataStreamIO&) {
        // What was read before the end stands.
    }
}

checked_value<std::uint32_t> PluginHost::GetReportedDelay() const {
    return plugin != nullptr ? plugin->GetReportedDelay() : checked_value<std::uint32_t>();
}

std::uint32_t PluginHost::DoGetLatency(std::uint32_t) const {
    return plugin != nullptr ? plugin->GetLatency() : 0;
}

void PluginHost::OnReset() {
    if (plugin != nullptr) {
        plugin->Reset();
    }
}

void PluginHost::ProcessAudio(std::uint32_t numFrames, float** channels) {
    const std::unique_lock lock(pluginLock, std::try_to_lock);
    if (!lock.owns_lock() || plugin == nullptr) {
        return;
    }
    DSP::TransportRecord transport;
    GetHost()->GetTransport(transport);
    plugin->SetTransport(transport);
    plugin->Process(numFrames, GetNumChannels(), channels);
}

float PluginHost::DirtyGenerator::Next() {
    state = state * 214013U + 2531011U;
    return static_cast<float>((state >> 16) & 0x7FFFU) * scale;
}

void PluginHost::OnIdle() {
    if (plugin == nullptr) {
        return;
    }
    // What the plug-in does meanwhile, and who listens to the parameter, may exchange the plug-in or end this
    // host. An address would not tell: the next plug-in may stand where this one stood.
    const std::weak_ptr<Plugin> told = plugin;
    plugin->Idle();
    if (told.expired() || !plugin->IsDirty()) {
        return;
    }
    SetParam(DSP::ParamSide::control, dirtyFlagIndex, dirtyGenerator.Next());
    if (!told.expired()) {
        plugin->ClearDirty();
    }
}

bool PluginHost::ProcessRegions(DSP::RandomAccessHost* host) {
    if (plugin == nullptr) {
        return false;
    }
    return plugin->SupportsRandomAccess(host) ? plugin->ProcessRandomAccess(host)
                                              : ElementDispatcher::ProcessRegions(host);
}

} // namespace Tarvik
