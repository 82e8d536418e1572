#pragma once

#include "svbase/util/Thread.h"

#include <functional>
#include <memory>

namespace Util {

/// The duties of a platform towards Thread.
class NativeThread : noncopyable {
public:
    /// Starts a thread that calls `body` once. Null when the system has none to give.
    static std::shared_ptr<NativeThread> create(std::function<void()> body);

    /// Closes the handle. The thread, if it still runs, goes on by itself.
    virtual ~NativeThread() = default;

    /// True when the thread has ended. Several threads may wait. [any but the thread]
    virtual bool wait(checked_value<std::uint32_t> timeoutMilliseconds) = 0;

    /// Ends a running thread without its cooperation; may not return.
    virtual void terminate() = 0;

    /// The operations below concern the calling thread. A refusal by the system is ignored: a thread that
    /// runs at the wrong priority or without a name still does its work.
    static void setPriority(Thread::Priority priority);
    /// Tells the name to debuggers and tools. Precondition: not empty.
    static void announceName(const String& name);
    static void enterApartment();
    static void leaveApartment();

protected:
    NativeThread() = default;
};

} // namespace Util
