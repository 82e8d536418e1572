#include "protocol/FourCharCode.h"

#include <algorithm>
#include <array>

namespace Tarvik {
namespace {

std::array<std::uint8_t, 4> bytesOf(std::uint32_t code) {
    return {
        static_cast<std::uint8_t>(code), static_cast<std::uint8_t>(code >> 8),
        static_cast<std::uint8_t>(code >> 16), static_cast<std::uint8_t>(code >> 24)};
}

/// In ISO 8859-1, whose control characters stand in two blocks.
bool isControl(std::uint8_t byte) {
    return byte < 32 || (byte >= 127 && byte < 160);
}

} // namespace

String FourCharCodeToString(std::uint32_t code) {
    const auto bytes = bytesOf(code);
    if (std::ranges::any_of(bytes, isControl)) {
        return String("0x%1").arg(code, 16, checked_value(8u));
    }
    String text("'%1%2%3%4'");
    for (const std::uint8_t byte : bytes) {
        text = text.arg(static_cast<char>(byte));
    }
    return text;
}

checked_value<std::uint32_t> FourCharCodeFromString(const String& text) {
    if (text.length() == 6 && text[0] == '\'' && text[5] == '\'') {
        std::uint32_t code = 0;
        for (String::size_type i = 4; i >= 1; --i) {
            code = code << 8 | static_cast<std::uint8_t>(text[i]);
        }
        return code;
    }
    if (text.length() == 10 && text.startsWith("0x")) {
        return text.mid(2).toUnsigned(16);
    }
    return {};
}

} // namespace Tarvik
