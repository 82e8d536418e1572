#include "svbase/util/TaskQueue.h"

#include "svbase/util/TaskPool.h"

#include <memory>

namespace Util {

TaskQueue::TaskQueue(bool concurrent) : concurrent_(concurrent) {}

TaskQueue::~TaskQueue() {
    delete pool_.load(std::memory_order_acquire);
}

void TaskQueue::enqueue(std::function<void()> function) {
    if (concurrent_ && function) {
        TaskPool* const installed = pool();
        if (installed != nullptr && installed->submit(function)) {
            return;
        }
    }
    function();
}

void TaskQueue::finish() {
    if (TaskPool* const installed = pool_.load(std::memory_order_acquire)) {
        installed->finish();
    }
}

TaskPool* TaskQueue::pool() {
    TaskPool* installed = pool_.load(std::memory_order_acquire);
    if (installed == nullptr) {
        std::unique_ptr<TaskPool> mine = TaskPool::create();
        if (mine && pool_.compare_exchange_strong(
                        installed, mine.get(), std::memory_order_acq_rel, std::memory_order_acquire)) {
            installed = mine.release();
        }
    }
    return installed;
}

} // namespace Util
