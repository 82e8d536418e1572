#include "support/ConfigSandbox.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

#include <windows.h>

namespace {

constexpr const wchar_t* sharedKey = L"SOFTWARE\\Solvane";

bool exists(const std::wstring& path) {
    HKEY key = nullptr;
    const bool opened = RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (opened) {
        RegCloseKey(key);
    }
    return opened;
}

TEST(ConfigSandbox, Its_end_takes_its_own_values_and_leaves_the_users) {
    const std::wstring name = L"Test value " + std::to_wstring(GetCurrentProcessId());
    ASSERT_EQ(
        RegSetKeyValueW(HKEY_CURRENT_USER, sharedKey, name.c_str(), REG_DWORD, "\1\0\0", 4), ERROR_SUCCESS);
    std::wstring own;
    {
        ConfigSandbox sandbox;
        sandbox.plant("a", "b", {Util::ConfigValue::DWord, {1, 0, 0, 0}});
        own = sandbox.base().replace("/", "\\").toNativeWide();
        EXPECT_TRUE(exists(own));
    }
    EXPECT_FALSE(exists(own));
    DWORD value = 0;
    DWORD size = sizeof value;
    EXPECT_EQ(
        RegGetValueW(HKEY_CURRENT_USER, sharedKey, name.c_str(), RRF_RT_REG_DWORD, nullptr, &value, &size),
        ERROR_SUCCESS);
    EXPECT_EQ(value, 1U);
    RegDeleteKeyValueW(HKEY_CURRENT_USER, sharedKey, name.c_str());
    // Without the value the key may go.
    const ConfigSandbox last;
}

} // namespace
