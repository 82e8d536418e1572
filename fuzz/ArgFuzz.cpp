// The first line is a format, each further line an argument: String::arg against looking for each digit in
// turn.

#include "Require.h"

#include "svbase/util/Error.h"
#include "svbase/util/String.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

std::string model(const std::string& format, const std::string& value) {
    for (char digit = '0'; digit <= '9'; ++digit) {
        const std::size_t at = format.find(std::string{'%', digit});
        if (at != std::string::npos) {
            return format.substr(0, at) + value + format.substr(at + 2);
        }
    }
    return format + value;
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result(1);
    for (const char c : text) {
        if (c == '\n') {
            result.emplace_back();
        } else {
            result.back() += c;
        }
    }
    return result;
}

class TextError : public Util::BasicError<TextError> {
public:
    explicit TextError(const std::string& format) : BasicError("Text", 1, String(format)) {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> input = lines(std::string(data, data + size));
    std::string expected = input[0];
    String text(input[0]);
    TextError error(input[0]);
    for (std::size_t i = 1; i < input.size(); ++i) {
        // A value that holds placeholders can make the text double with each step.
        if (expected.size() > 100'000) {
            return 0;
        }
        expected = model(expected, input[i]);
        text = text.arg(String(input[i]));
        error.arg(String(input[i]));
        REQUIRE(text.toStdString() == expected);
        REQUIRE(!text.isNull());
    }
    REQUIRE(error.message().toStdString() == expected);
    REQUIRE(error.arguments().size() == input.size() - 1);
    const std::string number = std::to_string(size);
    REQUIRE(text.arg(size).toStdString() == model(expected, number));
    REQUIRE(text.arg('%').toStdString() == model(expected, "%"));
    return 0;
}
