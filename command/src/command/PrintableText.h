#pragma once

#include <string>
#include <string_view>

/// Whether all of it is well-formed UTF-8.
bool isUtf8(std::string_view text);

/// The text, with each byte that is no part of well-formed UTF-8 replaced by U+FFFD.
std::string wellFormed(std::string_view text);

/// A text of unknown origin for a person to read: control characters (C0, DEL, C1) and ill-formed bytes are
/// replaced by U+FFFD, so that it cannot steer a terminal and is well-formed.
std::string printable(std::string_view text);
