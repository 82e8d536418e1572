#include "AllocationCount.h"

#include "AlignedMemory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocations{0};

/// Null without memory.
void* Allocate(std::size_t size) noexcept {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size != 0 ? size : 1);
}

void* Allocate(std::size_t size, std::align_val_t alignment) noexcept {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return DSP::Testing::AllocateAlignedMemory(size != 0 ? size : 1, static_cast<std::size_t>(alignment));
}

void* OrThrow(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

namespace DSP::Testing {

std::size_t GetAllocationCount() noexcept {
    return allocations.load(std::memory_order_relaxed);
}

} // namespace DSP::Testing

// All forms: a sanitizer's own array and nothrow forms do not come by the plain one, and it watches that
// memory goes back the way it came.
void* operator new(std::size_t size) {
    return OrThrow(Allocate(size));
}
void* operator new[](std::size_t size) {
    return OrThrow(Allocate(size));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return OrThrow(Allocate(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return OrThrow(Allocate(size, alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Allocate(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Allocate(size, alignment);
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
    DSP::Testing::FreeAlignedMemory(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    DSP::Testing::FreeAlignedMemory(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    DSP::Testing::FreeAlignedMemory(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    DSP::Testing::FreeAlignedMemory(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    DSP::Testing::FreeAlignedMemory(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    DSP::Testing::FreeAlignedMemory(memory);
}
