#pragma once

#include "hosting/vst/VSTPlugin.h"
#include "hosting/vst/VstAbi.h"

namespace Tarvik {

/// A VstEvents with room for a whole batch.
struct VSTPlugin::EventsBuffer {
    static constexpr std::uint32_t capacity = 100;

    VstInt32 numEvents = 0;
    VstIntPtr reserved = 0;
    /// The two of the published record, and the batch's.
    VstEvent* events[2 + capacity] = {};
};

} // namespace Tarvik
