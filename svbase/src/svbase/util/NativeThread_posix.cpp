#include "svbase/util/NativeThread.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <pthread.h>
#include <string>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace Util {

namespace {

/// Set by the thread's last step; shared, since the handle may be closed before that.
struct End {
    std::mutex mutex;
    std::condition_variable changed;
    bool reached = false;
};

class PosixThread final : public NativeThread {
public:
    explicit PosixThread(std::function<void()> body)
        : thread_([end = end_, work = std::move(body)]() mutable {
              work();
              work = nullptr;
              const std::lock_guard guard(end->mutex);
              end->reached = true;
              end->changed.notify_all();
          }) {}

    /// A handle is closed when the thread has ended or is on its last step, so that this does not last. A
    /// detached thread could outlive the process's static objects.
    ~PosixThread() override { thread_.join(); }

    bool wait(checked_value<std::uint32_t> timeoutMilliseconds) override {
        std::unique_lock guard(end_->mutex);
        const auto reached = [this] { return end_->reached; };
        if (!timeoutMilliseconds) {
            end_->changed.wait(guard, reached);
            return true;
        }
        return end_->changed.wait_for(guard, std::chrono::milliseconds(timeoutMilliseconds.value), reached);
    }

    /// Cancellation unwinds through the destructors of code that does not expect it, and only where that
    /// code happens to block; running on uses an object that is gone. Neither is better than an end.
    [[noreturn]] void terminate() override { std::terminate(); }

private:
    std::shared_ptr<End> end_ = std::make_shared<End>();
    std::thread thread_;
};

int niceness(Thread::Priority priority) {
    switch (priority) {
    case Thread::Priority::Idle:
        return 19;
    case Thread::Priority::Lowest:
        return 10;
    case Thread::Priority::BelowNormal:
        return 5;
    case Thread::Priority::AboveNormal:
        return -5;
    case Thread::Priority::Highest:
        return -10;
    case Thread::Priority::TimeCritical:
    case Thread::Priority::ProAudio:
        return -20;
    case Thread::Priority::Normal:
        break;
    }
    return 0;
}

} // namespace

std::shared_ptr<NativeThread> NativeThread::create(std::function<void()> body) {
    try {
        return std::make_shared<PosixThread>(std::move(body));
    } catch (const std::system_error&) {
        return nullptr;
    }
}

void NativeThread::setPriority(Thread::Priority priority) {
    // On Linux niceness belongs to the thread. Values below 0 need a privilege and are often refused. Normal
    // is what a thread starts with.
    if (const int value = niceness(priority); value != 0) {
        setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), value);
    }
}

void NativeThread::announceName(const String& name) {
    // The system takes 15 bytes.
    pthread_setname_np(pthread_self(), name.toStdString().substr(0, 15).c_str());
}

void NativeThread::enterApartment() {}

void NativeThread::leaveApartment() {}

} // namespace Util
