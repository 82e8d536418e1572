#pragma once

#include <cstddef>

namespace DSP::Testing {

/// What the audio path must not do, as often as a thread did it.
struct AudioPathCounts {
    /// Calls of the general allocator, for memory.
    std::size_t allocations = 0;
    /// Calls of the general allocator to give memory back.
    std::size_t frees = 0;
    /// Calls that lock, or try to lock, a mutex or a reader-writer lock.
    std::size_t locks = 0;
};

/// Of the calling thread since it began; where CountsLocks() is false, of allocations alone.
AudioPathCounts GetAudioPathCounts() noexcept;

/// Whether `locks` and `frees` are counted on this platform and in this build. Allocations always are.
bool CountsLocks() noexcept;

} // namespace DSP::Testing
