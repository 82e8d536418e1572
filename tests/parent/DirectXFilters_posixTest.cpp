#include "parent/DirectXFilters.h"

#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace Tarvik {
namespace {

using namespace std::chrono_literals;

/// A shell script stands where Wine stands, and plays the launcher.
class DirectXFilters : public testing::Test {
protected:
    void SetUp() override {
        std::ofstream(folder_ / "TarvikScannerLauncher.exe") << "stands there";
        setenv("TARVIK_WINE", (folder_ / "wine").c_str(), 1);
    }
    void TearDown() override { unsetenv("TARVIK_WINE"); }

    expected<DirectXFilterList, String>
    list(const std::string& script, std::chrono::milliseconds limit = 20s) {
        std::ofstream(folder_ / "wine") << "#!/bin/sh\n" << script << '\n';
        std::filesystem::permissions(folder_ / "wine", std::filesystem::perms::owner_all);
        const auto began = std::chrono::steady_clock::now();
        auto result = listDirectXFilters({String((folder_ / "scanner.exe").string())}, limit);
        took_ = std::chrono::steady_clock::now() - began;
        return result;
    }

    static constexpr const char* one =
        "echo 'DirectX filters, format 1'; "
        "echo 'filter 00000000-0000-0000-0000-000000000001 complete Reverb - C:\\\\r.dll'; ";

    TemporaryDirectory directory_;
    std::filesystem::path folder_ = directory_.path();
    std::chrono::steady_clock::duration took_{};
};

TEST_F(DirectXFilters, The_launcher_is_asked_for_the_list) {
    const auto filters = list(
        R"(case "$1 $2" in
        */TarvikScannerLauncher.exe' --list-directx') ;; *) exit 1 ;; esac; )" +
        std::string(one) + "echo 'end 1'");
    ASSERT_TRUE(filters) << filters.error().c_str();
    ASSERT_EQ(filters->filters.size(), 1U);
    EXPECT_EQ(filters->filters[0].name, "Reverb");
    EXPECT_EQ(filters->filters[0].module, "C:\\r.dll");
}

TEST_F(DirectXFilters, The_last_line_is_the_end_whatever_holds_the_pipe_open) {
    const auto filters = list(std::string(one) + "echo 'end 1'; exec sleep 600");
    ASSERT_TRUE(filters) << filters.error().c_str();
    EXPECT_EQ(filters->filters.size(), 1U);
    EXPECT_LT(took_, 20s);
}

TEST_F(DirectXFilters, A_launcher_that_ends_before_its_list_is_seen_whatever_holds_the_pipe_open) {
    const auto filters = list(std::string(one) + "sleep 30 & exit 5", 600s);
    ASSERT_FALSE(filters);
    EXPECT_EQ(filters.error(), "The list of DirectX filters has no end: the launcher ended before");
    EXPECT_LT(took_, 20s);
}

TEST_F(DirectXFilters, A_launcher_that_says_nothing_is_ended_after_the_limit) {
    pid_t number = 0;
    // On a busy machine a short limit is over before the script has run at all.
    for (const std::chrono::milliseconds limit : {300ms, 3'000ms, 30'000ms}) {
        const auto filters = list("echo $$ >'" + (folder_ / "number").string() + "'; exec sleep 600", limit);
        ASSERT_FALSE(filters);
        EXPECT_EQ(filters.error(), "The list of DirectX filters took longer than the time limit");
        EXPECT_GE(took_, limit);
        EXPECT_LT(took_, limit + 20s);
        if (std::ifstream(folder_ / "number") >> number) {
            break;
        }
    }
    ASSERT_GT(number, 0);
    EXPECT_NE(kill(number, 0), 0);
}

TEST_F(DirectXFilters, A_launcher_that_never_comes_to_an_end_is_ended_after_the_limit) {
    // Each name is long, so that there are not too many filters before.
    const auto filters = list(
        "echo 'DirectX filters, format 1'; name=$(printf '%08000d' 0); i=1; "
        "while printf 'filter 00000000-0000-0000-0000-%012X complete %s - -\\n' $i $name; do i=$((i+1)); "
        "done",
        300ms);
    ASSERT_FALSE(filters);
    EXPECT_EQ(filters.error(), "The list of DirectX filters took longer than the time limit");
    EXPECT_GE(took_, 300ms);
    EXPECT_LT(took_, 20s);
}

TEST_F(DirectXFilters, A_launcher_that_closes_its_output_has_ended) {
    const auto filters = list(std::string(one) + "exec 1>&-; exec sleep 600", 600s);
    ASSERT_FALSE(filters);
    EXPECT_EQ(filters.error(), "The list of DirectX filters has no end: the launcher ended before");
    EXPECT_LT(took_, 20s);
}

TEST_F(DirectXFilters, A_list_of_something_else_is_told_with_its_line) {
    const auto filters = list(std::string(one) + "while echo 'filter'; do :; done", 20s);
    ASSERT_FALSE(filters);
    EXPECT_EQ(filters.error(), "Line 3 of the list of filters: neither a filter nor a problem nor the end");
}

TEST_F(DirectXFilters, A_problem_comes_with_what_was_found) {
    const auto filters = list(std::string(one) + "echo 'problem no%20mapper'; echo 'end 1'");
    ASSERT_TRUE(filters) << filters.error().c_str();
    EXPECT_EQ(filters->problem, "no mapper");
    EXPECT_EQ(filters->filters.size(), 1U);
}

TEST_F(DirectXFilters, A_launcher_that_is_not_there_is_named) {
    std::filesystem::remove(folder_ / "TarvikScannerLauncher.exe");
    const auto filters = list("exit 0");
    ASSERT_FALSE(filters);
    EXPECT_EQ(filters.error(), "Cannot find " + String((folder_ / "TarvikScannerLauncher.exe").string()));
}

TEST_F(DirectXFilters, A_wine_that_is_not_there_is_named) {
    setenv("TARVIK_WINE", "/nonexistent/wine", 1);
    const auto filters = list("exit 0");
    ASSERT_FALSE(filters);
    EXPECT_TRUE(filters.error().startsWith("/nonexistent/wine: ")) << filters.error().c_str();
    setenv("TARVIK_WINE", "/nonexistent/%2", 1);
    EXPECT_TRUE(list("exit 0").error().startsWith("/nonexistent/%2: "));
}

} // namespace
} // namespace Tarvik
