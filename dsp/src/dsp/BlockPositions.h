#pragma once

#include "svbase/util/checked_value.h"

#include <cstdint>

namespace DSP {

/// Where the material starts and ends inside a block, as sample offsets. An offset that is not inside is
/// invalid.
struct BlockPositions {
    checked_value<std::uint32_t> start;
    checked_value<std::uint32_t> end;
};

} // namespace DSP
