#include "svbase/util/Path.h"

#include <gtest/gtest.h>

#include <string>

#include <windows.h>

namespace {

TEST(Win32Path, The_system_takes_backslashes_behind_the_long_prefix) {
    EXPECT_EQ(Util::Path::toSystem("C:/a//b/").toStdString(), "\\\\?\\C:\\a\\b");
    EXPECT_EQ(Util::Path::toSystem("\\\\?\\C:\\a").toStdString(), "\\\\?\\C:\\a");
    EXPECT_EQ(Util::Path::toSystem("//server/share/x").toStdString(), "\\\\?\\UNC\\server\\share\\x");
    EXPECT_EQ(Util::Path::toSystem("\\\\?\\UNC\\server\\share").toStdString(), "\\\\?\\UNC\\server\\share");
}

TEST(Win32Path, A_relative_path_is_completed_before_the_prefix) {
    wchar_t buffer[1024] = {};
    ASSERT_NE(GetCurrentDirectoryW(1024, buffer), 0U);
    const std::string here = String::fromWide(buffer).toStdString();
    EXPECT_EQ(Util::Path::toSystem("a/b").toStdString(), "\\\\?\\" + here + "\\a\\b");
    EXPECT_EQ(Util::Path::toSystem("/a").toStdString(), "\\\\?\\" + here.substr(0, 2) + "\\a");
}

TEST(Win32Path, A_leading_tilde_is_expanded) {
    wchar_t before[1024] = {};
    const DWORD length = GetEnvironmentVariableW(L"HOME", before, 1024);
    SetEnvironmentVariableW(L"HOME", L"C:\\users\\\u00C4nn\\");
    EXPECT_EQ(Util::Path::normalise("~/x.dll").toStdString(), "C:/users/\xC3\x84nn/x.dll");
    SetEnvironmentVariableW(L"HOME", nullptr);
    EXPECT_EQ(Util::Path::normalise("~/x").toStdString(), "~/x");
    SetEnvironmentVariableW(L"HOME", length == 0 ? nullptr : before);
}

} // namespace
