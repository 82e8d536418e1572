#pragma once

#include "svbase/util/String.h"

#include <cstdint>

namespace Audio::Decode {

/// The four bytes of an identifier in the order of the file, the first in the highest byte.
constexpr std::uint32_t fourCC(const char (&text)[5]) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        value = (value << 8U) | static_cast<unsigned char>(text[i]);
    }
    return value;
}

/// The four bytes as they stand, up to the first NUL.
inline String fourCCText(std::uint32_t identifier) {
    char text[5] = {};
    for (unsigned i = 0; i < 4; ++i) {
        text[i] = static_cast<char>(identifier >> (24 - 8 * i));
    }
    return {text};
}

} // namespace Audio::Decode
