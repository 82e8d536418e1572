#pragma once

#include "svbase/util/String.h"

#include <cstdint>

namespace DSP {

/// The number of channels, in and out, of a channel layout code. 0 for a code without meaning: 37, and
/// everything outside 0..46. Pure, never fails. [any]
std::int32_t getChannelCount(std::int32_t layout) noexcept;

/// The text by which a layout is shown to the outside. Never a key: codes 8 and 40 share theirs. "?" for a
/// code without meaning. [any]
String getLayoutName(std::int32_t layout);

} // namespace DSP
