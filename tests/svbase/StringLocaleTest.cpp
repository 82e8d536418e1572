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

} // namespace
