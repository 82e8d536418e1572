#pragma once

#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

#include <cstddef>

namespace Util {

/// A recursive lock with a name, for whoever looks at a process that hangs. Meets Lockable, so that
/// std::lock_guard and std::unique_lock hold it.
class CriticalSection : noncopyable {
public:
    explicit CriticalSection(String name);
    /// Precondition: nobody holds it.
    ~CriticalSection();

    const String& name() const { return name_; }

    /// Waits for the other threads; the owner enters again without waiting. [any]
    void lock();
    /// False when another thread holds it. [any]
    bool try_lock();
    /// One unlock for each lock. Precondition: the calling thread holds it.
    void unlock();

private:
    String name_;
    /// The platform's lock lives here, in place: a lock costs no allocation.
    alignas(std::max_align_t) std::byte native_[48];
};

} // namespace Util
