// What an effect asks of its host, as far as the answer depends on the effect's object.

#include "hosting/vst/VSTPlugin.h"
#include "hosting/vst/VstAbi.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace Tarvik {

void VSTPlugin::SetTimeCallback(VSTHostCallHandler callback, void* context) {
    timeCallback.Set(callback, context);
}

void VSTPlugin::SetVendorCallback(VSTHostCallHandler callback, void* context) {
    vendorCallback.Set(callback, context);
}

void VSTPlugin::AnswerHostCall(VSTHostCall& call) noexcept {
    switch (call.opcode) {
    case audioMasterAutomate:
        dirty.store(true, std::memory_order_relaxed);
        break;
    case audioMasterIdle:
        if (IsEditorOpen()) {
            DispatchQuietly(effEditIdle);
        }
        break;
    case audioMasterPinConnected:
        call.result = AnswerPinConnected(call);
        break;
    case audioMasterGetTime:
        if (const auto target = timeCallback.Get(); target.handler != nullptr) {
            target.handler(target.context, call);
        } else {
            call.result = reinterpret_cast<VstIntPtr>(timeInfo.get());
        }
        break;
    case audioMasterNeedIdle:
        needsIdle.store(true, std::memory_order_relaxed);
        break;
    case audioMasterGetSampleRate:
        call.result = static_cast<VstIntPtr>(std::llround(sampleRate));
        break;
    case audioMasterVendorSpecific:
        if (const auto target = vendorCallback.Get();
            target.handler != nullptr && target.context != nullptr) {
            target.handler(target.context, call);
        }
        break;
    case audioMasterCanDo:
        call.result = AnswerCanDo(static_cast<const char*>(call.pointer));
        break;
    default:
        break;
    }
}

std::intptr_t VSTPlugin::AnswerPinConnected(const VSTHostCall& call) const {
    constexpr std::intptr_t connected = 0;
    constexpr std::intptr_t unconnected = 1;
    if (call.index < 0) {
        return unconnected;
    }
    const auto channels = static_cast<VstInt32>(numChannels);
    if (call.value != 0) {
        return call.index < std::min(channels, call.effect->numOutputs) ? connected : unconnected;
    }
    const bool takesInput = !isInstrument.load(std::memory_order_relaxed) &&
                            call.index < std::min(channels, call.effect->numInputs);
    return takesInput ? connected : unconnected;
}

// A shell asks for this during its entry point, is told no, and gives no effect: that it asked is then the
// only sign of what it was.
std::intptr_t VSTPlugin::AnswerCanDo(const char* text) {
    if (text != nullptr && std::string_view(text) == "shellCategory") {
        askedForShellCategory.store(true, std::memory_order_relaxed);
    }
    return 0;
}

} // namespace Tarvik
