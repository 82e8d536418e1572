#include "svbase/util/TaskPool.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace Util {

namespace {

/// Enough for tasks that only wait, as a watchdog does, to leave room for those that work.
constexpr std::size_t maximumWorkers = 16;

/// Threads that take functions from one queue; a new one when there is more to do than threads that idle.
/// Protocol: `mutex_` guards everything.
class PosixTaskPool final : public TaskPool {
public:
    ~PosixTaskPool() override {
        std::deque<std::function<void()>> cancelled;
        {
            const std::lock_guard guard(mutex_);
            closing_ = true;
            cancelled.swap(queue_);
            changed_.notify_all();
        }
        for (std::thread& worker : workers_) {
            worker.join();
        }
    }

    bool submit(std::function<void()>& function) override {
        const std::lock_guard guard(mutex_);
        if (closing_) {
            return false;
        }
        queue_.push_back(std::move(function));
        if (queue_.size() > idle_ && workers_.size() < maximumWorkers && !addWorker() && workers_.empty()) {
            function = std::move(queue_.back());
            queue_.pop_back();
            return false;
        }
        changed_.notify_all();
        return true;
    }

    void finish() override {
        std::unique_lock guard(mutex_);
        changed_.wait(guard, [this] { return queue_.empty() && idle_ == workers_.size(); });
    }

private:
    bool addWorker() {
        try {
            workers_.emplace_back([this] { work(); });
            return true;
        } catch (const std::system_error&) {
            return false;
        }
    }

    /// noexcept: an exception of a task ends the process.
    void work() noexcept {
        std::unique_lock guard(mutex_);
        for (;;) {
            ++idle_;
            changed_.notify_all();
            changed_.wait(guard, [this] { return closing_ || !queue_.empty(); });
            --idle_;
            if (closing_) {
                return;
            }
            std::function<void()> function = std::move(queue_.front());
            queue_.pop_front();
            guard.unlock();
            function();
            // What it holds goes before the task counts as run, and without the lock.
            function = nullptr;
            guard.lock();
        }
    }

    std::mutex mutex_;
    /// For the workers a task, for those who finish the last one's end.
    std::condition_variable changed_;
    std::deque<std::function<void()>> queue_;
    std::size_t idle_ = 0;
    bool closing_ = false;
    std::vector<std::thread> workers_;
};

} // namespace

std::unique_ptr<TaskPool> TaskPool::create() {
    return std::make_unique<PosixTaskPool>();
}

} // namespace Util
