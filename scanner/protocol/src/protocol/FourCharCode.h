#pragma once

#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <cstdint>

namespace Tarvik {

/// Four characters in one number, the first in the least significant byte: 0x64636261 is 'abcd'.

/// "'abcd'" when all four bytes print (32 to 126, 160 to 255), else "0x" and eight upper-case hexadecimal
/// digits. Built with String::arg, byte by byte: a '%' followed by a digit among the four is taken for a
/// placeholder, as everywhere. [any]
String FourCharCodeToString(std::uint32_t code);

/// Reads either of the two forms above; invalid for anything else. [any]
checked_value<std::uint32_t> FourCharCodeFromString(const String& text);

} // namespace Tarvik
