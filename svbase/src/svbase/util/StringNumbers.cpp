// The half of String that prints and parses numbers.

#include "svbase/util/Characters.h"
#include "svbase/util/Locale.h"
#include "svbase/util/String.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

using Util::isSpace;

char& separatorByte() {
    static char separator = Util::Locale::userDecimalSeparator();
    return separator;
}

// Reads it before main, and so before any other thread.
[[maybe_unused]] const char separatorAtStartUp = separatorByte();

// The digits of a magnitude, padded with zeros to minWidth, behind a '-' if asked.
template<class Magnitude>
String digits(Magnitude magnitude, unsigned base, checked_value<unsigned> minWidth, bool negative) {
    constexpr const char* alphabet = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    std::array<char, std::numeric_limits<Magnitude>::digits> buffer;
    char* const end = buffer.data() + buffer.size();
    char* begin = end;
    do {
        *--begin = alphabet[magnitude % base];
        magnitude = static_cast<Magnitude>(magnitude / base);
    } while (magnitude != 0);
    const std::size_t count = static_cast<std::size_t>(end - begin);
    const std::size_t width = std::max<std::size_t>(count, minWidth.value_or(0));
    std::string text;
    text.reserve(width + 1);
    if (negative) {
        text.push_back('-');
    }
    text.append(width - count, '0').append(begin, count);
    return String(std::move(text));
}

template<class Signed>
String signedDigits(Signed value, unsigned base, checked_value<unsigned> minWidth) {
    using Magnitude = std::make_unsigned_t<Signed>;
    const Magnitude pattern = static_cast<Magnitude>(value);
    if (base == 16 || value >= 0) {
        return digits(pattern, base, minWidth, false);
    }
    // Negation of the pattern is right for the most negative value too, which has no positive counterpart.
    return digits(static_cast<Magnitude>(0 - pattern), base, minWidth, true);
}

constexpr unsigned narrowBase(unsigned base) {
    return base >= 2 && base <= 36 ? base : 10;
}
constexpr unsigned wideBase(unsigned base) {
    return base == 16 ? 16 : 10;
}

// With decimal points as the C library wants them now, and full-width digits and signs as plain ones. A text
// that is not UTF-8 gives the empty text.
std::string normalised(const String& source) {
    std::string text = source.toStdString();
    if (text.empty()) {
        return text;
    }
    const std::string point = Util::Locale::libraryDecimalPoint();
    const char separator = String::decimalSeparator();
    for (std::size_t at = 0; at < text.size() && text[at] != '\0'; ++at) {
        if (text.compare(at, point.size(), point) == 0) {
            at += point.size() - 1;
        } else if (text[at] == '.' || text[at] == ',' || text[at] == separator) {
            text.replace(at, 1, point);
            at += point.size() - 1;
        }
    }
    if (std::none_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) > 127; })) {
        return text;
    }
    const std::u16string widePoint = String(point).toWide();
    std::u16string mapped;
    for (const char16_t unit : String(text).toWide()) {
        if (unit >= 0xFF10 && unit <= 0xFF19) {
            mapped.push_back(static_cast<char16_t>(u'0' + (unit - 0xFF10)));
        } else if (unit == 0xFF0E || unit == 0x3002) {
            mapped += widePoint;
        } else if (unit == 0xFF0D || unit == 0x2212) {
            mapped.push_back(u'-');
        } else {
            mapped.push_back(unit);
        }
    }
    return String::fromWide(mapped.data(), mapped.size()).toStdString();
}

// 36 for what is no digit in any base.
unsigned digitValue(char character) {
    if (character >= '0' && character <= '9') {
        return static_cast<unsigned>(character - '0');
    }
    if (character >= 'a' && character <= 'z') {
        return static_cast<unsigned>(character - 'a') + 10;
    }
    if (character >= 'A' && character <= 'Z') {
        return static_cast<unsigned>(character - 'A') + 10;
    }
    return 36;
}

struct ParsedInteger {
    std::uint32_t magnitude;
    bool negative;
};

// Whitespace, a sign, digits, whitespace, and nothing else.
checked_value<ParsedInteger> parseInteger(const std::string& text, unsigned base, bool allowMinus) {
    auto at = std::find_if_not(text.begin(), text.end(), isSpace);
    bool negative = false;
    if (at != text.end() && (*at == '+' || (allowMinus && *at == '-'))) {
        negative = *at == '-';
        ++at;
    }
    if (at == text.end() || digitValue(*at) >= base) {
        return {};
    }
    std::uint64_t magnitude = 0;
    for (; at != text.end() && digitValue(*at) < base; ++at) {
        magnitude = magnitude * base + digitValue(*at);
        if (magnitude > 0xFFFFFFFFU) {
            return {};
        }
    }
    if (!std::all_of(at, text.end(), isSpace)) {
        return {};
    }
    return ParsedInteger{static_cast<std::uint32_t>(magnitude), negative};
}

template<class Float>
checked_value<Float> parseFloat(const String& source, Float (*convert)(const char*, char**)) {
    if (source.isEmpty()) {
        return {};
    }
    const std::string text = normalised(source);
    char* end = nullptr;
    const Float value = convert(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size()) {
        return {};
    }
    return value;
}

} // namespace

char String::decimalSeparator() {
    return separatorByte();
}

void String::setDecimalSeparator(char separator) {
    separatorByte() = separator;
}

String String::integer(std::int32_t value, unsigned base, checked_value<unsigned> minWidth) {
    return signedDigits(value, narrowBase(base), minWidth);
}

String String::integer(std::uint32_t value, unsigned base, checked_value<unsigned> minWidth) {
    return digits(value, narrowBase(base), minWidth, false);
}

String String::integer(std::int64_t value, unsigned base, checked_value<unsigned> minWidth) {
    return signedDigits(value, wideBase(base), minWidth);
}

String String::integer(std::uint64_t value, unsigned base, checked_value<unsigned> minWidth) {
    return digits(value, wideBase(base), minWidth, false);
}

String String::real(double value, checked_value<unsigned> precision, char formatLetter) {
    if (formatLetter == '\0' || std::strchr("efgEFG", formatLetter) == nullptr) {
        formatLetter = 'f';
    }
    std::array<char, 1024> buffer;
    int length = 0;
    if (precision.valid) {
        const bool fixed = formatLetter == 'f' || formatLetter == 'F';
        // What would print as zero prints without a sign.
        if (fixed && std::fabs(value) < 0.5 * std::pow(10.0, -static_cast<double>(precision.value))) {
            value = 0;
        }
        const char format[] = {'%', '.', '*', formatLetter, '\0'};
        const int places = static_cast<int>(std::min(precision.value, 99U));
        length = std::snprintf(buffer.data(), buffer.size(), format, places, value);
    } else {
        const char format[] = {'%', formatLetter, '\0'};
        length = std::snprintf(buffer.data(), buffer.size(), format, value);
    }
    const std::size_t written = std::min(static_cast<std::size_t>(std::max(length, 0)), buffer.size() - 1);
    std::string text(buffer.data(), written);
    // The C library's point may be either of the two, as its locale has it.
    const char separator = decimalSeparator();
    if (separator != '.') {
        std::replace(text.begin(), text.end(), '.', separator);
    }
    if (separator != ',') {
        std::replace(text.begin(), text.end(), ',', separator);
    }
    return String(std::move(text));
}

checked_value<std::uint32_t> String::toUnsigned(unsigned base) const {
    const auto parsed = parseInteger(normalised(*this), narrowBase(base), false);
    if (!parsed) {
        return {};
    }
    return parsed.value.magnitude;
}

checked_value<std::int32_t> String::toInt() const {
    if (isEmpty()) {
        return 0;
    }
    const auto parsed = parseInteger(normalised(*this), 10, true);
    const std::uint32_t limit = parsed.value.negative ? 0x80000000U : 0x7FFFFFFFU;
    if (!parsed || parsed.value.magnitude > limit) {
        return {};
    }
    const std::int64_t magnitude = parsed.value.magnitude;
    return static_cast<std::int32_t>(parsed.value.negative ? -magnitude : magnitude);
}

checked_value<float> String::toFloat() const {
    return parseFloat<float>(*this, std::strtof);
}

checked_value<double> String::toDouble() const {
    return parseFloat<double>(*this, std::strtod);
}
