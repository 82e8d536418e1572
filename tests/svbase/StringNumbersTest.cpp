#include "svbase/util/String.h"

#include <gtest/gtest.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

namespace {

constexpr std::int32_t lowest32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t lowest64 = std::numeric_limits<std::int64_t>::min();

std::string number(auto value, auto... rest) {
    return String::number(value, rest...).toStdString();
}

class Separator {
public:
    explicit Separator(char separator) : before_(String::decimalSeparator()) {
        String::setDecimalSeparator(separator);
    }
    ~Separator() { String::setDecimalSeparator(before_); }
    Separator(const Separator&) = delete;
    Separator& operator=(const Separator&) = delete;

private:
    char before_;
};

class StringNumbers : public testing::Test {
protected:
    // Whatever the user's locale says.
    Separator separator_{'.'};
};

TEST_F(StringNumbers, Integers_print_in_decimal) {
    EXPECT_EQ(number(0), "0");
    EXPECT_EQ(number(-1), "-1");
    EXPECT_EQ(number(lowest32), "-2147483648");
    EXPECT_EQ(number(4294967295U), "4294967295");
    EXPECT_EQ(number(lowest64), "-9223372036854775808");
    EXPECT_EQ(number(std::uint64_t{18446744073709551615U}), "18446744073709551615");
}

TEST_F(StringNumbers, Narrow_integers_print_in_bases_2_to_36) {
    EXPECT_EQ(number(10, 2U), "1010");
    EXPECT_EQ(number(-10, 2U), "-1010");
    EXPECT_EQ(number(4294967295U, 36U), "1Z141Z3");
    EXPECT_EQ(number(35, 36U), "Z");
    EXPECT_EQ(number(lowest32, 2U), "-10000000000000000000000000000000");
    EXPECT_EQ(number(lowest32, 36U), "-ZIK0ZK");
}

TEST_F(StringNumbers, Other_bases_fall_back_to_decimal) {
    for (const unsigned base : {0U, 1U, 37U, 0xFFFFFFFFU}) {
        EXPECT_EQ(number(255, base), "255");
        EXPECT_EQ(number(255U, base), "255");
    }
}

TEST_F(StringNumbers, Wide_integers_print_in_decimal_and_base_16_only) {
    EXPECT_EQ(number(std::int64_t{255}, 16U), "FF");
    EXPECT_EQ(number(std::uint64_t{0xFEDCBA9876543210}, 16U), "FEDCBA9876543210");
    EXPECT_EQ(number(std::int64_t{10}, 2U), "10");
    EXPECT_EQ(number(std::uint64_t{10}, 8U), "10");
}

TEST_F(StringNumbers, Signed_values_in_base_16_print_their_pattern) {
    EXPECT_EQ(number(-1, 16U), "FFFFFFFF");
    EXPECT_EQ(number(std::int8_t{-1}, 16U), "FFFFFFFF");
    EXPECT_EQ(number(lowest32, 16U), "80000000");
    EXPECT_EQ(number(std::int64_t{-1}, 16U), "FFFFFFFFFFFFFFFF");
    EXPECT_EQ(number(-10, 15U), "-A");
}

TEST_F(StringNumbers, A_width_pads_with_zeros_behind_the_sign) {
    EXPECT_EQ(number(-5, 10U, 3U), "-005");
    EXPECT_EQ(number(5, 10U, 3U), "005");
    EXPECT_EQ(number(1234, 10U, 3U), "1234");
    EXPECT_EQ(number(0, 10U, 2U), "00");
    EXPECT_EQ(number(0, 10U, 0U), "0");
    EXPECT_EQ(number(255U, 16U, 8U), "000000FF");
    EXPECT_EQ(number(-1, 16U, 10U), "00FFFFFFFF");
    EXPECT_EQ(number(lowest32, 10U, 12U), "-002147483648");
    EXPECT_EQ(number(std::int64_t{-5}, 10U, 3U), "-005");
    EXPECT_EQ(number(std::uint64_t{5}, 16U, 3U), "005");
}

template<class T>
std::string converted(T value, unsigned base) {
    std::array<char, 80> buffer;
    const auto result =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, static_cast<int>(base));
    std::string text(buffer.data(), result.ptr);
    for (char& c : text) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    }
    return text;
}

TEST_F(StringNumbers, Integers_print_as_the_standard_library_prints_them) {
    std::mt19937_64 random(4);
    for (int round = 0; round < 20000; ++round) {
        const std::uint64_t bits = random() >> (random() % 64);
        const unsigned base = 2 + static_cast<unsigned>(random() % 35);
        const auto narrow = static_cast<std::uint32_t>(bits);
        const auto narrowSigned = static_cast<std::int32_t>(narrow);
        ASSERT_EQ(number(narrow, base), converted(narrow, base));
        ASSERT_EQ(
            number(narrowSigned, base), base == 16 ? converted(narrow, base) : converted(narrowSigned, base));
        ASSERT_EQ(number(bits), converted(bits, 10));
        ASSERT_EQ(number(bits, 16U), converted(bits, 16));
        ASSERT_EQ(number(static_cast<std::int64_t>(bits)), converted(static_cast<std::int64_t>(bits), 10));
    }
}

TEST_F(StringNumbers, Floats_print_with_six_places_without_a_precision) {
    EXPECT_EQ(number(1.5F), "1.500000");
    EXPECT_EQ(number(-0.25), "-0.250000");
    EXPECT_EQ(number(1e20), "100000000000000000000.000000");
}

TEST_F(StringNumbers, What_rounds_to_zero_prints_without_a_sign) {
    EXPECT_EQ(number(-0.001F, 2U), "0.00");
    EXPECT_EQ(number(-0.004999, 2U), "0.00");
    EXPECT_EQ(number(-0.0051, 2U), "-0.01");
    EXPECT_EQ(number(-0.4, 0U), "0");
    EXPECT_EQ(number(-0.6, 0U), "-1");
    EXPECT_EQ(number(-0.0, 3U), "0.000");
    EXPECT_EQ(number(-0.001, 2U, 'F'), "0.00");
}

TEST_F(StringNumbers, Only_fixed_letters_with_a_precision_drop_the_sign) {
    EXPECT_EQ(number(-0.001, 2U, 'e'), "-1.00e-03");
    EXPECT_EQ(number(-0.0000001), "-0.000000");
}

TEST_F(StringNumbers, Format_letters_are_the_C_librarys_and_others_are_f) {
    EXPECT_EQ(number(1234.5, 2U, 'e'), "1.23e+03");
    EXPECT_EQ(number(1234.5, 2U, 'E'), "1.23E+03");
    EXPECT_EQ(number(1234.5, 3U, 'g'), "1.23e+03");
    EXPECT_EQ(number(1234.5, 3U, 'G'), "1.23E+03");
    EXPECT_EQ(number(1234.5, 2U, 'F'), "1234.50");
    EXPECT_EQ(number(0.5, 2U, 'x'), "0.50");
    EXPECT_EQ(number(0.5, 2U, '\0'), "0.50");
}

TEST_F(StringNumbers, The_precision_is_capped_at_99) {
    EXPECT_EQ(number(0.5, 99U).size(), 101U);
    EXPECT_EQ(number(0.5, 100U), number(0.5, 99U));
    EXPECT_EQ(number(0.5, 0xFFFFFFFFU), number(0.5, 99U));
}

TEST_F(StringNumbers, The_longest_float_fits) {
    EXPECT_EQ(number(-std::numeric_limits<double>::max(), 99U).size(), 1U + 309U + 1U + 99U);
}

TEST_F(StringNumbers, Floats_print_as_the_C_library_prints_them) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> mantissa(-10, 10);
    constexpr char letters[] = {'e', 'f', 'g', 'E', 'F', 'G'};
    for (int round = 0; round < 20000; ++round) {
        const double value = mantissa(random) * std::pow(10.0, static_cast<int>(random() % 40) - 10);
        const auto precision = static_cast<unsigned>(random() % 12);
        const char letter = letters[random() % 6];
        const char format[] = {'%', '.', '*', letter, '\0'};
        std::array<char, 128> buffer;
        const int length =
            std::snprintf(buffer.data(), buffer.size(), format, static_cast<int>(precision), value);
        std::string expected(buffer.data(), static_cast<std::size_t>(length));
        const bool fixed = letter == 'f' || letter == 'F';
        if (fixed && expected[0] == '-' && expected.find_first_of("123456789") == std::string::npos) {
            expected.erase(0, 1);
        }
        ASSERT_EQ(number(value, precision, letter), expected);
        ASSERT_EQ(
            number(static_cast<float>(value), precision, letter),
            number(static_cast<double>(static_cast<float>(value)), precision, letter));
    }
}

TEST_F(StringNumbers, Floats_print_the_decimal_separator_of_the_process) {
    const Separator comma(',');
    EXPECT_EQ(number(1.5, 1U), "1,5");
    EXPECT_EQ(number(-0.001, 2U), "0,00");
    const Separator apostrophe('\'');
    EXPECT_EQ(number(1.5, 1U), "1'5");
}

TEST_F(StringNumbers, ToUnsigned_reads_digits_with_whitespace_around) {
    EXPECT_EQ(String("0").toUnsigned(), 0U);
    EXPECT_EQ(String(" \t\n\v\f\r+42 \r\n").toUnsigned(), 42U);
    EXPECT_EQ(String("4294967295").toUnsigned(), 4294967295U);
    EXPECT_EQ(String("000000000000000000007").toUnsigned(), 7U);
}

TEST_F(StringNumbers, ToUnsigned_refuses_everything_else) {
    for (const char* text :
         {"", " ", "+", "-1", "-0", "++1", "+ 1", "1 2", "12x", "x12", "0x12", "1.0", "1,0", "4294967296",
          "99999999999999999999999999"}) {
        EXPECT_FALSE(String(text).toUnsigned().valid) << text;
    }
    EXPECT_FALSE(String().toUnsigned().valid);
    EXPECT_FALSE(String(std::string("1\0", 2)).toUnsigned().valid);
}

TEST_F(StringNumbers, ToUnsigned_reads_letters_of_both_cases_above_base_10) {
    EXPECT_EQ(String("fF").toUnsigned(16), 255U);
    EXPECT_EQ(String("zZ").toUnsigned(36), 35U * 36 + 35);
    EXPECT_EQ(String("101").toUnsigned(2), 5U);
    EXPECT_FALSE(String("g").toUnsigned(16).valid);
    EXPECT_FALSE(String("a").toUnsigned(10).valid);
    EXPECT_FALSE(String("2").toUnsigned(2).valid);
    EXPECT_FALSE(String("100000000").toUnsigned(16).valid);
    EXPECT_EQ(String("FFFFFFFF").toUnsigned(16), 0xFFFFFFFFU);
}

TEST_F(StringNumbers, ToInt_of_an_empty_text_is_0_unlike_toUnsigned) {
    EXPECT_EQ(String("").toInt(), 0);
    EXPECT_EQ(String().toInt(), 0);
    EXPECT_FALSE(String("").toUnsigned().valid);
    EXPECT_FALSE(String(" ").toInt().valid);
}

TEST_F(StringNumbers, ToInt_reads_both_signs_up_to_their_limits) {
    EXPECT_EQ(String("-2147483648").toInt(), lowest32);
    EXPECT_EQ(String("+2147483647").toInt(), 2147483647);
    EXPECT_EQ(String(" -0 ").toInt(), 0);
    EXPECT_FALSE(String("2147483648").toInt().valid);
    EXPECT_FALSE(String("-2147483649").toInt().valid);
    EXPECT_FALSE(String("4294967296").toInt().valid);
}

TEST_F(StringNumbers, ToInt_refuses_everything_else) {
    for (const char* text : {"12x", "-", "+-1", "- 1", "1.5", "0x1", "a"}) {
        EXPECT_FALSE(String(text).toInt().valid) << text;
    }
}

TEST_F(StringNumbers, Full_width_digits_and_signs_parse) {
    EXPECT_EQ(String("\xEF\xBC\x91\xEF\xBC\x92").toInt(), 12);
    EXPECT_EQ(String("\xEF\xBC\x91\xEF\xBC\x92").toUnsigned(), 12U);
    EXPECT_EQ(String("\xEF\xBC\x90\xEF\xBC\x99").toUnsigned(), 9U);
    EXPECT_EQ(String("\xEF\xBC\x8D\xEF\xBC\x97").toInt(), -7); // U+FF0D
    EXPECT_EQ(
        String("\xE2\x88\x92"
               "7")
            .toInt(),
        -7);                                                                   // U+2212
    EXPECT_EQ(String("\xEF\xBC\x91\xEF\xBC\x8E\xEF\xBC\x95").toDouble(), 1.5); // U+FF0E
    EXPECT_EQ(
        String("1\xE3\x80\x82"
               "5")
            .toFloat(),
        1.5F);                                               // U+3002
    EXPECT_FALSE(String("\xEF\xBC\x9A").toUnsigned().valid); // U+FF1A
    EXPECT_FALSE(String("\xC3\xA9").toInt().valid);
}

TEST_F(StringNumbers, What_is_not_UTF8_is_no_number) {
    EXPECT_FALSE(String("12\xFF").toUnsigned().valid);
    EXPECT_FALSE(String("12\xFF").toInt().valid);
    EXPECT_FALSE(String("12\xFF").toFloat().valid);
    EXPECT_FALSE(String("\xFF").toDouble().valid);
    EXPECT_FALSE(String("\xFF").toInt().valid);
}

TEST_F(StringNumbers, Comma_and_point_are_both_decimal_points) {
    EXPECT_EQ(String("1,5").toFloat(), 1.5F);
    EXPECT_EQ(String("1.5").toFloat(), 1.5F);
    EXPECT_EQ(String("-1,5e3").toDouble(), -1500.0);
    EXPECT_FALSE(String("1,000.5").toDouble().valid);
}

TEST_F(StringNumbers, The_separator_of_the_process_is_a_decimal_point_too) {
    const Separator apostrophe('\'');
    EXPECT_EQ(String("1'5").toDouble(), 1.5);
    EXPECT_EQ(String("1,5").toDouble(), 1.5);
    EXPECT_EQ(String("1.5").toDouble(), 1.5);
}

TEST_F(StringNumbers, Floats_must_be_read_to_the_end_of_the_text) {
    for (const char* text : {"", " ", "1.5 ", "1.5x", "x", ".", "-", "e5", "1..5"}) {
        EXPECT_FALSE(String(text).toFloat().valid) << text;
        EXPECT_FALSE(String(text).toDouble().valid) << text;
    }
    EXPECT_FALSE(String().toFloat().valid);
    EXPECT_FALSE(String().toDouble().valid);
    EXPECT_FALSE(String(std::string("1.5\0", 4)).toDouble().valid);
    EXPECT_EQ(String("1e5").toDouble(), 1e5);
}

TEST_F(StringNumbers, Floats_that_overflow_are_infinite) {
    EXPECT_TRUE(std::isinf(String("1e999").toDouble().value));
    EXPECT_TRUE(String("1e999").toDouble().valid);
    EXPECT_TRUE(std::isinf(String("1e39").toFloat().value));
    EXPECT_EQ(String("1e39").toDouble(), 1e39);
}

TEST_F(StringNumbers, Printed_numbers_parse_to_themselves) {
    std::mt19937_64 random(6);
    for (const char separator : {'.', ','}) {
        const Separator process(separator);
        for (int round = 0; round < 5000; ++round) {
            const auto value = static_cast<std::uint32_t>(random() >> (random() % 64));
            const unsigned base = 2 + static_cast<unsigned>(random() % 35);
            ASSERT_EQ(String::number(value, base).toUnsigned(base), value);
            const auto signedValue = static_cast<std::int32_t>(value);
            ASSERT_EQ(String::number(signedValue).toInt(), signedValue);
            const double real = static_cast<double>(random()) / static_cast<double>(random() | 1);
            ASSERT_EQ(String::number(real, 17U, 'g').toDouble(), real);
            const float single = static_cast<float>(real);
            ASSERT_EQ(String::number(single, 9U, 'e').toFloat(), single);
        }
    }
}

// Slow and obvious: the digits of the text between blanks, summed in 64 bits while they are few.
checked_value<std::int64_t> modelInteger(std::string text, bool allowMinus, unsigned base) {
    const auto strip = [](std::string& from) {
        while (!from.empty() && from.front() == ' ') {
            from.erase(0, 1);
        }
        while (!from.empty() && from.back() == ' ') {
            from.pop_back();
        }
    };
    strip(text);
    const bool negative = allowMinus && text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.erase(0, 1);
    }
    if (text.empty()) {
        return {};
    }
    const std::string digits = std::string("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ").substr(0, base);
    std::int64_t sum = 0;
    for (const char c : text) {
        const std::size_t digit = digits.find(c);
        if (digit == std::string::npos) {
            return {};
        }
        sum = sum * base + static_cast<std::int64_t>(digit);
        if (sum > 0x100000000) {
            return {};
        }
    }
    return negative ? -sum : sum;
}

TEST_F(StringNumbers, Integer_parsing_agrees_with_a_slow_model) {
    std::mt19937 random(7);
    for (int round = 0; round < 50000; ++round) {
        std::string text(1 + random() % 12, ' ');
        for (char& c : text) {
            c = "  +-0123456789999ABZ"[random() % 20];
        }
        const unsigned base = 2 + static_cast<unsigned>(random() % 35);
        const auto whole = modelInteger(text, false, base);
        const auto read = String(text).toUnsigned(base);
        ASSERT_EQ(read.valid, whole.valid && whole.value <= 0xFFFFFFFF) << text << " in " << base;
        ASSERT_TRUE(!read.valid || read.value == whole.value) << text;
        const auto sign = modelInteger(text, true, 10);
        const auto readSigned = String(text).toInt();
        ASSERT_EQ(readSigned.valid, sign.valid && sign.value >= lowest32 && sign.value <= 0x7FFFFFFF) << text;
        ASSERT_TRUE(!readSigned.valid || readSigned.value == sign.value) << text;
    }
}

} // namespace
