#pragma once

#include "svbase/util/checked_value.h"

#include <cstdint>

namespace DSP {

/// Where the host's playback stands. What the host does not tell is invalid. A plain value, copied freely.
struct TransportRecord {
    /// 0: stopped, 1: playing; other modes are the host's own.
    checked_value<std::uint32_t> mode;
    /// In sample frames from the start of the host's timeline.
    checked_value<std::int64_t> position;
    /// In quarter notes per minute.
    checked_value<float> tempo;
    /// While set, and the position too, the position advances by the length of each block processed.
    bool valid = false;
};

} // namespace DSP
