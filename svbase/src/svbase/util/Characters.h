#pragma once

/// Classes and case of single bytes as String sees them, whatever the C locale says.
namespace Util {

/// Blank, the bytes 9 to 13 and 0xA0.
constexpr bool isSpace(char character) {
    const unsigned char byte = static_cast<unsigned char>(character);
    return byte == ' ' || (byte >= 9 && byte <= 13) || byte == 0xA0;
}

/// A to Z and a to z only; every other byte stays.
constexpr char lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A')) : character;
}

constexpr char upper(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - ('a' - 'A')) : character;
}

} // namespace Util
