#include "audio/decode/REXError.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using Audio::Decode::REX::ErrorText;

TEST(REXError, Every_number_has_a_text_of_its_own_with_the_number) {
    std::set<std::string> texts;
    const int numbers[] = {1,   2,   3,   100, 101, 102, 103, 104, 105, 106, 107, 108, 109,
                           200, 201, 202, 203, 204, 205, 206, 207, 208, 209, 210, 666};
    for (const int number : numbers) {
        const std::string text = ErrorText(number).toStdString();
        const std::string end = " (" + std::to_string(number) + ")";
        ASSERT_GT(text.size(), end.size());
        EXPECT_EQ(text.substr(text.size() - end.size()), end);
        EXPECT_EQ(text.find("unknown"), std::string::npos) << text;
        texts.insert(text.substr(0, text.size() - end.size()));
    }
    EXPECT_EQ(texts.size(), std::size(numbers));
}

TEST(REXError, Texts_say_what_is_wrong) {
    EXPECT_EQ(ErrorText(103), "the REX library was not found (103)");
    EXPECT_EQ(ErrorText(104), "the REX library is too new (104)");
    EXPECT_EQ(ErrorText(106), "the file is damaged (106)");
}

TEST(REXError, Numbers_that_nobody_published_are_told_as_they_are) {
    EXPECT_EQ(ErrorText(0), "unknown error (0)");
    EXPECT_EQ(ErrorText(-7), "unknown error (-7)");
    EXPECT_EQ(ErrorText(211), "unknown error (211)");
}

} // namespace
