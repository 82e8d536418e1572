#include "AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

#ifdef _WIN32
#include <malloc.h>
#endif

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
    const std::size_t boundary = static_cast<std::size_t>(alignment);
#ifdef _WIN32
    void* memory = _aligned_malloc(size != 0 ? size : 1, boundary);
#else
    void* memory = std::aligned_alloc(boundary, (size + boundary) / boundary * boundary);
#endif
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void FreeAligned(void* memory) noexcept {
#ifdef _WIN32
    _aligned_free(memory);
#else
    std::free(memory);
#endif
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
    FreeAligned(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    FreeAligned(memory);
}
