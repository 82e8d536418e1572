#pragma once

#include <cstddef>
#include <new>
#include <vector>

namespace DSP {

/// Allocates at the boundaries of cache lines, so that no vector of samples or factors straddles two.
template<class T>
struct AlignedAllocator {
    using value_type = T;
    static constexpr std::align_val_t alignment{64};

    AlignedAllocator() noexcept = default;
    template<class U>
    AlignedAllocator(const AlignedAllocator<U>&) noexcept {}

    T* allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        return static_cast<T*>(::operator new(count * sizeof(T), alignment));
    }
    void deallocate(T* memory, std::size_t) noexcept { ::operator delete(memory, alignment); }

    friend bool operator==(const AlignedAllocator&, const AlignedAllocator&) noexcept { return true; }
};

/// Storage of floats, 32-bit words or bytes that the kernels run over.
template<class T>
using AlignedVector = std::vector<T, AlignedAllocator<T>>;

} // namespace DSP
