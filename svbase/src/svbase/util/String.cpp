#include "svbase/util/String.h"

#include "svbase/util/Characters.h"
#include "svbase/util/Unicode.h"

#include <algorithm>
#include <cstring>

namespace {

using Util::isSpace;
using Util::lower;
using Util::upper;

std::string folded(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), lower);
    return text;
}

bool same(std::string_view a, std::string_view b, bool caseSensitive) {
    return caseSensitive ? a == b : std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return lower(x) == lower(y);
    });
}

std::size_t limitedLength(const char* text, std::size_t maxLength) {
    if (maxLength == 0) {
        return std::strlen(text);
    }
    const void* end = std::memchr(text, '\0', maxLength);
    return end == nullptr ? maxLength : static_cast<std::size_t>(static_cast<const char*>(end) - text);
}

// Position of the '%' of the first placeholder with the lowest digit; npos without one.
std::size_t findPlaceholder(std::string_view format) {
    std::size_t best = std::string_view::npos;
    char lowest = '9' + 1;
    for (std::size_t at = format.find('%'); at != std::string_view::npos && at + 1 < format.size();
         at = format.find('%', at + 1)) {
        const char digit = format[at + 1];
        if (digit >= '0' && digit < lowest) {
            best = at;
            lowest = digit;
            if (digit == '0') {
                break;
            }
        }
    }
    return best;
}

} // namespace

String::String(const char* text) : isNull_(text == nullptr) {
    if (text != nullptr) {
        text_ = text;
    }
}

String::String(const char* text, size_type maxLength) : isNull_(text == nullptr) {
    if (text != nullptr) {
        text_.assign(text, limitedLength(text, maxLength));
    }
}

String::String(std::string bytes) : isNull_(false), text_(std::move(bytes)) {}

String String::fromWide(const char16_t* text, std::size_t length) {
    if (text == nullptr) {
        return {};
    }
    std::string bytes;
    Util::Unicode::toUtf8({text, length}, bytes);
    return String(std::move(bytes));
}

std::u16string String::toWide() const {
    std::u16string wide;
    Util::Unicode::toUtf16(text_, wide);
    return wide;
}

String String::left(size_type count) const {
    return String(text_.substr(0, count));
}

String String::right(size_type count) const {
    return String(text_.substr(text_.size() - std::min<std::size_t>(count, text_.size())));
}

String String::mid(size_type start, checked_value<size_type> count) const {
    if (start >= text_.size()) {
        return {};
    }
    return String(text_.substr(start, count.valid ? count.value : std::string::npos));
}

String String::insert(size_type position, const String& text) const {
    return left(position) + text + mid(position);
}

String String::remove(size_type position, checked_value<size_type> count) const {
    if (position >= text_.size() || count == checked_value<size_type>(0)) {
        return *this;
    }
    String result = left(position);
    if (count.valid && count.value < text_.size() - position) {
        result += mid(position + count.value);
    }
    return result;
}

void String::resize(size_type count) {
    text_.resize(count);
    isNull_ = false;
    const auto byte = [this](std::size_t at) { return static_cast<unsigned char>(text_[at]); };
    if (count == 0 || byte(count - 1) < 0x80) {
        return;
    }
    std::size_t lead = count - 1;
    while (lead != 0 && byte(lead) < 0xC0) {
        --lead;
    }
    if (byte(lead) < 0xC0) {
        return;
    }
    std::size_t announced = 2;
    while (announced < 7 && (byte(lead) & (0x80U >> announced)) != 0) {
        ++announced;
    }
    if (announced > count - lead) {
        std::fill(text_.begin() + static_cast<std::ptrdiff_t>(lead), text_.end(), '\0');
    }
}

bool String::startsWith(const String& text, bool caseSensitive) const {
    return text.text_.size() <= text_.size() &&
           same(view().substr(0, text.text_.size()), text.view(), caseSensitive);
}

bool String::endsWith(const String& text, bool caseSensitive) const {
    return text.text_.size() <= text_.size() &&
           same(view().substr(text_.size() - text.text_.size()), text.view(), caseSensitive);
}

checked_value<String::size_type> String::indexOf(char character, size_type from, bool caseSensitive) const {
    for (std::size_t at = from; at < text_.size(); ++at) {
        if (text_[at] == character || (!caseSensitive && lower(text_[at]) == lower(character))) {
            return static_cast<size_type>(at);
        }
    }
    return {};
}

checked_value<String::size_type> String::indexOf(const String& text, bool caseSensitive) const {
    if (text_.empty()) {
        return {};
    }
    if (!caseSensitive) {
        return String(folded(text_)).indexOf(String(folded(text.text_)));
    }
    const char* found = std::strstr(c_str(), text.c_str());
    if (found == nullptr) {
        return {};
    }
    return static_cast<size_type>(found - c_str());
}

String String::replace(char from, char to) const {
    String result = *this;
    const std::size_t end = std::strlen(c_str());
    std::replace(result.text_.begin(), result.text_.begin() + static_cast<std::ptrdiff_t>(end), from, to);
    return result;
}

String String::replace(const String& from, const String& to) const {
    if (text_.empty() || from.text_.empty()) {
        return *this;
    }
    std::string bytes;
    std::size_t copied = 0;
    for (std::size_t at = text_.find(from.text_); at != std::string::npos;
         at = text_.find(from.text_, copied)) {
        bytes.append(text_, copied, at - copied);
        bytes.append(to.text_);
        copied = at + from.text_.size();
    }
    bytes.append(text_, copied);
    return bytes.empty() ? String() : String(std::move(bytes));
}

std::vector<String> String::split(char separator) const {
    std::size_t at = text_.find(separator);
    if (at == std::string::npos) {
        return {*this};
    }
    std::vector<String> pieces;
    std::size_t start = 0;
    for (; at != std::string::npos; at = text_.find(separator, start)) {
        pieces.push_back(String(text_.substr(start, at - start)));
        start = at + 1;
    }
    pieces.push_back(mid(static_cast<size_type>(start)));
    return pieces;
}

String String::join(const String& separator, const std::vector<String>& list) {
    String result;
    for (std::size_t i = 0; i < list.size(); ++i) {
        result += list[i];
        if (i + 1 < list.size()) {
            result += separator;
        }
    }
    return result;
}

String String::toLower() const {
    String result = *this;
    std::transform(text_.begin(), text_.end(), result.text_.begin(), lower);
    return result;
}

String String::toUpper() const {
    String result = *this;
    std::transform(text_.begin(), text_.end(), result.text_.begin(), upper);
    return result;
}

String String::trimmed() const {
    if (text_.empty()) {
        return *this;
    }
    const auto first = std::find_if_not(text_.begin(), text_.end(), isSpace);
    const auto last = std::find_if_not(text_.rbegin(), std::make_reverse_iterator(first), isSpace).base();
    return String(std::string(first, last));
}

String String::simplified() const {
    if (text_.empty()) {
        return *this;
    }
    std::string bytes;
    bool blank = false;
    for (const char character : text_) {
        if (isSpace(character)) {
            blank = !bytes.empty();
            continue;
        }
        if (blank) {
            bytes.push_back(' ');
            blank = false;
        }
        bytes.push_back(character);
    }
    return String(std::move(bytes));
}

String String::arg(const String& value) const {
    const std::size_t at = findPlaceholder(text_);
    if (at == std::string::npos) {
        return *this + value;
    }
    std::string bytes;
    bytes.reserve(text_.size() - 2 + value.text_.size());
    bytes.append(text_, 0, at).append(value.text_).append(text_, at + 2);
    return String(std::move(bytes));
}

String& String::operator+=(const String& text) {
    if (!text.text_.empty()) {
        text_ += text.text_;
        isNull_ = false;
    }
    return *this;
}

int String::compare(const String& a, const String& b) {
    return std::strcmp(a.c_str(), b.c_str());
}
