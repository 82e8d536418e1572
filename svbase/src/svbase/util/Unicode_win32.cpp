#include "svbase/util/Unicode.h"

#include <limits>

#include <windows.h>

namespace Util::Unicode {

namespace {

// The conversion calls count in int.
bool countable(std::size_t length) {
    return length <= static_cast<std::size_t>(std::numeric_limits<int>::max());
}

} // namespace

bool toUtf16(std::string_view utf8, std::u16string& out) {
    static_assert(sizeof(wchar_t) == sizeof(char16_t));
    out.clear();
    if (utf8.empty()) {
        return true;
    }
    if (!countable(utf8.size())) {
        return false;
    }
    const int length = static_cast<int>(utf8.size());
    const int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), length, nullptr, 0);
    if (units <= 0) {
        return false;
    }
    out.resize(static_cast<std::size_t>(units));
    const int written = MultiByteToWideChar(
        CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), length, reinterpret_cast<wchar_t*>(out.data()), units);
    if (written != units) {
        out.clear();
        return false;
    }
    return true;
}

bool toUtf8(std::u16string_view utf16, std::string& out) {
    out.clear();
    if (utf16.empty()) {
        return true;
    }
    if (!countable(utf16.size())) {
        return false;
    }
    const wchar_t* text = reinterpret_cast<const wchar_t*>(utf16.data());
    const int length = static_cast<int>(utf16.size());
    const int bytes =
        WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text, length, nullptr, 0, nullptr, nullptr);
    if (bytes <= 0) {
        return false;
    }
    out.resize(static_cast<std::size_t>(bytes));
    const int written =
        WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text, length, out.data(), bytes, nullptr, nullptr);
    if (written != bytes) {
        out.clear();
        return false;
    }
    return true;
}

} // namespace Util::Unicode
