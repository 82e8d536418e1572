#include "svbase/util/Module.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace {

bool isInProcess(const wchar_t* name) {
    return GetModuleHandleW(name) != nullptr;
}

TEST(Module, Loads_on_request_and_frees_at_its_end) {
    ASSERT_FALSE(isInProcess(L"msimg32.dll"));
    {
        Util::Module module("msimg32.dll");
        EXPECT_EQ(module.path(), "msimg32.dll");
        EXPECT_FALSE(module.isLoaded());
        EXPECT_FALSE(isInProcess(L"msimg32.dll"));
        EXPECT_EQ(module.find("AlphaBlend"), nullptr) << "nothing is loaded";
        EXPECT_TRUE(module.load());
        EXPECT_TRUE(module.load()) << "already loaded";
        EXPECT_TRUE(module.isLoaded());
        EXPECT_TRUE(isInProcess(L"msimg32.dll"));
        EXPECT_NE(module.find("AlphaBlend"), nullptr);
        EXPECT_EQ(module.find("NoSuchFunction"), nullptr);
    }
    EXPECT_FALSE(isInProcess(L"msimg32.dll"));
}

TEST(Module, Stays_in_the_process_when_kept_loaded) {
    ASSERT_FALSE(isInProcess(L"wsock32.dll"));
    {
        Util::Module module("wsock32.dll");
        ASSERT_TRUE(module.load());
        module.setKeepLoaded(true);
    }
    EXPECT_TRUE(isInProcess(L"wsock32.dll"));
}

TEST(Module, Functions_can_be_called) {
    Util::Module module("kernel32.dll");
    ASSERT_TRUE(module.load());
    const auto processId = module.function<DWORD(WINAPI*)()>("GetCurrentProcessId");
    ASSERT_NE(processId, nullptr);
    EXPECT_EQ(processId(), GetCurrentProcessId());
}

TEST(Module, A_missing_library_does_not_load_and_leaves_the_systems_error) {
    Util::Module module("C:\\no such folder\\\xC3\xA4.dll");
    EXPECT_FALSE(module.load());
    EXPECT_EQ(GetLastError(), DWORD(ERROR_MOD_NOT_FOUND));
    EXPECT_FALSE(module.isLoaded());
    EXPECT_EQ(module.find("anything"), nullptr);
}

} // namespace
