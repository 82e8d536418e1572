#pragma once

#include <cstdint>

namespace DSP {

/// Scratch memory of the audio path, which must not call the general allocator. Blocks are given back in the
/// reverse order of their allocation. Sizes are in bytes.
class ProcessingMemoryPool {
public:
    virtual ~ProcessingMemoryPool() = default;

    /// Grows the pool to at least `bytes`; never shrinks it. Moves the pool: no block may be in use.
    /// [control, while the audio thread is kept out]
    virtual void ReserveScratch(std::uint32_t bytes) = 0;

    /// Never null. Past the reserved size the block comes from the general heap, which on the audio thread
    /// is the sign of a reservation that was too small. [audio]
    virtual void* AllocScratch(std::uint32_t bytes) = 0;

    /// pointer, bytes: the block allocated last and not yet given back. [audio]
    virtual void FreeScratch(void* pointer, std::uint32_t bytes) = 0;

    /// Bytes of the pool in use. [audio]
    virtual std::uint32_t GetScratchUsed() const = 0;
};

} // namespace DSP
