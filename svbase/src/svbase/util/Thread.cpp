#include "svbase/util/Thread.h"

#include "svbase/util/CriticalSection.h"
#include "svbase/util/NativeThread.h"

#include <mutex>
#include <thread>
#include <utility>

namespace Util {

namespace {

/// Nobody above a thread could do more about an exception than end the thread.
template<class Step>
void endWithStep(Step step) {
    try {
        step();
    } catch (...) { // NOLINT(bugprone-empty-catch)
    }
}

} // namespace

struct Thread::Record {
    explicit Record(const String& name) : lock(String("%1 critical section").arg(name)) {}

    CriticalSection lock;
    State state = State::Idle;
    bool joinable = false;
    std::shared_ptr<NativeThread> handle;

    void close() {
        handle.reset();
        joinable = false;
        state = State::Idle;
    }

    void enter(State next) {
        const std::lock_guard guard(lock);
        state = next;
    }

    bool isActive() const { return state == State::Starting || state == State::Running; }
};

Thread::Thread(String name, Priority priority, bool usesCom)
    : name_(std::move(name)), priority_(priority), usesCom_(usesCom),
      record_(std::make_shared<Record>(name_)) {}

Thread::~Thread() {
    std::unique_lock guard(record_->lock);
    if (record_->isActive()) {
        // A thread on its last step needs the lock once more.
        guard.unlock();
        std::this_thread::yield();
        guard.lock();
        if (record_->isActive()) {
            record_->handle->terminate();
        }
    }
    record_->close();
}

bool Thread::start() {
    const std::lock_guard guard(record_->lock);
    if (record_->isActive()) {
        return true;
    }
    record_->close();
    // The thread waits for the lock before it says that it runs, so that the handle stands by then.
    record_->state = State::Starting;
    record_->handle = NativeThread::create([this, record = record_] { body(*record); });
    record_->joinable = record_->handle != nullptr;
    if (!record_->joinable) {
        record_->state = State::Idle;
    }
    return record_->joinable;
}

bool Thread::join(checked_value<std::uint32_t> timeoutMilliseconds) {
    std::unique_lock guard(record_->lock);
    if (record_->state == State::Finished) {
        record_->close();
    }
    if (!record_->joinable) {
        return true;
    }
    // Waited for without the lock, which the thread needs to finish; held here, as another join may close it.
    const std::shared_ptr<NativeThread> handle = record_->handle;
    guard.unlock();
    if (!handle->wait(timeoutMilliseconds)) {
        return false;
    }
    guard.lock();
    if (record_->handle == handle) {
        record_->close();
    }
    return true;
}

Thread::State Thread::state() const {
    const std::lock_guard guard(record_->lock);
    return record_->state;
}

void Thread::body(Record& record) {
    NativeThread::setPriority(priority_);
    if (!name_.isEmpty()) {
        NativeThread::announceName(name_);
    }
    const bool apartment = usesCom_;
    if (apartment) {
        NativeThread::enterApartment();
    }
    record.enter(State::Running);
    endWithStep([this] { run(); });
    if (apartment) {
        NativeThread::leaveApartment();
    }
    endWithStep([this] { cleanUp(); });
    record.enter(State::Finished);
}

} // namespace Util
