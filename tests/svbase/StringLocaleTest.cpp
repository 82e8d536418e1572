#include "svbase/util/String.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace {

// Gives the C library a locale with a decimal comma, under whatever name this platform knows one.
class CommaLocale : public testing::Test {
protected:
    void SetUp() override {
        before_ = std::setlocale(LC_NUMERIC, nullptr);
        separator_ = String::decimalSeparator();
        for (const char* name :
             {"de_DE.UTF-8", "German", "de-DE", "de_DE.utf8", "fr_FR.UTF-8", "nl_NL.UTF-8"}) {
            if (std::setlocale(LC_NUMERIC, name) != nullptr && *std::localeconv()->decimal_point == ',') {
                return;
            }
        }
        GTEST_SKIP() << "no locale with a decimal comma is installed; test.sh makes one";
    }
    void TearDown() override {
        std::setlocale(LC_NUMERIC, before_.c_str());
        String::setDecimalSeparator(separator_);
    }

private:
    std::string before_;
    char separator_ = '.';
};

TEST_F(CommaLocale, Floats_parse_with_either_point) {
    EXPECT_EQ(String("1,5").toFloat(), 1.5F);
    EXPECT_EQ(String("1.5").toFloat(), 1.5F);
    EXPECT_EQ(String("1.25").toDouble(), 1.25);
    EXPECT_EQ(
        String("1\xEF\xBC\x8E"
               "25")
            .toDouble(),
        1.25);
}

TEST_F(CommaLocale, Floats_print_with_the_separator_of_the_process) {
    String::setDecimalSeparator('.');
    EXPECT_EQ(String::number(1.5, 2U).toStdString(), "1.50");
    String::setDecimalSeparator(',');
    EXPECT_EQ(String::number(1.5, 2U).toStdString(), "1,50");
}

TEST_F(CommaLocale, Every_way_to_print_a_float_takes_the_separator_of_the_process) {
    for (const char separator : {'.', ',', '\''}) {
        String::setDecimalSeparator(separator);
        const auto with = [separator](const char* first, const char* rest) {
            return std::string(first) + separator + rest;
        };
        EXPECT_EQ(String::number(-1234.5F, 1U).toStdString(), with("-1234", "5"));
        EXPECT_EQ(String::number(0.5).toStdString(), with("0", "500000"));
        EXPECT_EQ(String::number(1.5e10, 3U, 'e').toStdString(), with("1", "500e+10"));
        EXPECT_EQ(String::number(0.25, 4U, 'G').toStdString(), with("0", "25"));
        EXPECT_EQ(String("%1 ms").arg(2.5, 2U).toStdString(), with("2", "50 ms"));
        EXPECT_EQ(String("%1").arg(-0.001F, 2U).toStdString(), with("0", "00"));
    }
}

TEST_F(CommaLocale, What_was_printed_under_any_separator_parses_and_integers_know_none) {
    for (const char separator : {'.', ',', '\''}) {
        String::setDecimalSeparator(separator);
        EXPECT_EQ(String::number(-1234.5, 2U).toDouble(), checked_value<double>(-1234.5)) << separator;
        EXPECT_EQ(String::number(0.125F, 3U).toFloat(), checked_value<float>(0.125F)) << separator;
        EXPECT_EQ(String::number(1234567).toStdString(), "1234567");
        EXPECT_EQ(String(std::string("1") + separator + "5").toFloat(), checked_value<float>(1.5F));
        EXPECT_FALSE(String(std::string("1") + separator + "5").toInt().valid);
        EXPECT_FALSE(String(std::string("1") + separator + "5").toUnsigned(10).valid);
    }
}

} // namespace
