#pragma once

#include "svbase/util/Noncopyable.h"

#include <cstddef>
#include <cstdint>

/// What happens to the blocks of COM's task allocator, on all threads, from the object's beginning on. One at
/// a time. The watch itself stays with the program: the platform lets nobody go who has seen a block that is
/// not back yet.
class TaskMemory : private noncopyable {
public:
    TaskMemory();
    /// No allocation fails any more.
    ~TaskMemory();

    /// How many blocks were allocated.
    std::uint64_t Allocated() const;
    /// How many of them are not freed.
    std::size_t Left() const;

    /// Has one of the calling thread's next allocations find no memory: the next for 1, none for 0.
    void FailAllocation(unsigned number);
    /// Whether that one has come since.
    bool AllocationFailed() const;
};
