#pragma once

#include "svbase/util/Noncopyable.h"

#include <atomic>
#include <functional>

namespace Util {

class TaskPool;

/// Runs small functions off the calling thread, on the system's thread pool; or, when it is not concurrent,
/// at once on the calling thread. Each function runs exactly once, except those that the destruction finds
/// not begun.
///
/// Protocol: the pool's record is made by the first `enqueue`. Any number of first callers may race: each
/// makes a record, one installs its own by a compare-and-swap from null (release, so that whoever acquires
/// the pointer sees the record complete), the others destroy theirs.
class TaskQueue : noncopyable {
public:
    explicit TaskQueue(bool concurrent);
    /// Waits for the tasks that have begun and cancels the others. A function that a task enqueues from now
    /// on runs at once, inside that task. Never from a task of this queue.
    ~TaskQueue();

    bool isConcurrent() const { return concurrent_; }

    /// The function must not throw when it runs on the pool. When the system has no pool or no work item to
    /// give, it runs at once, on this thread. An empty function fails as the call of an empty function.
    /// [any]
    void enqueue(std::function<void()> function);

    /// Returns when every task has run, also those that tasks enqueue meanwhile; cancels none. The queue can
    /// be used again. Never from a task of this queue. [any]
    void finish();

private:
    TaskPool* pool();

    bool concurrent_;
    std::atomic<TaskPool*> pool_ = nullptr;
};

} // namespace Util
