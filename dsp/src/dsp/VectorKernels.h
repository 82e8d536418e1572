#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The arithmetic that runs over whole channels. The destination comes first, as in memcpy. Pointers need no
/// alignment; nothing allocates or locks; the code for the processor is chosen at run time. Callers test for
/// a length of 0 before they call.
///
/// Complex arrays are interleaved (real, imaginary) unless a name says Split.
namespace DSP::Kernels {

/// destination and source do not overlap, unless the destination begins first.
void Copy(float* destination, const float* source, std::size_t count) noexcept;
void Copy(std::uint8_t* destination, const std::uint8_t* source, std::size_t count) noexcept;

/// destination and source may overlap.
inline void Move(float* destination, const float* source, std::size_t count) noexcept {
    // Modulo the address space, a destination before the source is far beyond it.
    const std::uintptr_t ahead =
        reinterpret_cast<std::uintptr_t>(destination) - reinterpret_cast<std::uintptr_t>(source);
    if (ahead < count * sizeof(float)) {
        std::memmove(destination, source, count * sizeof(float));
    } else {
        Copy(destination, source, count);
    }
}
void Move(std::uint8_t* destination, const std::uint8_t* source, std::size_t count) noexcept;

void Zero(float* destination, std::size_t count) noexcept;
void Zero(std::uint8_t* destination, std::size_t count) noexcept;

void Set(float* destination, float value, std::size_t count) noexcept;
void Set(std::uint8_t* destination, std::uint8_t value, std::size_t count) noexcept;

/// destination += source. The same array or disjoint ones.
void Add(float* destination, const float* source, std::size_t count) noexcept;

/// destination *= source. The same array or disjoint ones.
void Multiply(float* destination, const float* source, std::size_t count) noexcept;

/// destination += a * b over `bins` complex numbers, 2 * bins floats each. a and b may be the same array;
/// the destination is disjoint from both.
void MultiplyAccumulateComplex(float* destination, const float* a, const float* b, std::size_t bins) noexcept;

/// The same with real and imaginary parts in arrays of their own, which is the faster form.
void MultiplyAccumulateSplit(
    float* destinationReal, float* destinationImag, const float* aReal, const float* aImag,
    const float* bReal, const float* bImag, std::size_t bins) noexcept;

/// From the packed form of a real FFT of 2^order samples to 2^order / 2 + 1 complex bins (2^order + 2
/// floats). The same start or disjoint arrays. order: 1 or more.
void PackedToComplex(float* complex, const float* packed, unsigned order) noexcept;

/// The reverse; the imaginary parts of the first and the last bin are dropped.
void ComplexToPacked(float* packed, const float* complex, unsigned order) noexcept;

} // namespace DSP::Kernels
