#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace DSP {

template<class Sample>
class FFTImpl;

/// A real FFT of one size, 2^order samples, natural order on both sides. Immutable: one state may serve any
/// number of threads, each with its own work buffer.
///
/// The packed form of a spectrum has as many floats as the signal: bin 0's real part, bin size/2's real part
/// (both bins have no imaginary part), then real and imaginary part of bins 1 to size/2 - 1. Size 1 has bin 0
/// alone, size 2 the two real parts. The forward transform is unscaled (an impulse gives ones), its kernel is
/// exp(-2 pi i n k / size); the inverse divides by the size.
template<>
class FFTImpl<float> {
public:
    virtual ~FFTImpl() = default;

    virtual unsigned GetOrder() const noexcept = 0;

    /// Bytes of work buffer that a call needs; no alignment is asked of it.
    virtual std::size_t GetBufferBytes() const noexcept = 0;

    /// signal: size floats in; packed: size floats out. Any alignment; the same memory or disjoint.
    /// Neither allocates nor locks. [any]
    virtual void Forward(const float* signal, float* packed, void* buffer) const noexcept = 0;

    /// The reverse, so that Inverse after Forward gives the signal back.
    virtual void Inverse(const float* packed, float* signal, void* buffer) const noexcept = 0;

    std::uint32_t GetSize() const noexcept { return std::uint32_t{1} << GetOrder(); }

protected:
    FFTImpl() = default;
    FFTImpl(const FFTImpl&) = default;
    FFTImpl& operator=(const FFTImpl&) = default;
};

using FFT = FFTImpl<float>;

/// Largest order of a state: 2^24 samples.
inline constexpr unsigned maxFFTOrder = 24;

/// order: 0..maxFFTOrder. Throws KernelFailure for an order past that and for want of memory.
/// [any but audio]
std::unique_ptr<const FFT> CreateFFT(unsigned order);

} // namespace DSP
