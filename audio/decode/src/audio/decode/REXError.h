#pragma once

#include "svbase/util/String.h"

#include <cstdint>

namespace Audio::Decode::REX {

/// What a number of REXInterface.h's ErrorNumber says to a reader, with the number; unknown ones too. [any]
String ErrorText(std::int32_t error);

} // namespace Audio::Decode::REX
