#pragma once

#include "hosting/dx/DirectShow_win32.h"
#include "svbase/util/String.h"

#include <cstddef>
#include <cstring>
#include <string>

namespace Tarvik {

/// Fills a fixed array of a published record with as much of the text as goes in before its NUL. Half a
/// character is not written. Throws std::bad_alloc.
template<std::size_t size>
void copyWideName(const String& text, WCHAR (&out)[size]) {
    std::wstring wide = text.toNativeWide();
    if (wide.size() >= size) {
        wide.resize(size - 1);
        if (IS_HIGH_SURROGATE(wide.back())) {
            wide.pop_back();
        }
    }
    std::memset(out, 0, sizeof out);
    std::memcpy(out, wide.c_str(), wide.size() * sizeof(WCHAR));
}

} // namespace Tarvik
