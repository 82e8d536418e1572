#pragma once

#include "dsp/ProcessingMemoryPool.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace DSP {

/// An uninitialised array of `count` T in a pool's scratch memory, given back at the end of the scope. The
/// start is aligned to sizeof(T), so it takes GetBytes(count) of the pool. Scopes nest, which keeps the
/// pool's order. [audio]
template<class T>
class ScratchArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
    static_assert(std::has_single_bit(sizeof(T)));

public:
    /// What to reserve for `count` T.
    static constexpr std::uint32_t GetBytes(std::uint32_t count) noexcept {
        return static_cast<std::uint32_t>(count * sizeof(T) + sizeof(T));
    }

    ScratchArray(ProcessingMemoryPool& memory, std::uint32_t count)
        : pool(memory), bytes(GetBytes(count)), block(memory.AllocScratch(bytes)), start(Align(block)),
          length(count) {}
    ~ScratchArray() { pool.FreeScratch(block, bytes); }

    ScratchArray(const ScratchArray&) = delete;
    ScratchArray& operator=(const ScratchArray&) = delete;

    T* data() noexcept { return start; }
    const T* data() const noexcept { return start; }
    std::uint32_t size() const noexcept { return length; }
    T* begin() noexcept { return start; }
    T* end() noexcept { return start + length; }
    T& operator[](std::uint32_t index) noexcept { return start[index]; }
    const T& operator[](std::uint32_t index) const noexcept { return start[index]; }

private:
    static T* Align(void* pointer) noexcept {
        constexpr std::uintptr_t mask = sizeof(T) - 1;
        const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(pointer);
        return reinterpret_cast<T*>(
            static_cast<std::byte*>(pointer) + (((address + mask) & ~mask) - address));
    }

    ProcessingMemoryPool& pool;
    std::uint32_t bytes;
    void* block;
    T* start;
    std::uint32_t length;
};

} // namespace DSP
