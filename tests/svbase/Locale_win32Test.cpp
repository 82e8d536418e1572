#include "svbase/util/Locale.h"

#include "svbase/util/String.h"

#include "svbase/PatchedImport_win32.h"

#include <gtest/gtest.h>

#include <cstring>

extern "C" {
extern decltype(&GetLocaleInfoA) __imp_GetLocaleInfoA;
}

namespace {

/// What the user's settings hold for a separator, and how they were asked.
const char* setting = nullptr;
LCID askedLocale = 0;
LCTYPE askedType = 0;

/// Null: the settings cannot be had.
int WINAPI readSetting(LCID locale, LCTYPE type, LPSTR text, int size) {
    askedLocale = locale;
    askedType = type;
    if (setting == nullptr) {
        return 0;
    }
    const auto needed = static_cast<int>(std::strlen(setting)) + 1;
    if (needed > size) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    std::memcpy(text, setting, static_cast<std::size_t>(needed));
    return needed;
}

char separatorOf(const char* text) {
    setting = text;
    const PatchedImport patch(__imp_GetLocaleInfoA, &readSetting);
    return Util::Locale::userDecimalSeparator();
}

TEST(Locale, The_users_separator_is_that_of_the_default_locale) {
    EXPECT_EQ(separatorOf(","), ',');
    EXPECT_EQ(askedLocale, GetUserDefaultLCID());
    EXPECT_EQ(askedType, LCTYPE(14));
    EXPECT_EQ(separatorOf("'"), '\'');
}

TEST(Locale, Settings_that_cannot_be_had_or_are_empty_leave_the_point) {
    EXPECT_EQ(separatorOf(nullptr), '.');
    EXPECT_EQ(separatorOf(""), '.');
}

TEST(Locale, The_program_took_the_users_separator_when_it_started) {
    EXPECT_EQ(String::decimalSeparator(), Util::Locale::userDecimalSeparator());
    EXPECT_EQ(separatorOf("'"), '\'');
    EXPECT_NE(String::decimalSeparator(), '\'') << "and asks no more";
}

} // namespace
