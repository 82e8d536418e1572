#include "hosting/dx/WideName_win32.h"

#include <gtest/gtest.h>

#include <string>

namespace Tarvik {
namespace {

TEST(WideName, A_name_that_goes_in_goes_in_whole) {
    WCHAR out[8];
    copyWideName("Verst\xC3\xA4r", out);
    EXPECT_EQ(std::wstring(out), L"Verst\u00E4r");
    copyWideName(String(), out);
    EXPECT_EQ(std::wstring(out), L"");
}

TEST(WideName, A_name_that_is_too_long_is_cut_before_the_end_of_the_array) {
    WCHAR out[MAX_FILTER_NAME];
    copyWideName(String(std::string(200, 'x')), out);
    EXPECT_EQ(std::wstring(out), std::wstring(127, L'x'));
    copyWideName(String(std::string(128, 'x')), out);
    EXPECT_EQ(std::wstring(out), std::wstring(127, L'x'));
    copyWideName(String(std::string(127, 'x')), out);
    EXPECT_EQ(std::wstring(out), std::wstring(127, L'x'));
}

TEST(WideName, Half_a_character_is_not_written) {
    WCHAR out[4];
    copyWideName("ab\xF0\x9F\x8E\x9A", out);
    EXPECT_EQ(std::wstring(out), L"ab");
    copyWideName("a\xF0\x9F\x8E\x9A", out);
    EXPECT_EQ(std::wstring(out), L"a\xD83C\xDF9A");
}

} // namespace
} // namespace Tarvik
