#include "svbase/util/TaskPool.h"

#include <list>
#include <utility>
#include <windows.h>

namespace Util {

namespace {

class Lock : noncopyable {
public:
    explicit Lock(SRWLOCK& lock) : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
    ~Lock() { ReleaseSRWLockExclusive(&lock_); }

private:
    SRWLOCK& lock_;
};

/// A clean-up group on the process's thread pool.
///
/// Protocol: `lock_` guards `tasks_` and `closing_`. A task stands in `tasks_` from before its submission
/// until it has run; what is still there after the group's end never began, and is freed unrun. A work item
/// is released once, by its own callback, under the lock, together with its task's removal; or by the
/// group, which only happens when no callback will: in `finish` under the lock with no task left, in the
/// destructor after `closing_` is set. Creation and submission form one step under the lock, so that the
/// group never releases an item in between.
class WindowsTaskPool final : public TaskPool {
public:
    explicit WindowsTaskPool(PTP_CLEANUP_GROUP group) : group_(group) {
        InitializeThreadpoolEnvironment(&environment_);
        SetThreadpoolCallbackCleanupGroup(&environment_, group_, nullptr);
    }

    ~WindowsTaskPool() override {
        {
            const Lock guard(lock_);
            closing_ = true;
        }
        CloseThreadpoolCleanupGroupMembers(group_, TRUE, nullptr);
        CloseThreadpoolCleanupGroup(group_);
        DestroyThreadpoolEnvironment(&environment_);
    }

    bool submit(std::function<void()>& function) override {
        const Lock guard(lock_);
        if (closing_) {
            return false;
        }
        const auto task = tasks_.emplace(tasks_.end(), *this);
        const PTP_WORK work = CreateThreadpoolWork(run, &*task, &environment_);
        if (work == nullptr) {
            tasks_.erase(task);
            return false;
        }
        task->position = task;
        task->function = std::move(function);
        SubmitThreadpoolWork(work);
        return true;
    }

    void finish() override {
        const Lock guard(lock_);
        while (!tasks_.empty()) {
            SleepConditionVariableSRW(&allRun_, &lock_, INFINITE, 0);
        }
        // The callbacks' last instructions, which need no lock, are waited for as well.
        CloseThreadpoolCleanupGroupMembers(group_, FALSE, nullptr);
    }

private:
    struct Task {
        explicit Task(WindowsTaskPool& owner) : pool(owner) {}

        WindowsTaskPool& pool;
        std::list<Task>::iterator position;
        std::function<void()> function;
    };

    /// noexcept: an exception of a task ends the process here, not somewhere in the system's code.
    static void CALLBACK run(PTP_CALLBACK_INSTANCE, void* context, PTP_WORK work) noexcept {
        Task& task = *static_cast<Task*>(context);
        task.function();
        // What the function holds goes before the task counts as run, and without the lock.
        task.function = nullptr;
        WindowsTaskPool& pool = task.pool;
        const Lock guard(pool.lock_);
        pool.tasks_.erase(task.position);
        if (!pool.closing_) {
            CloseThreadpoolWork(work);
        }
        if (pool.tasks_.empty()) {
            WakeAllConditionVariable(&pool.allRun_);
        }
    }

    TP_CALLBACK_ENVIRON environment_;
    PTP_CLEANUP_GROUP group_;
    SRWLOCK lock_ = SRWLOCK_INIT;
    CONDITION_VARIABLE allRun_ = CONDITION_VARIABLE_INIT;
    bool closing_ = false;
    std::list<Task> tasks_;
};

} // namespace

std::unique_ptr<TaskPool> TaskPool::create() {
    const PTP_CLEANUP_GROUP group = CreateThreadpoolCleanupGroup();
    return group == nullptr ? nullptr : std::make_unique<WindowsTaskPool>(group);
}

} // namespace Util
