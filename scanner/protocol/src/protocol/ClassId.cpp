#include "protocol/ClassId.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace Tarvik {
namespace {

constexpr std::size_t textLength = 36;

bool dashFollows(std::size_t byteIndex) {
    return byteIndex == 3 || byteIndex == 5 || byteIndex == 7 || byteIndex == 9;
}

/// -1 for a character that is no hexadecimal digit.
int digitValue(char character) {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    if (character >= 'A' && character <= 'F') {
        return character - 'A' + 10;
    }
    if (character >= 'a' && character <= 'f') {
        return character - 'a' + 10;
    }
    return -1;
}

} // namespace

String ClassIdToString(const ClassId& id) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(textLength);
    for (std::size_t i = 0; i < id.size(); ++i) {
        text += digits[id[i] >> 4];
        text += digits[id[i] & 15];
        if (dashFollows(i)) {
            text += '-';
        }
    }
    return String(std::move(text));
}

ClassId ClassIdFromString(const String& text) {
    if (text.length() != textLength) {
        return {};
    }
    ClassId id{};
    String::size_type position = 0;
    for (std::size_t i = 0; i < id.size(); ++i) {
        const int high = digitValue(text[position]);
        const int low = digitValue(text[position + 1]);
        if (high < 0 || low < 0) {
            return {};
        }
        id[i] = static_cast<std::uint8_t>(high * 16 + low);
        position += dashFollows(i) ? 3 : 2;
    }
    return id;
}

} // namespace Tarvik
