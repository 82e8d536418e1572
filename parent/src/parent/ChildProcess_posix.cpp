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
#include <system_error>
#include <thread>

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
    result.reserve(texts.size() + 1);
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

/// A pipe, each end until it is closed. Neither is inherited but as a child's standard stream.
class Pipe : noncopyable {
public:
    ~Pipe() {
        close(0);
        close(1);
    }

    bool open() { return pipe2(ends_, O_CLOEXEC) == 0; }
    int readEnd() const { return ends_[0]; }
    int writeEnd() const { return ends_[1]; }
    void closeReadEnd() { close(0); }
    void closeWriteEnd() { close(1); }

private:
    void close(int end) {
        if (ends_[end] >= 0) {
            ::close(ends_[end]);
        }
        ends_[end] = -1;
    }

    int ends_[2] = {-1, -1};
};

/// Two threads know of a process: the one that owns this object, and the watcher, which run() starts last and
/// the destructor joins, so that it finds everything as run() left it. The watcher alone writes lastWord_,
/// and then running_ with release; whoever reads running_ as false with acquire may read lastWord_. kill()
/// may come from any thread while the object lives: the process is reaped by the destructor alone, and until
/// then its number, be it a zombie's, belongs to no other.
class PosixChildProcess final : public ChildProcess {
public:
    ~PosixChildProcess() override {
        if (pid_ < 0) {
            return;
        }
        kill();
        if (watcher_.joinable()) {
            watcher_.join();
        }
        while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }

    String run(const std::vector<String>& command, std::function<void()> onEnd) {
        std::vector<std::string> arguments;
        arguments.reserve(command.size());
        for (const String& argument : command) {
            arguments.push_back(argument.toStdString());
        }
        std::vector<std::string> environment = childEnvironment();

        if (!output_.open() || fcntl(output_.readEnd(), F_SETFL, O_NONBLOCK) != 0 || !lifeline_.open()) {
            return String("pipe failed: %1").arg(std::strerror(errno));
        }
        FileActions actions;
        posix_spawn_file_actions_adddup2(actions.get(), lifeline_.readEnd(), 0);
        posix_spawn_file_actions_adddup2(actions.get(), output_.writeEnd(), 1);
        posix_spawn_file_actions_addopen(actions.get(), 2, "/dev/null", O_WRONLY, 0);
        pid_t pid = -1;
        const int error = posix_spawnp(
            &pid, arguments[0].c_str(), actions.get(), nullptr, pointers(arguments).data(),
            pointers(environment).data());
        if (error != 0) {
            return String("%1: %2").arg(command[0]).arg(std::strerror(error));
        }
        pid_ = pid;
        output_.closeWriteEnd();
        lifeline_.closeReadEnd();

        try {
            watcher_ = std::thread([this, onEnd = std::move(onEnd)] {
                siginfo_t info{};
                // Leaves the zombie: see above.
                while (waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT) != 0 &&
                       errno == EINTR) {
                }
                lastWord_ = readOutput();
                running_.store(false, std::memory_order_release);
                onEnd();
            });
        } catch (const std::system_error& failure) {
            return String("No thread to watch the process: %1").arg(failure.what());
        }
        return {};
    }

    void kill() override {
        if (running_.load(std::memory_order_acquire)) {
            ::kill(pid_, SIGKILL);
        }
    }

    checked_value<ExitStatus> exitStatus() const override {
        if (running_.load(std::memory_order_acquire)) {
            return {};
        }
        constexpr std::string_view prefix = "ended ";
        std::uint32_t code = 0;
        if (!lastWord_.starts_with(prefix)) {
            return ExitStatus{0, true};
        }
        const char* const end = lastWord_.data() + lastWord_.size();
        const auto parsed = std::from_chars(lastWord_.data() + prefix.size(), end, code);
        return parsed.ec == std::errc() ? ExitStatus{code, false} : ExitStatus{0, true};
    }

    String startError() const override {
        constexpr std::string_view prefix = "failed ";
        if (running_.load(std::memory_order_acquire) || !lastWord_.starts_with(prefix)) {
            return {};
        }
        return String(lastWord_.substr(prefix.size())).trimmed();
    }

private:
    /// What the launcher had to say: "ended CODE", the code in decimal, or "failed REASON". Nothing else
    /// reaches this pipe. Never waits: a process that is left behind may hold the other end.
    std::string readOutput() const {
        std::string text;
        char buffer[256];
        for (ssize_t n = 0;
             text.size() < longestWord && (n = read(output_.readEnd(), buffer, sizeof buffer)) > 0;) {
            text.append(buffer, static_cast<std::size_t>(n));
        }
        return text;
    }

    static constexpr std::size_t longestWord = 4096;

    pid_t pid_ = -1;
    Pipe output_;
    /// Its end tells the launcher that this process is gone, however it went.
    Pipe lifeline_;
    std::thread watcher_;
    std::string lastWord_;
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
