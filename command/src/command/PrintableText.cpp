#include "command/PrintableText.h"

#include <algorithm>

namespace {

/// Length of the well-formed UTF-8 sequence at the front of text, 0 where there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) {
        return 1;
    }
    const std::size_t length = lead >= 0xC2 && lead < 0xE0   ? 2
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xF0 && lead < 0xF5 ? 4
                                                             : 0;
    if (length == 0 || text.size() < length) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    // Overlong forms, surrogates and what lies beyond Unicode.
    const bool wrong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F) ||
                       (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F);
    return wrong ? 0 : length;
}

/// Whether there is a control character (C0, DEL or C1) at the front of well-formed text.
bool isControl(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    return lead < 0x20 || lead == 0x7F || (lead == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0);
}

/// With U+FFFD for what is ill-formed, and for each sequence of which isReplaced says so.
template<class IsReplaced>
std::string replaced(std::string_view text, IsReplaced isReplaced) {
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    std::string result;
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        result += length == 0 || isReplaced(text) ? replacement : text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

} // namespace

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string wellFormed(std::string_view text) {
    return replaced(text, [](std::string_view) { return false; });
}

std::string printable(std::string_view text) {
    return replaced(text, isControl);
}
