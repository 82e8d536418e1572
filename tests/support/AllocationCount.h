#pragma once

#include "svbase/util/Noncopyable.h"

#include <cstddef>
#include <cstdint>

/// Calls of operator new, in all its forms, on the calling thread since it began. [any]
std::uint64_t AllocationCount() noexcept;

/// Has one of the calling thread's next calls of operator new find no memory, of the forms that throw: the
/// next for 1, the one after it for 2, none for 0. [any]
void FailAllocation(unsigned number) noexcept;

/// Whether that call has come since. [any]
bool AllocationFailed() noexcept;

/// While it lives, operator new finds no memory on this thread for so many bytes and more.
class WithoutMemory : noncopyable {
public:
    explicit WithoutMemory(std::size_t leastBytes = 0) noexcept;
    ~WithoutMemory();
};
