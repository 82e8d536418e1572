#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Bytes from recorded hexadecimal; blanks separate.
inline std::string fromHex(std::string_view text) {
    const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'a' + 10; };
    std::string bytes;
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == ' ') {
            ++i;
            continue;
        }
        bytes += static_cast<char>(digit(text[i]) * 16 + digit(text[i + 1]));
        i += 2;
    }
    return bytes;
}

inline std::string toHex(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        text += digits[static_cast<unsigned char>(c) >> 4];
        text += digits[static_cast<unsigned char>(c) & 15];
    }
    return text;
}
