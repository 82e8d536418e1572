#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Util {

/// The words of a line, between single blanks; two blanks have an empty word between them. Never none. [any]
std::vector<std::string_view> wordsOf(std::string_view line);

/// A text of any bytes as one word, never empty, of bytes above blank: those up to blank, '%' and DEL are
/// written as '%' and two hexadecimal digits, the empty text as "-" and "-" itself escaped. [any]
std::string escapedWord(std::string_view text);

/// The way back. Nothing for a word that is no text's. [any]
std::optional<std::string> textOfWord(std::string_view word);

/// Two small hexadecimal digits. [any]
void appendHexByte(std::string& out, std::uint8_t byte);

/// Nothing unless the text is two hexadecimal digits. [any]
std::optional<std::uint8_t> hexByteOf(std::string_view twoDigits);

} // namespace Util
