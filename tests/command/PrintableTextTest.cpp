#include "command/PrintableText.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* replacement = "\xEF\xBF\xBD";

TEST(PrintableText, Plain_text_of_any_script_stays_as_it_is) {
    const std::string text = "Gr\xC3\xB6\xC3\x9F \xE9\x9F\xB3 \xF0\x9D\x84\x9E";
    EXPECT_EQ(printable(text), text);
    EXPECT_TRUE(isUtf8(text));
    EXPECT_EQ(printable(""), "");
    EXPECT_TRUE(isUtf8(""));
}

TEST(PrintableText, Control_characters_are_replaced_one_by_one) {
    EXPECT_EQ(printable("a\x1b[b\n"), std::string("a") + replacement + "[b" + replacement);
    EXPECT_EQ(printable("\x7F\xC2\x9B"), std::string(replacement) + replacement);
    EXPECT_TRUE(isUtf8("\x1b\xC2\x9B"));
}

TEST(PrintableText, Ill_formed_bytes_are_replaced_one_by_one) {
    for (const char* bytes :
         {"\xFF", "\x80", "\xC3", "\xC0\xAF", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
        std::string expected = "a";
        for (const char* byte = bytes; *byte != '\0'; ++byte) {
            expected += replacement;
        }
        EXPECT_FALSE(isUtf8(bytes));
        EXPECT_EQ(printable("a" + std::string(bytes) + "b"), expected + "b");
        EXPECT_EQ(wellFormed("a" + std::string(bytes) + "b"), expected + "b");
    }
}

TEST(PrintableText, Well_formed_text_keeps_its_control_characters) {
    const std::string text("a\0\x1b\x7F\xC2\x9B\xC3\xB6", 8);
    EXPECT_EQ(wellFormed(text), text);
}

TEST(PrintableText, A_nul_is_a_control_character) {
    EXPECT_EQ(printable(std::string_view("a\0b", 3)), std::string("a") + replacement + "b");
}

} // namespace
