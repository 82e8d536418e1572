#include "AllocationCount.h"

#include "AlignedMemory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocations{0};

void* Allocate(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size != 0 ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

void* AllocateAligned(std::size_t size, std::align_val_t alignment) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    void* memory =
        DSP::Testing::AllocateAlignedMemory(size != 0 ? size : 1, static_cast<std::size_t>(alignment));
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

// The array and nothrow forms of the library call these.
void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return AllocateAligned(size, alignment);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    DSP::Testing::FreeAlignedMemory(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    DSP::Testing::FreeAlignedMemory(memory);
}
