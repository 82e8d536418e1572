#include "svbase/util/Locale.h"
#include "svbase/util/String.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <locale.h>
#include <string>

namespace {

/// The user's settings, for the scope.
class UserLocale {
public:
    explicit UserLocale(const char* name) {
        if (const char* const before = std::getenv("LC_ALL")) {
            hadBefore_ = true;
            before_ = before;
        }
        setenv("LC_ALL", name, 1);
    }
    ~UserLocale() {
        if (hadBefore_) {
            setenv("LC_ALL", before_.c_str(), 1);
        } else {
            unsetenv("LC_ALL");
        }
    }
    UserLocale(const UserLocale&) = delete;
    UserLocale& operator=(const UserLocale&) = delete;

private:
    bool hadBefore_ = false;
    std::string before_;
};

constexpr const char* comma = "de_DE.UTF-8";

bool isInstalled(const char* name) {
    const locale_t made = newlocale(LC_NUMERIC_MASK, name, locale_t{});
    if (made == locale_t{}) {
        return false;
    }
    freelocale(made);
    return true;
}

TEST(Locale, The_users_separator_is_that_of_the_settings_and_not_that_of_the_C_library) {
    if (!isInstalled(comma)) {
        GTEST_SKIP() << "no locale with a decimal comma is installed; test.sh makes one";
    }
    const UserLocale user(comma);
    EXPECT_EQ(Util::Locale::userDecimalSeparator(), ',');
    EXPECT_EQ(Util::Locale::libraryDecimalPoint(), ".") << "nobody has set it";
}

TEST(Locale, Settings_without_a_locale_leave_the_point) {
    for (const char* const name : {"C", "no_SUCH.LOCALE"}) {
        const UserLocale user(name);
        EXPECT_EQ(Util::Locale::userDecimalSeparator(), '.') << name;
    }
}

/// What a program of its own, started under these settings, makes of numbers. Ends with 17 when it is what is
/// wanted.
void endWith(bool right) {
    std::_Exit(right ? 17 : 18);
}

TEST(LocaleDeathTest, A_program_takes_the_users_separator_once_when_it_starts) {
    if (!isInstalled(comma)) {
        GTEST_SKIP() << "no locale with a decimal comma is installed; test.sh makes one";
    }
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto child = [] {
        const bool atStart = String::decimalSeparator() == ',';
        const UserLocale changed("C");
        endWith(
            atStart && String::number(1.5, 2U) == "1,50" && String("%1 dB").arg(-2.5F, 1U) == "-2,5 dB" &&
            String::number(1234567, 10) == "1234567" &&
            String("1,5").toDouble() == checked_value<double>(1.5) &&
            String("1.5").toFloat() == checked_value<float>(1.5F) && !String("1,5").toInt().valid);
    };
    const UserLocale user(comma);
    EXPECT_EXIT(child(), testing::ExitedWithCode(17), "");
}

TEST(LocaleDeathTest, A_program_started_without_settings_prints_a_point) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto child = [] {
        const UserLocale changed(comma);
        endWith(
            String::decimalSeparator() == '.' && String::number(1.5, 2U) == "1.50" &&
            String("1,5").toDouble() == checked_value<double>(1.5));
    };
    const UserLocale user("C");
    EXPECT_EXIT(child(), testing::ExitedWithCode(17), "");
}

} // namespace
