#include "parent/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <string_view>
#include <thread>

extern char** environ;

namespace Tarvik {

namespace {

/// What Wine needs so that a crash ends the process instead of opening a debugger, unless the user chose
/// otherwise.
std::vector<std::string> childEnvironment() {
    std::vector<std::string> result;
    bool hasDebug = false;
    bool hasOverrides = false;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        hasDebug = hasDebug || std::strncmp(*entry, "WINEDEBUG=", 10) == 0;
        hasOverrides = hasOverrides || std::strncmp(*entry, "WINEDLLOVERRIDES=", 17) == 0;
        result.emplace_back(*entry);
    }
    if (!hasDebug) {
        result.emplace_back("WINEDEBUG=-all");
    }
    if (!hasOverrides) {
        result.emplace_back("WINEDLLOVERRIDES=winedbg.exe=d;mscoree,mshtml=");
    }
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

class FileActions : noncopyable {
public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    posix_spawn_file_actions_t* get() { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

class PosixChildProcess final : public ChildProcess {
public:
    ~PosixChildProcess() override {
        if (watcher_.joinable()) {
            kill();
            watcher_.join();
            while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
        if (pipe_ >= 0) {
            close(pipe_);
        }
    }

    String run(const std::vector<String>& command, std::function<void()> onEnd) {
        std::vector<std::string> arguments;
        for (const String& argument : command) {
            arguments.push_back(argument.toStdString());
        }
        std::vector<std::string> environment = childEnvironment();

        int ends[2];
        if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
            return String("pipe failed: %1").arg(std::strerror(errno));
        }
        pipe_ = ends[0];
        FileActions actions;
        posix_spawn_file_actions_addopen(actions.get(), 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(actions.get(), ends[1], 1);
        posix_spawn_file_actions_addopen(actions.get(), 2, "/dev/null", O_WRONLY, 0);
        const int error = posix_spawnp(
            &pid_, arguments[0].c_str(), actions.get(), nullptr, pointers(arguments).data(),
            pointers(environment).data());
        close(ends[1]);
        if (error != 0) {
            return String("%1: %2").arg(command[0]).arg(std::strerror(error));
        }

        watcher_ = std::thread([this, onEnd = std::move(onEnd)] {
            siginfo_t info{};
            // Leaves the zombie, so that kill() can never hit another process that got the same number.
            while (waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
            }
            code_ = readCode();
            running_.store(false, std::memory_order_release);
            onEnd();
        });
        return {};
    }

    void kill() override {
        // The process is a zombie at worst, so its number still means it.
        if (running_.load(std::memory_order_acquire)) {
            ::kill(pid_, SIGKILL);
        }
    }

    checked_value<ExitStatus> exitStatus() const override {
        if (running_.load(std::memory_order_acquire)) {
            return {};
        }
        return code_.valid ? ExitStatus{code_.value, false} : ExitStatus{0, true};
    }

private:
    /// The launcher's last word: "ended CODE", the code in decimal. Nothing else reaches this pipe.
    checked_value<std::uint32_t> readCode() const {
        std::string text;
        char buffer[64];
        for (ssize_t n = 0; (n = read(pipe_, buffer, sizeof buffer)) > 0;) {
            text.append(buffer, static_cast<std::size_t>(n));
        }
        constexpr std::string_view prefix = "ended ";
        if (!text.starts_with(prefix)) {
            return {};
        }
        std::uint32_t code = 0;
        const auto parsed = std::from_chars(text.data() + prefix.size(), text.data() + text.size(), code);
        return parsed.ec == std::errc() ? checked_value<std::uint32_t>(code) : checked_value<std::uint32_t>();
    }

    pid_t pid_ = -1;
    int pipe_ = -1;
    std::thread watcher_;
    /// Written by the watcher before it clears running_.
    checked_value<std::uint32_t> code_;
    std::atomic<bool> running_{true};
};

} // namespace

expected<std::unique_ptr<ChildProcess>, String>
ChildProcess::start(const std::vector<String>& command, std::function<void()> onEnd) {
    auto process = std::make_unique<PosixChildProcess>();
    const String error = process->run(command, std::move(onEnd));
    if (!error.isEmpty()) {
        return unexpected(error);
    }
    return std::unique_ptr<ChildProcess>(std::move(process));
}

} // namespace Tarvik
