#include "support/AllocationCount.h"

#include "support/AlignedMemory.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

thread_local std::uint64_t allocations = 0;
/// Finds no memory.
thread_local std::size_t tooMany = SIZE_MAX;
thread_local unsigned callsUntilFailure = 0;
thread_local bool failed = false;

/// Null without memory.
void* allocate(std::size_t size) noexcept {
    ++allocations;
    return size >= tooMany ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* allocate(std::size_t size, std::align_val_t alignment) noexcept {
    ++allocations;
    return size >= tooMany ? nullptr
                           : AllocateAlignedMemory(size == 0 ? 1 : size, static_cast<std::size_t>(alignment));
}

/// Whether this is the call that is to fail.
bool fails() noexcept {
    if (callsUntilFailure == 0 || --callsUntilFailure > 0) {
        return false;
    }
    failed = true;
    return true;
}

void* orThrow(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

std::uint64_t AllocationCount() noexcept {
    return allocations;
}

void FailAllocation(unsigned number) noexcept {
    callsUntilFailure = number;
    failed = false;
}

bool AllocationFailed() noexcept {
    return failed;
}

WithoutMemory::WithoutMemory(std::size_t leastBytes) noexcept {
    tooMany = leastBytes;
}

WithoutMemory::~WithoutMemory() {
    tooMany = SIZE_MAX;
}

// All forms: a sanitizer's own array and nothrow forms do not come by the plain one, and it watches that
// memory goes back the way it came.
void* operator new(std::size_t size) {
    return orThrow(fails() ? nullptr : allocate(size));
}
void* operator new[](std::size_t size) {
    return orThrow(fails() ? nullptr : allocate(size));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return orThrow(fails() ? nullptr : allocate(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return orThrow(fails() ? nullptr : allocate(size, alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocate(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocate(size, alignment);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    FreeAlignedMemory(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    FreeAlignedMemory(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    FreeAlignedMemory(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    FreeAlignedMemory(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    FreeAlignedMemory(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    FreeAlignedMemory(memory);
}
