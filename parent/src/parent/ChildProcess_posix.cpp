#include "parent/ChildProcess.h"

#include "parent/PipedProgram_posix.h"

#include <atomic>
#include <charconv>
#include <string_view>
#include <system_error>
#include <thread>

namespace Tarvik {

namespace {

/// Two threads know of a process: the one that owns this object, and the watcher, which run() starts last and
/// the destructor joins, so that it finds everything as run() left it. The watcher alone writes lastWord_,
/// and then running_ with release; whoever reads running_ as false with acquire may read lastWord_. kill()
/// may come from any thread while the object lives: the process is reaped with the object alone.
class PosixChildProcess final : public ChildProcess {
public:
    ~PosixChildProcess() override {
        kill();
        if (watcher_.joinable()) {
            watcher_.join();
        }
    }

    String run(const std::vector<String>& command, std::function<void()> onEnd) {
        if (String error = program_.start(command); !error.isEmpty()) {
            return error;
        }
        try {
            watcher_ = std::thread([this, onEnd = std::move(onEnd)] {
                program_.waitForEnd();
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
            program_.kill();
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
        for (std::size_t n = 0;
             text.size() < longestWord && (n = program_.read(buffer, sizeof buffer)) > 0;) {
            text.append(buffer, n);
        }
        return text;
    }

    static constexpr std::size_t longestWord = 4096;

    PipedProgram program_;
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
