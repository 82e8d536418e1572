#pragma once

#include "dsp/FFT.h"
#include "svbase/util/CriticalSection.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Util {

/// FFT states by order, made on demand, with one work buffer for all of them. The mutex guards preparation
/// alone: a prepared order's bit in the mask is stored with release after its state and the buffer stand, and
/// loaded with acquire before they are read, so that the audio thread takes no lock. The shared buffer lets a
/// pool serve one thread at a time; preparing a larger order replaces the buffer and must not run beside a
/// transform.
class FFTPool : noncopyable {
public:
    /// Orders 0..DSP::maxFFTOrder.
    static constexpr unsigned defaultNumOrders = DSP::maxFFTOrder + 1;

    /// numOrders: orders 0..numOrders - 1 are held, at most defaultNumOrders of them. The mutex is named
    /// "%1 Critical Section" with the pool's name.
    explicit FFTPool(String poolName, unsigned numOrders = defaultNumOrders);

    const String& GetName() const noexcept { return name; }

    /// Does nothing for an order past the pool's or one that is there. Throws as DSP::CreateFFT.
    /// [any but audio]
    void Prepare(unsigned order);

    /// Null for an order past the pool's. A prepared order takes no lock; another is prepared first.
    const DSP::FFT* Get(unsigned order);

    /// Large enough for every prepared order; null before the first.
    void* GetBuffer() noexcept { return bufferPointer; }

private:
    bool IsPrepared(unsigned order) const noexcept;
    void PrepareLocked(unsigned order);

    String name;
    CriticalSection mutex;
    std::vector<std::unique_ptr<const DSP::FFT>> states;
    std::vector<std::byte> buffer;
    void* bufferPointer = nullptr;
    std::atomic<std::uint32_t> preparedMask{0};
};

} // namespace Util
