#include "svbase/util/Unicode.h"

#include <cstdint>

namespace Util::Unicode {

namespace {

constexpr char32_t invalid = 0xFFFFFFFF;

unsigned char byteAt(std::string_view text, std::size_t position) {
    return static_cast<unsigned char>(text[position]);
}

// Decodes one code point and moves position behind it; `invalid` when there is none.
char32_t decode(std::string_view text, std::size_t& position) {
    const unsigned char lead = byteAt(text, position++);
    if (lead < 0x80) {
        return lead;
    }
    std::size_t following = 0;
    char32_t smallest = 0;
    char32_t code = 0;
    if (lead >= 0xC0 && lead < 0xE0) {
        following = 1;
        smallest = 0x80;
        code = lead & 0x1FU;
    } else if (lead >= 0xE0 && lead < 0xF0) {
        following = 2;
        smallest = 0x800;
        code = lead & 0x0FU;
    } else if (lead >= 0xF0 && lead < 0xF8) {
        following = 3;
        smallest = 0x10000;
        code = lead & 0x07U;
    } else {
        return invalid;
    }
    if (text.size() - position < following) {
        return invalid;
    }
    for (; following != 0; --following) {
        const unsigned char next = byteAt(text, position++);
        if ((next & 0xC0U) != 0x80U) {
            return invalid;
        }
        code = (code << 6U) | (next & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < smallest || code > 0x10FFFF || surrogate ? invalid : code;
}

void append(char32_t code, std::string& out) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0U | (code >> 6U));
        put(0x80U | (code & 0x3FU));
    } else if (code < 0x10000) {
        put(0xE0U | (code >> 12U));
        put(0x80U | ((code >> 6U) & 0x3FU));
        put(0x80U | (code & 0x3FU));
    } else {
        put(0xF0U | (code >> 18U));
        put(0x80U | ((code >> 12U) & 0x3FU));
        put(0x80U | ((code >> 6U) & 0x3FU));
        put(0x80U | (code & 0x3FU));
    }
}

} // namespace

bool toUtf16(std::string_view utf8, std::u16string& out) {
    out.clear();
    out.reserve(utf8.size());
    for (std::size_t position = 0; position < utf8.size();) {
        const char32_t code = decode(utf8, position);
        if (code == invalid) {
            out.clear();
            return false;
        }
        if (code < 0x10000) {
            out.push_back(static_cast<char16_t>(code));
        } else {
            out.push_back(static_cast<char16_t>(0xD800U + ((code - 0x10000U) >> 10U)));
            out.push_back(static_cast<char16_t>(0xDC00U + ((code - 0x10000U) & 0x3FFU)));
        }
    }
    return true;
}

bool toUtf8(std::u16string_view utf16, std::string& out) {
    out.clear();
    out.reserve(utf16.size());
    for (std::size_t position = 0; position < utf16.size(); ++position) {
        char32_t code = utf16[position];
        if (code >= 0xD800 && code <= 0xDFFF) {
            const char32_t low = position + 1 < utf16.size() ? utf16[position + 1] : U'\0';
            if (code >= 0xDC00 || low < 0xDC00 || low > 0xDFFF) {
                out.clear();
                return false;
            }
            code = 0x10000U + ((code - 0xD800U) << 10U) + (low - 0xDC00U);
            ++position;
        }
        append(code, out);
    }
    return true;
}

} // namespace Util::Unicode
