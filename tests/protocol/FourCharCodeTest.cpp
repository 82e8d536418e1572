#include "protocol/FourCharCode.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

using namespace Tarvik;

namespace {

/// The text of a code, byte by byte and without String's help.
std::string modelText(std::uint32_t code) {
    std::string quoted = "'";
    bool prints = true;
    for (int i = 0; i < 4; ++i) {
        const std::uint32_t byte = code >> (8 * i) & 255;
        prints = prints && byte >= 32 && byte != 127 && !(byte > 127 && byte < 160);
        quoted += static_cast<char>(byte);
    }
    if (prints) {
        return quoted + "'";
    }
    char hexadecimal[16];
    std::snprintf(hexadecimal, sizeof hexadecimal, "0x%08X", code);
    return hexadecimal;
}

/// The exception to the model: the bytes go through String::arg, to which this is a placeholder.
bool looksLikePlaceholder(std::uint32_t code) {
    for (int i = 0; i < 3; ++i) {
        const std::uint32_t first = code >> (8 * i) & 255;
        const std::uint32_t second = code >> (8 * (i + 1)) & 255;
        if (first == '%' && second >= '0' && second <= '9') {
            return true;
        }
    }
    return false;
}

checked_value<std::uint32_t> read(const std::string& text) {
    return FourCharCodeFromString(String(text));
}

} // namespace

TEST(FourCharCode, The_least_significant_byte_prints_first) {
    EXPECT_EQ(FourCharCodeToString(0x64636261), "'abcd'");
}

TEST(FourCharCode, A_code_with_a_zero_byte_prints_in_hexadecimal) {
    EXPECT_EQ(FourCharCodeToString(0x00636261), "0x00636261");
    EXPECT_EQ(FourCharCodeToString(0), "0x00000000");
}

TEST(FourCharCode, Hexadecimal_digits_are_upper_case) {
    EXPECT_EQ(FourCharCodeToString(0xABCDEF01), "0xABCDEF01");
}

TEST(FourCharCode, The_control_characters_of_both_blocks_print_in_hexadecimal_in_any_place) {
    for (unsigned place = 0; place < 32; place += 8) {
        for (const std::uint32_t byte : {0u, 31u, 127u, 128u, 159u}) {
            const std::uint32_t code = (0x61616161u & ~(255u << place)) | byte << place;
            EXPECT_EQ(FourCharCodeToString(code).toStdString().substr(0, 2), "0x") << code;
        }
        for (const std::uint32_t byte : {32u, 126u, 160u, 255u}) {
            const std::uint32_t code = (0x61616161u & ~(255u << place)) | byte << place;
            EXPECT_EQ(FourCharCodeToString(code).toStdString()[0], '\'') << code;
        }
    }
}

TEST(FourCharCode, Text_of_random_codes_equals_the_model_and_reads_back) {
    std::mt19937 random(20240607);
    const auto check = [](std::uint32_t code) {
        if (looksLikePlaceholder(code)) {
            return;
        }
        EXPECT_EQ(FourCharCodeToString(code).toStdString(), modelText(code));
        EXPECT_EQ(FourCharCodeFromString(FourCharCodeToString(code)), checked_value(code)) << code;
    };
    for (int i = 0; i < 20000; ++i) {
        check(static_cast<std::uint32_t>(random()));
        std::uint32_t printing = 0;
        for (int byte = 0; byte < 4; ++byte) {
            printing = printing << 8 | static_cast<std::uint32_t>(32 + random() % 95);
        }
        check(printing);
    }
}

TEST(FourCharCode, A_placeholder_among_the_four_characters_captures_a_later_one) {
    // "%3xy": the second character completes "%3", which the third one then fills.
    EXPECT_EQ(FourCharCodeToString(0x79783325), "'xy%4'");
}

TEST(FourCharCode, Four_characters_in_quotes_read_whatever_they_are) {
    EXPECT_EQ(read("'abcd'"), checked_value(0x64636261u));
    EXPECT_EQ(read("''''''"), checked_value(0x27272727u));
    EXPECT_EQ(read(std::string("'\0\x01\x7F\xFF'", 6)), checked_value(0xFF7F0100u));
}

TEST(FourCharCode, Eight_hexadecimal_digits_in_either_case_read_after_0x) {
    EXPECT_EQ(read("0x00636261"), checked_value(0x00636261u));
    EXPECT_EQ(read("0xffFFaAbB"), checked_value(0xFFFFAABBu));
}

TEST(FourCharCode, Any_other_form_is_refused) {
    for (const char* text :
         {"", "abcd", "'abc'", "'abcde'", "\"abcd\"", "'abcd ", " abcd'", "'abcd", "0x1", "0x0063626",
          "0x006362611", "0X00636261", "0x0063626G", "1x00636261", "0000636261", "64636261", "0x"}) {
        EXPECT_FALSE(read(text)) << text;
    }
}
