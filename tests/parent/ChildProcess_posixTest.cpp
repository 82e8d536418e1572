#include "parent/ChildProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <thread>

#include <unistd.h>

namespace Tarvik {
namespace {

using namespace std::chrono_literals;

/// A shell in the launcher's place, and the announcement of its end.
class Child {
public:
    explicit Child(const std::string& script) : Child(std::vector<String>{"sh", "-c", String(script)}) {}
    explicit Child(const std::vector<String>& command) {
        auto started = ChildProcess::start(command, [this] { ended_.set_value(); });
        if (started) {
            process_ = std::move(started).value();
        } else {
            error = started.error();
        }
    }

    ChildProcess& operator*() { return *process_; }
    ChildProcess* operator->() { return process_.get(); }
    void end() { process_.reset(); }

    bool ends() { return ending_.wait_for(20s) == std::future_status::ready; }
    bool hasEnded() { return ending_.wait_for(0s) == std::future_status::ready; }

    ExitStatus status() {
        EXPECT_TRUE(ends());
        const auto status = process_->exitStatus();
        EXPECT_TRUE(status.valid);
        return status.value;
    }

    String error;

private:
    // Before the process, whose watcher sets it.
    std::promise<void> ended_;
    std::future<void> ending_ = ended_.get_future();
    std::unique_ptr<ChildProcess> process_;
};

/// A folder of the test's own.
class Folder {
public:
    Folder()
        : path(
              std::filesystem::path(testing::TempDir()) /
              ("child-process-" +
               std::string(testing::UnitTest::GetInstance()->current_test_info()->name()))) {
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path);
    }
    ~Folder() { std::filesystem::remove_all(path); }

    const std::filesystem::path path;
};

/// Waits until the file stands there and has a line, and gives that.
std::string lineOf(const std::filesystem::path& file) {
    for (const auto deadline = std::chrono::steady_clock::now() + 20s;
         std::chrono::steady_clock::now() < deadline; std::this_thread::yield()) {
        std::ifstream stream(file);
        if (std::string line; std::getline(stream, line) && !stream.eof()) {
            return line;
        }
    }
    ADD_FAILURE() << "no line in " << file;
    return {};
}

} // namespace

TEST(ChildProcess, The_launchers_last_word_is_the_code_of_all_32_bits) {
    Child child("printf 'ended 3221225477\\n'");
    const ExitStatus status = child.status();
    EXPECT_FALSE(status.unknown);
    EXPECT_EQ(status.code, 0xC0000005U);
    EXPECT_TRUE(child->startError().isEmpty());
}

TEST(ChildProcess, A_launcher_that_says_nothing_or_no_number_leaves_the_code_unknown) {
    for (const char* script :
         {"exit 7", "printf 'ended'", "printf 'ended x'", "printf 'ended -1'", "printf 'ended 4294967296'",
          "printf 'said something'"}) {
        Child child(script);
        EXPECT_TRUE(child.status().unknown) << script;
        EXPECT_TRUE(child->startError().isEmpty()) << script;
    }
}

TEST(ChildProcess, A_launcher_that_could_not_start_the_program_says_why) {
    Child child("printf 'failed with a reason\\n'");
    EXPECT_TRUE(child.status().unknown);
    EXPECT_EQ(child->startError(), "with a reason");
}

TEST(ChildProcess, While_it_runs_there_is_no_status) {
    Child child("exec sleep 600");
    EXPECT_FALSE(child->exitStatus().valid);
    EXPECT_TRUE(child->startError().isEmpty());
    EXPECT_FALSE(child.hasEnded());
}

TEST(ChildProcess, A_program_that_is_not_there_is_named) {
    Child child(std::vector<String>{"/nonexistent/program"});
    EXPECT_EQ(child.error, "/nonexistent/program: No such file or directory");
    EXPECT_FALSE(child.hasEnded());
}

TEST(ChildProcess, Killing_ends_it_at_once_and_again_does_nothing) {
    Child child("exec sleep 600");
    child->kill();
    child->kill();
    EXPECT_TRUE(child.status().unknown);
    child->kill();
    EXPECT_TRUE(child->exitStatus().value.unknown);
}

TEST(ChildProcess, Killing_from_several_threads_races_the_end) {
    for (int round = 0; round < 40; ++round) {
        Child child(round % 2 == 0 ? "printf 'ended 5'" : "exec sleep 600");
        std::vector<std::thread> killers;
        for (int i = 0; i < 3; ++i) {
            killers.emplace_back([&child] {
                while (!child->exitStatus().valid) {
                    child->kill();
                }
            });
        }
        const ExitStatus status = child.status();
        EXPECT_TRUE(status.unknown || status.code == 5U);
        for (std::thread& killer : killers) {
            killer.join();
        }
    }
}

TEST(ChildProcess, Its_end_is_announced_once_and_never_after_its_destruction) {
    for (int round = 0; round < 20; ++round) {
        // Set twice, the promise would throw, and end the program.
        Child child("exec sleep 600");
        child.end();
        EXPECT_TRUE(child.hasEnded());
    }
}

TEST(ChildProcess, Destruction_ends_it_and_leaves_no_zombie) {
    const Folder folder;
    Child child("echo $$ > " + (folder.path / "pid").string() + "; exec sleep 600");
    const int pid = std::stoi(lineOf(folder.path / "pid"));
    EXPECT_EQ(::kill(pid, 0), 0);
    child.end();
    EXPECT_NE(::kill(pid, 0), 0);
}

TEST(
    ChildProcess, A_flood_on_standard_error_is_lost_and_one_on_standard_output_blocks_nobody_but_its_writer) {
    Child errors("head -c 10000000 /dev/zero >&2; printf 'ended 1'");
    EXPECT_EQ(errors.status().code, 1U);
    Child output("head -c 10000000 /dev/zero; printf 'ended 1'");
    EXPECT_FALSE(output.hasEnded());
    output->kill();
    EXPECT_TRUE(output.status().unknown);
}

TEST(ChildProcess, An_offspring_that_holds_the_streams_delays_nothing) {
    const Folder folder;
    Child child("sleep 600 & echo $! > " + (folder.path / "pid").string() + "; printf 'ended 4'");
    EXPECT_EQ(child.status().code, 4U);
    ::kill(std::stoi(lineOf(folder.path / "pid")), SIGKILL);
}

TEST(ChildProcess, Its_standard_input_ends_when_its_owner_is_gone) {
    const Folder folder;
    const std::string file = (folder.path / "input").string();
    // An owner of its own process, which is ended as hard as can be: the script sees its input end, and says
    // so.
    const pid_t owner = fork();
    if (owner == 0) {
        auto started = ChildProcess::start(
            {"sh", "-c", String("echo $$ > " + file + ".pid; cat; echo ended > " + file)}, [] {});
        pause();
        _exit(started ? 0 : 1);
    }
    ASSERT_GT(owner, 0);
    lineOf(file + ".pid");
    EXPECT_FALSE(std::filesystem::exists(file));
    ::kill(owner, SIGKILL);
    EXPECT_EQ(lineOf(file), "ended");
}

TEST(ChildProcess, Wine_is_kept_from_debuggers_and_downloads_unless_the_user_chose_otherwise) {
    const std::string script = "[ \"$WINEDEBUG|$WINEDLLOVERRIDES\" = '";
    const auto sees = [&script](const std::string& values) {
        return Child(script + values + "' ] && printf 'ended 1' || printf 'ended 0'").status().code == 1U;
    };
    const auto valueOf = [](const char* name) {
        const char* value = std::getenv(name);
        return value ? std::string(value) : std::string();
    };
    const std::string debug = valueOf("WINEDEBUG");
    const std::string overrides = valueOf("WINEDLLOVERRIDES");
    unsetenv("WINEDEBUG");
    unsetenv("WINEDLLOVERRIDES");
    EXPECT_TRUE(sees("-all|winedbg.exe=d;mscoree,mshtml="));
    setenv("WINEDEBUG", "+relay", 1);
    EXPECT_TRUE(sees("+relay|winedbg.exe=d;mscoree,mshtml="));
    setenv("WINEDLLOVERRIDES", "", 1);
    EXPECT_TRUE(sees("+relay|"));
    debug.empty() ? unsetenv("WINEDEBUG") : setenv("WINEDEBUG", debug.c_str(), 1);
    overrides.empty() ? unsetenv("WINEDLLOVERRIDES") : setenv("WINEDLLOVERRIDES", overrides.c_str(), 1);
}

TEST(ChildProcess, Wine_reads_names_of_files_as_UTF_8_whatever_the_locale) {
    const auto sees = [](const char* all) {
        return Child(std::string("[ \"$LC_ALL\" = '") + all + "' ] && printf 'ended 1' || printf 'ended 0'")
                   .status()
                   .code == 1U;
    };
    const char* const before = std::getenv("LC_ALL");
    const std::string kept = before != nullptr ? before : "";
    setenv("LC_ALL", "C", 1);
    EXPECT_TRUE(sees("C.UTF-8"));
    setenv("LC_ALL", "no_SUCH.locale", 1);
    EXPECT_TRUE(sees("C.UTF-8"));
    // One of UTF-8 is the user's own choice.
    setenv("LC_ALL", "C.utf8", 1);
    EXPECT_TRUE(sees("C.utf8"));
    before != nullptr ? setenv("LC_ALL", kept.c_str(), 1) : unsetenv("LC_ALL");
}

} // namespace Tarvik
