#pragma once

#include <string>
#include <string_view>

/// Strict conversion between the two encodings of the system: UTF-8 inside, UTF-16 towards Windows.
/// Duties of a platform: refuse what is ill-formed (lone surrogates, overlong forms, code points past
/// U+10FFFF) rather than replace it.
namespace Util::Unicode {

/// False when the input is ill-formed; `out` is then empty. [any]
bool toUtf16(std::string_view utf8, std::u16string& out);
bool toUtf8(std::u16string_view utf16, std::string& out);

} // namespace Util::Unicode
