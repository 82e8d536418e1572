#include "svbase/util/EscapedWord.h"

#include <charconv>
#include <cstddef>
#include <system_error>

namespace Util {

namespace {

constexpr std::string_view nothing = "-";
constexpr std::string_view hexadecimal = "0123456789abcdef";

bool needsEscape(char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == '%' || c == '\x7F';
}

} // namespace

std::vector<std::string_view> wordsOf(std::string_view line) {
    std::vector<std::string_view> words;
    for (;;) {
        const std::size_t blank = line.find(' ');
        words.push_back(line.substr(0, blank));
        if (blank == std::string_view::npos) {
            return words;
        }
        line.remove_prefix(blank + 1);
    }
}

std::string escapedWord(std::string_view text) {
    if (text.empty()) {
        return std::string(nothing);
    }
    std::string word;
    for (const char c : text) {
        if (needsEscape(c) || text == nothing) {
            word.push_back('%');
            appendHexByte(word, static_cast<std::uint8_t>(c));
        } else {
            word.push_back(c);
        }
    }
    return word;
}

std::optional<std::string> textOfWord(std::string_view word) {
    std::string text;
    if (word == nothing) {
        return text;
    }
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (word[i] != '%') {
            if (needsEscape(word[i])) {
                return std::nullopt;
            }
            text.push_back(word[i]);
            continue;
        }
        const auto byte = hexByteOf(word.substr(i + 1, 2));
        if (!byte) {
            return std::nullopt;
        }
        text.push_back(static_cast<char>(*byte));
        i += 2;
    }
    return text.empty() ? std::nullopt : std::optional(text);
}

void appendHexByte(std::string& out, std::uint8_t byte) {
    out.push_back(hexadecimal[byte >> 4U]);
    out.push_back(hexadecimal[byte & 15U]);
}

std::optional<std::uint8_t> hexByteOf(std::string_view twoDigits) {
    std::uint8_t byte = 0;
    const char* const begin =
        twoDigits.data(); // NOLINT(bugprone-suspicious-stringview-data-usage): the end goes with it
    const char* const end = begin + twoDigits.size();
    const auto [stopped, error] = std::from_chars(begin, end, byte, 16);
    return twoDigits.size() == 2 && error == std::errc() && stopped == end ? std::optional(byte)
                                                                           : std::nullopt;
}

} // namespace Util
