#include "svbase/util/String.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

TEST(StringArg, Replaces_the_first_of_two_equal_placeholders) {
    const String once = String("%1 and %1").arg("a");
    EXPECT_EQ(once.toStdString(), "a and %1");
    EXPECT_EQ(once.arg("b").toStdString(), "a and b");
}

TEST(StringArg, Fills_the_lowest_digit_first) {
    EXPECT_EQ(String("%2 %1").arg("x").arg("y").toStdString(), "y x");
    EXPECT_EQ(String("%9 %5 %7").arg("x").toStdString(), "%9 x %7");
}

TEST(StringArg, Zero_is_a_placeholder_and_wins_over_one) {
    EXPECT_EQ(String("%1 %0").arg("x").arg("y").toStdString(), "y x");
}

TEST(StringArg, Reads_one_digit_only) {
    EXPECT_EQ(String("%10").arg("x").toStdString(), "x0");
    EXPECT_EQ(String("%2%10").arg("x").toStdString(), "%2x0");
}

TEST(StringArg, Appends_what_has_no_placeholder) {
    EXPECT_EQ(String("abc").arg(5).toStdString(), "abc5");
    EXPECT_EQ(String("").arg("x").toStdString(), "x");
    EXPECT_EQ(String("%").arg("x").toStdString(), "%x");
    EXPECT_EQ(String("%1").arg("x").arg("y").arg("z").toStdString(), "xyz");
}

TEST(StringArg, A_percent_sign_in_the_last_byte_is_no_placeholder) {
    EXPECT_EQ(String("100%").arg("x").toStdString(), "100%x");
    EXPECT_EQ(String("%1 100%").arg("x").toStdString(), "x 100%");
    EXPECT_EQ(String("%%1").arg("x").toStdString(), "%x");
    EXPECT_EQ(String("%a%").arg("x").toStdString(), "%a%x");
}

TEST(StringArg, A_substituted_text_is_scanned_by_later_calls) {
    EXPECT_EQ(String("%1 %4").arg("%3").arg("x").toStdString(), "x %4");
    EXPECT_EQ(String("%1").arg("%1").arg("x").toStdString(), "x");
    EXPECT_EQ(String("%12").arg("%").arg("x").toStdString(), "x");
}

TEST(StringArg, Keeps_the_null_flag_only_when_nothing_is_appended_to_null) {
    EXPECT_TRUE(String().arg(String()).isNull());
    EXPECT_FALSE(String().arg("x").isNull());
    EXPECT_FALSE(String("").arg(String()).isNull());
    const String vanished = String("%1").arg(String());
    EXPECT_TRUE(vanished.isEmpty());
    EXPECT_FALSE(vanished.isNull());
}

TEST(StringArg, Takes_every_kind_of_value) {
    const String format("<%1>");
    EXPECT_EQ(format.arg('c').toStdString(), "<c>");
    EXPECT_EQ(format.arg(std::int8_t{-8}).toStdString(), "<-8>");
    EXPECT_EQ(format.arg(std::uint8_t{200}).toStdString(), "<200>");
    EXPECT_EQ(format.arg(std::int16_t{-300}).toStdString(), "<-300>");
    EXPECT_EQ(format.arg(std::uint16_t{65535}).toStdString(), "<65535>");
    EXPECT_EQ(format.arg(-70000).toStdString(), "<-70000>");
    EXPECT_EQ(format.arg(4000000000U).toStdString(), "<4000000000>");
    EXPECT_EQ(format.arg(-70000L).toStdString(), "<-70000>");
    EXPECT_EQ(format.arg(70000UL).toStdString(), "<70000>");
    EXPECT_EQ(format.arg(-5000000000LL).toStdString(), "<-5000000000>");
    EXPECT_EQ(format.arg(18446744073709551615ULL).toStdString(), "<18446744073709551615>");
    EXPECT_EQ(format.arg(1.5F).toStdString(), "<1.500000>");
    EXPECT_EQ(format.arg(2.25).toStdString(), "<2.250000>");
    EXPECT_EQ(format.arg(String("s")).toStdString(), "<s>");
    EXPECT_EQ(format.arg("l").toStdString(), "<l>");
}

TEST(StringArg, Passes_base_and_width_and_precision_on) {
    EXPECT_EQ(String("0x%1").arg(0xABCU, 16, 8).toStdString(), "0x00000ABC");
    EXPECT_EQ(String("%1").arg(-5, 10, 3).toStdString(), "-005");
    EXPECT_EQ(String("%1 dB").arg(-3.14159F, 2).toStdString(), "-3.14 dB");
    EXPECT_EQ(String("%1").arg(12345.678, 3, 'e').toStdString(), "1.235e+04");
}

// Slow and obvious: look for each digit in turn.
std::string model(const std::string& format, const std::string& value) {
    for (char digit = '0'; digit <= '9'; ++digit) {
        const std::size_t at = format.find(std::string{'%', digit});
        if (at != std::string::npos) {
            return format.substr(0, at) + value + format.substr(at + 2);
        }
    }
    return format + value;
}

TEST(StringArg, Agrees_with_looking_for_each_digit_in_turn) {
    std::mt19937 random(3);
    const auto text = [&random](std::size_t most) {
        std::string result(random() % (most + 1), ' ');
        for (char& c : result) {
            c = "%%%0123a9 "[random() % 10];
        }
        return result;
    };
    for (int round = 0; round < 20000; ++round) {
        std::string expected = text(12);
        String format(expected);
        for (int step = 0; step < 4; ++step) {
            const std::string value = text(4);
            expected = model(expected, value);
            format = format.arg(String(value));
            ASSERT_EQ(format.toStdString(), expected);
        }
    }
}

} // namespace
