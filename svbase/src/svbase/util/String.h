#pragma once

#include "svbase/util/checked_value.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/// The integer types that print as numbers: all widths, but no characters and no bool.
template<class T>
concept TextInteger =
    std::integral<T> && !std::same_as<T, char> && !std::same_as<T, bool> && !std::same_as<T, wchar_t> &&
    !std::same_as<T, char8_t> && !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

/// The floating types that print as numbers.
template<class T>
concept TextFloat = std::same_as<T, float> || std::same_as<T, double>;

/// The text of the whole system: a null flag and UTF-8 bytes, never interpreted as code points except where
/// an operation says so. The null String and the empty String are different values that compare equal.
/// Positions and lengths are in bytes, unsigned 32-bit. A plain value: distinct objects may be used on
/// distinct threads. No operation throws except on exhausted memory. Not for the audio path: operations
/// allocate.
///
/// Whitespace is blank, the bytes 9 to 13 and the byte 0xA0, also as part of a UTF-8 sequence.
/// Case-insensitive comparison and case conversion touch A to Z only.
class String {
public:
    using size_type = std::uint32_t;

    /// The null String.
    String() = default;

    /// The bytes up to the first NUL; a null pointer gives the null String. Implicit, so that literals are
    /// texts.
    String(const char* text);

    /// At most maxLength bytes (0: no limit), stopping at the first NUL.
    String(const char* text, size_type maxLength);

    /// All bytes as they stand, NULs included; never null.
    explicit String(std::string bytes);

    /// From UTF-16. A null pointer gives the null String; an empty or ill-formed input an empty one.
    /// [any]
    static String fromWide(const char16_t* text, std::size_t length);
#ifdef _WIN32
    static String fromWide(const wchar_t* text, std::size_t length);
    /// Up to the terminating NUL.
    static String fromWide(const wchar_t* text);
#endif

    /// A NUL-terminated UTF-16 text. Ill-formed UTF-8 gives the empty text, never a failure.
    std::u16string toWide() const;
#ifdef _WIN32
    std::wstring toNativeWide() const;
#endif

    bool isNull() const { return isNull_; }
    bool isEmpty() const { return text_.empty(); }
    size_type length() const { return static_cast<size_type>(text_.size()); }

    /// NUL-terminated; "" for the null String. Valid until the String changes.
    const char* c_str() const { return text_.c_str(); }
    const char* data() const { return text_.data(); }
    std::string_view view() const { return text_; }
    const std::string& toStdString() const { return text_; }

    /// Byte at position. Precondition: position < length().
    char operator[](size_type position) const { return text_[position]; }

    /// First or last min(count, length()) bytes; never null.
    String left(size_type count) const;
    String right(size_type count) const;

    /// Bytes from start, to the end without a count. A start at or past the end gives the null String.
    String mid(size_type start, checked_value<size_type> count = {}) const;

    /// head + text + tail; a position past the end appends.
    String insert(size_type position, const String& text) const;

    /// A position at or past the end or a count of 0 changes nothing; a count over the end cuts to the end.
    String remove(size_type position, checked_value<size_type> count = {}) const;

    /// Cuts, or extends with NULs. A UTF-8 sequence that the cut breaks is overwritten with NULs; the length
    /// stays.
    void resize(size_type count);

    bool startsWith(const String& text, bool caseSensitive = true) const;
    bool endsWith(const String& text, bool caseSensitive = true) const;

    /// Invalid when not found; `from` at or past the end is invalid.
    checked_value<size_type> indexOf(char character, size_type from = 0, bool caseSensitive = true) const;
    /// C-string search: nothing behind a NUL is seen. An empty haystack gives invalid.
    checked_value<size_type> indexOf(const String& text, bool caseSensitive = true) const;

    /// Every occurrence up to the first NUL.
    String replace(char from, char to) const;
    /// Left to right, non-overlapping. Replacing the whole text by "" gives the null String.
    String replace(const String& from, const String& to) const;

    /// Pieces between separators. A separator in the last byte yields a null last piece.
    std::vector<String> split(char separator) const;
    static String join(const String& separator, const std::vector<String>& list);

    String toLower() const;
    String toUpper() const;
    /// Without leading and trailing whitespace.
    String trimmed() const;
    /// Trimmed, and each inner run of whitespace reduced to one blank.
    String simplified() const;

    /// Text of an integer. Bases 2 to 36 for up to 32 bits (others fall back to 10), 10 and 16 for 64 bits.
    /// minWidth pads the digits with "0"; a '-' stands before the padding.
    template<TextInteger T>
    static String number(T value, unsigned base = 10, checked_value<unsigned> minWidth = {}) {
        return integer(widen(value), base, minWidth);
    }
    /// formatLetter: one of e f g E F G, else f. The decimal separator is the process's (see
    /// decimalSeparator()).
    template<TextFloat T>
    static String number(T value, checked_value<unsigned> precision = {}, char formatLetter = 'f') {
        return real(value, precision, formatLetter);
    }

    /// Parsers. ',' and '.' both read as the decimal point; full-width digits are digits. Trailing characters
    /// are invalid. An empty text is invalid, except for toInt, where it is 0.
    ///
    /// Integers may have whitespace around them and a '+' (toInt also a '-') before; overflow is invalid.
    /// base: 2 to 36, others fall back to 10.
    checked_value<std::uint32_t> toUnsigned(unsigned base = 10) const;
    checked_value<std::int32_t> toInt() const;
    /// What the C library's strtof and strtod read in full, overflow to infinity included.
    checked_value<float> toFloat() const;
    checked_value<double> toDouble() const;

    /// Fills the first occurrence of the lowest single-digit placeholder, "%0" to "%9"; with no placeholder
    /// left, the value is appended, so that a surplus argument is never lost.
    String arg(const String& value) const;
    String arg(const char* value) const { return arg(String(value)); }
    /// One character. Nothing that merely converts to one: bool, enumerators and wide characters do not
    /// compile.
    template<std::same_as<char> C>
    String arg(C value) const {
        return arg(String(&value, 1));
    }
    template<TextInteger T>
    String arg(T value, unsigned base = 10, checked_value<unsigned> minWidth = {}) const {
        return arg(number(value, base, minWidth));
    }
    template<TextFloat T>
    String arg(T value, checked_value<unsigned> precision = {}, char formatLetter = 'f') const {
        return arg(number(value, precision, formatLetter));
    }

    /// The process-wide decimal separator, read once at start-up from the user's locale. [any]
    static char decimalSeparator();
    /// For tests of other locales. [main, before any other thread]
    static void setDecimalSeparator(char separator);

    /// Appends; see operator+.
    String& operator+=(const String& text);
    /// The left side with its null flag; a non-empty right side is appended and clears the flag.
    friend String operator+(String left, const String& right) { return left += right; }

    /// Comparison of bytes, unsigned, up to the first NUL. The null flag takes no part.
    friend bool operator==(const String& a, const String& b) { return compare(a, b) == 0; }
    friend bool operator<(const String& a, const String& b) { return compare(a, b) < 0; }

private:
    /// The one of the four working widths that holds T: 32 bits for all narrower types, else 64.
    template<TextInteger T>
    static constexpr auto widen(T value) {
        if constexpr (sizeof(T) <= 4) {
            using Wide = std::conditional_t<std::is_signed_v<T>, std::int32_t, std::uint32_t>;
            return static_cast<Wide>(value);
        } else {
            using Wide = std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>;
            return static_cast<Wide>(value);
        }
    }
    static String integer(std::int32_t value, unsigned base, checked_value<unsigned> minWidth);
    static String integer(std::uint32_t value, unsigned base, checked_value<unsigned> minWidth);
    static String integer(std::int64_t value, unsigned base, checked_value<unsigned> minWidth);
    static String integer(std::uint64_t value, unsigned base, checked_value<unsigned> minWidth);
    static String real(double value, checked_value<unsigned> precision, char formatLetter);
    static int compare(const String& a, const String& b);

    bool isNull_ = true;
    std::string text_;
};
