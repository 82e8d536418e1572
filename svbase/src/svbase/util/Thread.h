#pragma once

#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <cstdint>
#include <memory>

namespace Util {

/// A thread of the operating system with a name and a priority.
///
/// Protocol: `start` and `join` may be called from any thread; the record behind them holds the state, and
/// its critical section "<name> critical section" guards the state and the handle. The thread shares that
/// record, so that its last step, which says that it has finished, needs this object no more.
///
/// A subclass must end its thread and join it before its own destructor ends: from then on `run` has nothing
/// left to run on. As a last resort this destructor ends a thread that still runs by force: on Windows
/// quietly, with whatever locks it holds left held; elsewhere no thread can be stopped from outside without
/// harm, so the process ends through std::terminate, as it does for a std::thread.
class Thread : noncopyable {
public:
    enum class Priority : std::uint32_t {
        Idle = 0,
        Lowest = 1,
        BelowNormal = 2,
        Normal = 3,
        AboveNormal = 4,
        Highest = 5,
        TimeCritical = 6,
        /// The multimedia class "Pro Audio" where the system has it, else time critical.
        ProAudio = 7,
    };

    enum class State : std::uint32_t { Idle = 0, Starting = 1, Running = 2, Finished = 3 };

    virtual ~Thread();

    /// Creates the thread; true when there is one. While one runs, does nothing. After it has finished, a
    /// new one may be started, joined or not. False: the system had no thread to give. [any]
    bool start();

    /// True once the thread has ended and its handle is closed, also when none was started. False when
    /// timeoutMilliseconds went by first; the thread stays joinable. Invalid waits for ever. Never on the
    /// thread itself. [any]
    bool join(checked_value<std::uint32_t> timeoutMilliseconds = {});

    const String& name() const { return name_; }
    Priority priority() const { return priority_; }
    bool usesCom() const { return usesCom_; }
    /// A glance: it may have changed by the time that it is read. [any]
    State state() const;

protected:
    /// usesCom: the thread enters a COM apartment before `run`, on systems that have them.
    explicit Thread(String name, Priority priority = Priority::Normal, bool usesCom = false);

    /// Called on the thread after `run`, also when `run` threw.
    virtual void cleanUp() {}

    /// The thread's work. An exception ends the thread and goes no further.
    virtual void run() = 0;

private:
    struct Record;

    void body(Record& record);

    String name_;
    Priority priority_;
    bool usesCom_;
    std::shared_ptr<Record> record_;
};

} // namespace Util
