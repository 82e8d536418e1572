#include "hosting/vst/VSTHost.h"

#include "hosting/vst/VSTPlugin.h"
#include "svbase/util/CriticalSection.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <mutex>
#include <string_view>

namespace Tarvik {

namespace {

struct Shared {
    // Guards the three below. Recursive: an effect calls back from inside its entry point.
    Util::CriticalSection loadingLock{"VSTPlugin Loading Critical Section"};
    String hostVendorName;
    String hostProductName;
    VSTPlugin* pluginBeingLoaded = nullptr;
};

// Never destroyed: the threads of effects run on while the process ends, and their libraries hear of its end
// only after this program's static destructors.
Shared& shared = *new Shared;

constexpr VstIntPtr hostVersion = 1000;

// The published buffers take 64 bytes; effects that follow them must not be overrun.
constexpr std::size_t nameLimit = 63;

VstIntPtr copyName(const String& name, void* destination) {
    if (destination == nullptr) {
        return 0;
    }
    const std::lock_guard guard(shared.loadingLock);
    const std::string_view text = name.view().substr(0, nameLimit);
    auto* bytes = static_cast<char*>(destination);
    std::copy(text.begin(), text.end(), bytes);
    bytes[text.size()] = '\0';
    return 1;
}

VSTPlugin* findLoading() {
    const std::lock_guard guard(shared.loadingLock);
    return shared.pluginBeingLoaded;
}

VSTPlugin* findPlugin(AEffect* effect, VstInt32 opcode) {
    if (effect == nullptr) {
        // Without an effect nothing is answered, yet a shell has often none when it asks whether it may be
        // one, and its asking is the only sign of what it is.
        return opcode == audioMasterCanDo ? findLoading() : nullptr;
    }
    if (VSTPlugin* const plugin = VSTHost::FindOwner(*effect)) {
        return plugin;
    }
    // Effects of one vendor talk to hosts of that vendor from anywhere: not worth the lock.
    return opcode == audioMasterVendorSpecific ? nullptr : findLoading();
}

} // namespace

void VSTHost::SetNames(const String& vendor, const String& product) {
    const std::lock_guard guard(shared.loadingLock);
    shared.hostVendorName = vendor;
    shared.hostProductName = product;
}

void VSTHost::SetOwner(AEffect& effect, VSTPlugin* plugin) {
    std::atomic_ref(effect.resvd1).store(std::bit_cast<VstIntPtr>(plugin), std::memory_order_release);
}

VSTPlugin* VSTHost::FindOwner(AEffect& effect) {
    return std::bit_cast<VSTPlugin*>(std::atomic_ref(effect.resvd1).load(std::memory_order_acquire));
}

VSTHost::Loading::Loading(VSTPlugin& plugin) {
    shared.loadingLock.lock();
    shared.pluginBeingLoaded = &plugin;
}

VSTHost::Loading::~Loading() {
    shared.pluginBeingLoaded = nullptr;
    shared.loadingLock.unlock();
}

VstIntPtr VSTCALLBACK VSTHost::AudioMaster(
    AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt) noexcept {
    switch (opcode) {
    case audioMasterVersion:
        return kVstVersion;
    case audioMasterGetVendorString:
        return copyName(shared.hostVendorName, ptr);
    case audioMasterGetProductString:
        return copyName(shared.hostProductName, ptr);
    case audioMasterGetVendorVersion:
        return hostVersion;
    default:
        break;
    }
    VSTPlugin* plugin = findPlugin(effect, opcode);
    if (plugin == nullptr) {
        return 0;
    }
    VSTHostCall call{effect, opcode, index, value, ptr, opt, 0};
    plugin->AnswerHostCall(call);
    return call.result;
}

} // namespace Tarvik
