#include "dsp/FFTPool.h"

#include "dsp/KernelFailure.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <utility>

namespace Util {

FFTPool::FFTPool(String poolName, unsigned numOrders)
    : name(std::move(poolName)), mutex(String("%1 Critical Section").arg(name)),
      states(std::min(numOrders, defaultNumOrders)) {}

void FFTPool::Prepare(unsigned order) {
    if (order >= states.size() || IsPrepared(order)) {
        return;
    }
    const std::lock_guard lock(mutex);
    PrepareLocked(order);
}

const DSP::FFT* FFTPool::Get(unsigned order) {
    if (order >= states.size()) {
        return nullptr;
    }
    if (!IsPrepared(order)) {
        const std::lock_guard lock(mutex);
        PrepareLocked(order);
    }
    return states[order].get();
}

bool FFTPool::IsPrepared(unsigned order) const noexcept {
    return (preparedMask.load(std::memory_order_acquire) >> order & 1U) != 0;
}

void FFTPool::PrepareLocked(unsigned order) {
    if (states[order] != nullptr) {
        return;
    }
    std::unique_ptr<const DSP::FFT> state = DSP::CreateFFT(order);
    // The smallest states need no bytes, but a prepared pool has a buffer to hand out.
    const std::size_t bytes = std::max<std::size_t>(state->GetBufferBytes(), 1);
    // A smaller order may be prepared beside a transform, which reads the pointer without the lock.
    if (buffer.size() < bytes) {
        try {
            buffer.resize(bytes);
        } catch (const std::bad_alloc&) {
            THROW_HERE(
                DSP::KernelFailure,
                String("IPP failure: %1").arg(DSP::GetStatusText(DSP::KernelStatus::OutOfMemory)));
        }
        bufferPointer = buffer.data();
    }
    states[order] = std::move(state);
    preparedMask.fetch_or(std::uint32_t{1} << order, std::memory_order_release);
}

} // namespace Util
