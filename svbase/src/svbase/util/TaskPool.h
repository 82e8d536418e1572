#pragma once

#include "svbase/util/Noncopyable.h"

#include <functional>
#include <memory>

namespace Util {

/// The duties of a platform towards TaskQueue: one group of tasks on a pool of threads.
class TaskPool : noncopyable {
public:
    /// Null when the system has none to give.
    static std::unique_ptr<TaskPool> create();

    /// Cancels what has not begun, waits for what has.
    virtual ~TaskPool() = default;

    /// True when the function was taken and will run on another thread. On false it is left as it was: the
    /// system had no means, or the pool is being destroyed. [any]
    virtual bool submit(std::function<void()>& function) = 0;

    /// Returns when all tasks have run. [any but a task]
    virtual void finish() = 0;

protected:
    TaskPool() = default;
};

} // namespace Util
