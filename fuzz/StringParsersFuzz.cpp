// Two bytes of parameters, a text, a line feed, another text: everything that String reads, cuts and joins,
// against the plain standard string.

#include "Require.h"

#include "svbase/util/Path.h"
#include "svbase/util/String.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

bool isBlank(char c) {
    return std::strchr(" \t\n\v\f\r\xA0", c) != nullptr && c != '\0';
}

std::string trimModel(std::string text) {
    while (!text.empty() && isBlank(text.front())) {
        text.erase(0, 1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.pop_back();
    }
    return text;
}

std::string replaceModel(const std::string& text, const std::string& from, const std::string& to) {
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        if (!from.empty() && text.compare(i, from.size(), from) == 0) {
            result += to;
            i += from.size();
        } else {
            result += text[i++];
        }
    }
    return result;
}

// Full-width digits, points and signs as plain ones. Only for well-formed UTF-8, where no sequence can begin
// inside another.
std::string plainModel(std::string text, char separator) {
    const std::size_t end = std::min(text.find('\0'), text.size());
    for (std::size_t i = 0; i < end; ++i) {
        if (text[i] == ',' || text[i] == separator) {
            text[i] = '.';
        }
    }
    for (int digit = 0; digit <= 9; ++digit) {
        text = replaceModel(
            text, std::string("\xEF\xBC") + static_cast<char>(0x90 + digit), std::to_string(digit));
    }
    text = replaceModel(text, "\xEF\xBC\x8E", ".");
    text = replaceModel(text, "\xE3\x80\x82", ".");
    text = replaceModel(text, "\xEF\xBC\x8D", "-");
    return replaceModel(text, "\xE2\x88\x92", "-");
}

checked_value<std::int64_t> integerModel(const std::string& plain, unsigned base, bool allowMinus) {
    std::string text = trimModel(plain);
    const bool negative = allowMinus && text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.erase(0, 1);
    }
    std::int64_t sum = 0;
    for (const char c : text) {
        const char* alphabet = "0123456789abcdefghijklmnopqrstuvwxyz";
        const char* found = c == '\0' ? nullptr : std::strchr(alphabet, c >= 'A' && c <= 'Z' ? c + 32 : c);
        if (found == nullptr || found - alphabet >= static_cast<std::ptrdiff_t>(base)) {
            return {};
        }
        sum = std::min<std::int64_t>(sum * base + (found - alphabet), 0x100000000);
    }
    if (text.empty() || sum > 0xFFFFFFFF) {
        return {};
    }
    return negative ? -sum : sum;
}

void parseNumbers(const String& text, const std::string& bytes, unsigned base) {
    const bool wellFormed = bytes.empty() || !text.toWide().empty();
    const std::string plain = wellFormed ? plainModel(bytes, String::decimalSeparator()) : "";

    const auto whole = integerModel(plain, base, false);
    const auto read = text.toUnsigned(base);
    REQUIRE(read.valid == whole.valid);
    REQUIRE(!read.valid || read.value == whole.value);
    REQUIRE(!read.valid || String::number(read.value, base).toUnsigned(base) == read);

    const auto sign = integerModel(plain, 10, true);
    const auto readSigned = text.toInt();
    const bool inRange = sign.valid && sign.value >= -0x80000000LL && sign.value <= 0x7FFFFFFF;
    REQUIRE(readSigned.valid == (inRange || bytes.empty()));
    REQUIRE(!readSigned.valid || readSigned.value == sign.value);
    REQUIRE(!readSigned.valid || String::number(readSigned.value).toInt() == readSigned);

    char* end = nullptr;
    const double real = std::strtod(plain.c_str(), &end);
    const bool realValid = !plain.empty() && end == plain.c_str() + plain.size();
    const auto readReal = text.toDouble();
    REQUIRE(readReal.valid == realValid);
    REQUIRE(!realValid || std::bit_cast<std::uint64_t>(real) == std::bit_cast<std::uint64_t>(readReal.value));
    const float single = std::strtof(plain.c_str(), nullptr);
    const auto readSingle = text.toFloat();
    REQUIRE(readSingle.valid == realValid);
    REQUIRE(
        !realValid || std::bit_cast<std::uint32_t>(single) == std::bit_cast<std::uint32_t>(readSingle.value));
}

void cut(const String& text, const std::string& bytes, std::uint32_t at, std::uint32_t count) {
    const std::size_t start = std::min<std::size_t>(at, bytes.size());
    REQUIRE(text.left(at).toStdString() == bytes.substr(0, at));
    REQUIRE(text.right(at).toStdString() == bytes.substr(bytes.size() - start));
    REQUIRE(!text.left(at).isNull() && !text.right(at).isNull());
    REQUIRE(text.mid(at).toStdString() == bytes.substr(start));
    REQUIRE(text.mid(at, count).toStdString() == bytes.substr(start, count));
    REQUIRE(text.mid(at, count).isNull() == (at >= bytes.size()));
    REQUIRE(text.remove(at, count).toStdString() == std::string(bytes).erase(start, count));
    REQUIRE(text.remove(at).toStdString() == std::string(bytes).erase(start));

    String sized = text;
    sized.resize(at);
    REQUIRE(sized.length() == at && !sized.isNull());
    const std::string now = sized.toStdString();
    std::string raw = bytes;
    raw.resize(at);
    const std::size_t kept =
        static_cast<std::size_t>(std::mismatch(now.begin(), now.end(), raw.begin()).first - now.begin());
    REQUIRE(now.find_first_not_of('\0', kept) == std::string::npos);
    // A well-formed text stays well-formed wherever it is cut.
    REQUIRE(bytes.empty() || text.toWide().empty() || at == 0 || !sized.toWide().empty());
}

void search(const String& text, const std::string& bytes, const String& other, const std::string& part) {
    const char* found = std::strstr(bytes.c_str(), part.c_str());
    const auto index = text.indexOf(other);
    REQUIRE(index.valid == (!bytes.empty() && found != nullptr));
    REQUIRE(!index.valid || index.value == static_cast<std::size_t>(found - bytes.c_str()));
    REQUIRE(text.indexOf(other, false) == text.toLower().indexOf(other.toLower()));
    REQUIRE(text.startsWith(other) == bytes.starts_with(part));
    REQUIRE(text.endsWith(other) == bytes.ends_with(part));
    REQUIRE(text.startsWith(other, false) == text.toUpper().startsWith(other.toUpper()));
    REQUIRE(text.endsWith(other, false) == text.toUpper().endsWith(other.toUpper()));
    REQUIRE((text == other) == (std::strcmp(bytes.c_str(), part.c_str()) == 0));
    REQUIRE((text < other) == (std::strcmp(bytes.c_str(), part.c_str()) < 0));
    const std::string wanted = part.empty() ? bytes : replaceModel(bytes, part, "<>");
    REQUIRE(text.replace(other, "<>").toStdString() == wanted);
    const String without = text.replace(other, "");
    REQUIRE(without.toStdString() == (part.empty() ? bytes : replaceModel(bytes, part, "")));
    REQUIRE((text + other).toStdString() == bytes + part);
}

void takeApart(const String& text, const std::string& bytes, char separator) {
    const std::vector<String> pieces = text.split(separator);
    std::string joined;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        REQUIRE(pieces[i].toStdString().find(separator) == std::string::npos);
        joined += (i == 0 ? "" : std::string(1, separator)) + pieces[i].toStdString();
    }
    REQUIRE(joined == bytes);
    REQUIRE(pieces.size() == 1 + static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), separator)));
    REQUIRE(String::join(String(std::string(1, separator)), pieces).toStdString() == bytes);
    REQUIRE(pieces.size() == 1 || pieces.back().isNull() == (bytes.back() == separator));

    REQUIRE(text.trimmed().toStdString() == trimModel(bytes));
    const std::string simple = text.simplified().toStdString();
    std::string simpleModel = trimModel(bytes);
    std::replace_if(simpleModel.begin(), simpleModel.end(), isBlank, ' ');
    while (simpleModel.find("  ") != std::string::npos) {
        simpleModel.erase(simpleModel.find("  "), 1);
    }
    REQUIRE(simple == simpleModel);
}

void convert(const String& text, const std::string& bytes) {
    const std::u16string wide = text.toWide();
    REQUIRE(wide.empty() || String::fromWide(wide.data(), wide.size()).toStdString() == bytes);
    const bool ascii = std::all_of(bytes.begin(), bytes.end(), [](char c) { return (c & 0x80) == 0; });
    REQUIRE(!ascii || wide.size() == bytes.size());

    const String normal = Util::Path::normalise(text);
    REQUIRE(Util::Path::normalise(normal).toStdString() == normal.toStdString());
    REQUIRE(!normal.indexOf('\\').valid);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2 || size > 4096) {
        return 0;
    }
    const unsigned base = data[0] % 37U < 2 ? 10 : data[0] % 37U;
    const char separator = static_cast<char>(data[1]);
    constexpr char processSeparators[] = {'.', ',', '\'', ' '};
    String::setDecimalSeparator(processSeparators[data[1] % 4]);
    const std::string all(data + 2, data + size);
    const std::size_t line = std::min(all.find('\n'), all.size());
    const std::string bytes = all.substr(0, line);
    const std::string part = all.substr(std::min(line + 1, all.size()));
    const String text(bytes);
    const String other(part);

    parseNumbers(text, bytes, base);
    cut(text, bytes, data[0], data[1]);
    REQUIRE(
        text.insert(data[0], other).toStdString() ==
        std::string(bytes).insert(std::min<std::size_t>(data[0], bytes.size()), part));
    search(text, bytes, other, part);
    takeApart(text, bytes, separator);
    convert(text, bytes);
    return 0;
}
