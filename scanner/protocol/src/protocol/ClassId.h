#pragma once

#include "svbase/util/String.h"

#include <array>
#include <cstdint>

namespace Tarvik {

/// A component's class identifier, its bytes in the order in which its text shows them.
using ClassId = std::array<std::uint8_t, 16>;

/// 36 characters without braces: upper-case hexadecimal pairs, dashes after bytes 3, 5, 7 and 9. [any]
String ClassIdToString(const ClassId& id);

/// Never fails: a text of another length than 36, or with a character that is not hexadecimal, gives sixteen
/// zeros. What stands at the places of the dashes is not looked at. [any]
ClassId ClassIdFromString(const String& text);

} // namespace Tarvik
