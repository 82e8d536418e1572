#pragma once

#include "dsp/ProcessingMemoryPool.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

#include <cstddef>
#include <vector>

namespace DSP {

/// The bump allocator behind an element host's scratch memory. No locks: it belongs to the audio thread, and
/// to the control thread only while that is kept out.
class ScratchPool final : public ProcessingMemoryPool, noncopyable {
public:
    explicit ScratchPool(String poolName);

    const String& GetName() const noexcept { return name; }

    void ReserveScratch(std::uint32_t size) override;
    void* AllocScratch(std::uint32_t size) override;

    /// A block larger than all that is in use changes nothing, even when it came from the heap: it then stays
    /// allocated. A used count past the pool's size is set to 0 and the block left alone.
    void FreeScratch(void* pointer, std::uint32_t size) override;

    std::uint32_t GetScratchUsed() const override { return used; }

private:
    String name;
    std::vector<std::byte> bytes;
    std::uint32_t used = 0;
};

} // namespace DSP
