#include "parent/LauncherCommand_posix.h"

#include "svbase/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace Tarvik {
namespace {

class LauncherCommand : public testing::Test {
protected:
    void SetUp() override { setenv("TARVIK_WINE", "chosen wine", 1); }
    void TearDown() override { unsetenv("TARVIK_WINE"); }

    TemporaryDirectory directory_;
    std::filesystem::path folder_ = directory_.path();
};

TEST_F(LauncherCommand, The_launcher_beside_the_scanner_gets_the_arguments) {
    const auto launcher = folder_ / "TarvikScannerLauncher.exe";
    std::ofstream(launcher) << "stands there";
    const auto command = launcherCommand(String((folder_ / "scanner.exe").string()), {"a", "b c"});
    ASSERT_TRUE(command);
    EXPECT_THAT(
        *command,
        testing::ElementsAre(String("chosen wine"), String(launcher.string()), String("a"), String("b c")));
}

TEST_F(LauncherCommand, A_launcher_that_is_not_there_is_named) {
    const auto command = launcherCommand(String((folder_ / "scanner.exe").string()), {});
    ASSERT_FALSE(command);
    EXPECT_EQ(command.error(), "Cannot find " + String((folder_ / "TarvikScannerLauncher.exe").string()));
}

} // namespace
} // namespace Tarvik
