#pragma once

#include "dsp/FFT.h"

#include <cstddef>

namespace DSP {

/// Prepared FFTs of the audio path by order.
class ProcessingFFTPool {
public:
    virtual ~ProcessingFFTPool() = default;

    /// Makes the state of an order ahead of its use; an order that the pool cannot hold does nothing.
    /// Throws as CreateFFT. [any but audio]
    virtual void Prepare(unsigned order) = 0;

    /// The state of size 2^order, the pool's own; null for an order that the pool cannot hold. A prepared one
    /// is answered without a lock, another one is prepared first, as by Prepare. [audio for prepared orders]
    virtual const FFT* GetFFT(unsigned order) = 0;

    /// The work buffer for every prepared order, one for all of them: whoever uses it has the pool for
    /// himself. Valid until a larger order is prepared. [audio]
    virtual void* GetBuffer() = 0;
};

} // namespace DSP
