#pragma once

#include "dsp/AlignedVector.h"

#include <cstddef>
#include <cstdint>

namespace DSP {

/// What a real FFT of 2^order samples precomputes. The transform runs as a complex one of half as many
/// points, in passes that read one half of the work buffer and write the other, followed (forward) or
/// preceded (inverse) by the pass that splits the spectra of even and odd samples. Written once by the
/// variant of the code that will read it, immutable afterwards.
struct FFTPlan {
    using Transform = void (*)(const FFTPlan& plan, const float* in, float* out, void* buffer) noexcept;

    unsigned order = 0;
    std::size_t bufferBytes = 0;
    Transform forward = nullptr;
    Transform inverse = nullptr;

    /// Radix of each pass in order, 0 ends the list.
    static constexpr unsigned maxPasses = 12;
    std::uint8_t radices[maxPasses] = {};
    /// Where each pass's factors begin.
    std::size_t passFactors[maxPasses] = {};
    /// Where those of the inverse transform's first pass begin.
    std::size_t inverseFactors = 0;
    /// Factors of all passes in the order of their use.
    AlignedVector<float> factors;
    /// Factors of the splitting pass: real parts, then imaginary parts, for bins 1 to size/4.
    AlignedVector<float> splitFactors;
};

/// order: 0..maxFFTOrder. The variant for this processor. Throws std::bad_alloc.
FFTPlan MakeFFTPlan(unsigned order);

} // namespace DSP
