#include "command/StandardOutput.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace {

[[noreturn]] void writeToFullDevice() {
    if (std::freopen("/dev/full", "w", stdout) == nullptr) {
        std::exit(1);
    }
    try {
        writeOutput("text\n");
    } catch (const std::system_error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        std::exit(7);
    }
    std::exit(0);
}

TEST(StandardOutputDeathTest, What_cannot_be_written_is_told) {
    EXPECT_EXIT(writeToFullDevice(), testing::ExitedWithCode(7), "cannot write the output: ");
}

} // namespace
