#pragma once

#include "svbase/util/checked_value.h"

#include <atomic>
#include <cstdint>

namespace Tarvik {

/// How many frames the last block gave back.
///
/// Threads. Blocks write it, one at a time and on the [audio] thread; whoever wants to know reads it, on
/// [any] thread, without keeping a block waiting. Number and validity are one word, so that nobody sees the
/// number of one block with the validity of another. Relaxed order suffices: the word stands for nothing
/// else.
class DeliveredFrames {
public:
    void Set(std::uint32_t frames) noexcept { word.store(known | frames, std::memory_order_relaxed); }
    /// As before the first block.
    void Clear() noexcept { word.store(0, std::memory_order_relaxed); }

    checked_value<std::uint32_t> Get() const noexcept {
        const std::uint64_t now = word.load(std::memory_order_relaxed);
        return (now & known) != 0 ? checked_value(static_cast<std::uint32_t>(now))
                                  : checked_value<std::uint32_t>();
    }

private:
    static constexpr std::uint64_t known = std::uint64_t{1} << 32;

    std::atomic<std::uint64_t> word = 0;
    static_assert(decltype(word)::is_always_lock_free);
};

} // namespace Tarvik
