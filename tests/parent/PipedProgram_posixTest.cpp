#include "parent/PipedProgram_posix.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace Tarvik {
namespace {

using namespace std::chrono_literals;

class PipedProgramTest : public testing::Test {
protected:
    void Start(const std::string& script) {
        const String error = program.start({"sh", "-c", String(script)});
        ASSERT_TRUE(error.isEmpty()) << error.c_str();
    }

    /// What the program writes, until it has written so much.
    std::string Read(std::size_t size) {
        std::string text;
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        while (text.size() < size && std::chrono::steady_clock::now() < deadline) {
            std::array<char, 64> buffer{};
            program.waitForOutput(1s);
            text.append(buffer.data(), program.read(buffer.data(), buffer.size()));
        }
        return text;
    }

    PipedProgram program;
};

TEST_F(PipedProgramTest, What_a_program_writes_is_read_and_its_errors_are_not) {
    Start("echo error >&2; echo word");
    EXPECT_EQ(Read(5), "word\n");
}

TEST_F(PipedProgramTest, Reading_does_not_wait) {
    Start("exec sleep 600");
    std::array<char, 8> buffer{};
    EXPECT_EQ(program.read(buffer.data(), buffer.size()), 0U);
    EXPECT_FALSE(program.hasEnded());
}

TEST_F(PipedProgramTest, The_end_is_seen_and_what_was_written_before_is_there) {
    Start("echo word; exit 7");
    program.waitForEnd();
    EXPECT_TRUE(program.hasEnded());
    // As often as anybody asks.
    EXPECT_TRUE(program.hasEnded());
    EXPECT_EQ(Read(5), "word\n");
}

TEST_F(PipedProgramTest, A_program_that_is_killed_ends) {
    Start("exec sleep 600");
    program.kill();
    program.waitForEnd();
    EXPECT_TRUE(program.hasEnded());
    program.kill();
}

/// A script that tells another file what is on its standard input at once, nothing or else something or the
/// end, and then that the end has come.
std::vector<String> TellingInput(int file) {
    const String script("import os, select, sys\n"
                        "ready = select.select([0], [], [], 0)[0]\n"
                        "os.write(%1, b'something\\n' if ready else b'nothing\\n')\n"
                        "sys.stdin.read()\n"
                        "os.write(%1, b'end\\n')\n");
    return {"/usr/bin/python3", "-c", script.arg(file).arg(file)};
}

TEST_F(PipedProgramTest, The_lifeline_has_nothing_on_it_and_does_not_end) {
    const String error = program.start(TellingInput(1));
    ASSERT_TRUE(error.isEmpty()) << error.c_str();
    EXPECT_EQ(Read(8), "nothing\n");
}

TEST_F(PipedProgramTest, The_lifeline_ends_with_the_parent_however_that_ends) {
    // Past the parent: all of them have it.
    int said[2];
    ASSERT_EQ(pipe(said), 0);
    const std::vector<String> command = TellingInput(said[1]);
    const pid_t parent = fork();
    ASSERT_GE(parent, 0);
    if (parent == 0) {
        PipedProgram orphan;
        if (!orphan.start(command).isEmpty()) {
            _exit(1);
        }
        for (;;) {
            pause();
        }
    }
    close(said[1]);
    const auto nextLine = [&] {
        std::string line;
        char c = 0;
        pollfd each{said[0], POLLIN, 0};
        while (poll(&each, 1, 60'000) == 1 && read(said[0], &c, 1) == 1 && c != '\n') {
            line.push_back(c);
        }
        return line;
    };
    EXPECT_EQ(nextLine(), "nothing");
    EXPECT_EQ(kill(parent, SIGKILL), 0);
    EXPECT_EQ(nextLine(), "end");
    waitpid(parent, nullptr, 0);
    close(said[0]);
}

TEST_F(PipedProgramTest, A_program_that_is_not_there_gives_the_reason) {
    const String error = program.start({"/nonexistent/program"});
    EXPECT_TRUE(error.startsWith("/nonexistent/program: ")) << error.c_str();
    // Of no process: least of all of every one.
    program.kill();
}

TEST_F(PipedProgramTest, A_debugger_is_kept_from_crashes) {
    Start(R"(echo "$WINEDLLOVERRIDES")");
    const char* chosen = std::getenv("WINEDLLOVERRIDES");
    const std::string expected =
        std::string(chosen != nullptr ? chosen : "winedbg.exe=d;mscoree,mshtml=") + "\n";
    EXPECT_EQ(Read(expected.size()), expected);
}

} // namespace
} // namespace Tarvik
