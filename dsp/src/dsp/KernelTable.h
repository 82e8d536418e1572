#pragma once

#include <cstddef>

namespace DSP::Kernels {

/// One variant of the kernels. Constant tables, one per variant.
struct Table {
    /// From the first element on; the destination may overlap the source when it begins before it.
    void (*copy)(float* destination, const float* source, std::size_t count) noexcept;
    void (*set)(float* destination, float value, std::size_t count) noexcept;
    void (*add)(float* destination, const float* source, std::size_t count) noexcept;
    void (*multiply)(float* destination, const float* source, std::size_t count) noexcept;
    void (*multiplyAccumulateComplex)(
        float* destination, const float* a, const float* b, std::size_t bins) noexcept;
    void (*multiplyAccumulateSplit)(
        float* destinationReal, float* destinationImag, const float* aReal, const float* aImag,
        const float* bReal, const float* bImag, std::size_t bins) noexcept;
};

/// Chooses the variant for the processor. The first call of a kernel does so; afterwards it is only needed
/// when the set of permitted variants has been changed. The tables are constant, so whichever of several
/// threads stores its choice, all see a whole one. [any]
const Table& ChooseTable() noexcept;

} // namespace DSP::Kernels
