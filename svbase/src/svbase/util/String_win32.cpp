#include "svbase/util/String.h"

#include <cwchar>

String String::fromWide(const wchar_t* text, std::size_t length) {
    if (text == nullptr) {
        return {};
    }
    const std::u16string wide(text, text + length);
    return fromWide(wide.data(), wide.size());
}

String String::fromWide(const wchar_t* text) {
    return fromWide(text, text == nullptr ? 0 : std::wcslen(text));
}

std::wstring String::toNativeWide() const {
    const std::u16string wide = toWide();
    return {wide.begin(), wide.end()};
}
