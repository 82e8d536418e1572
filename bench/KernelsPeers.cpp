#include "KernelsPeers.h"

namespace Peers {

void Copy(float* __restrict destination, const float* __restrict source, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        destination[i] = source[i];
    }
}

void Zero(float* __restrict destination, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        destination[i] = 0.0F;
    }
}

void Set(float* __restrict destination, float value, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        destination[i] = value;
    }
}

void Add(float* __restrict destination, const float* __restrict source, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        destination[i] += source[i];
    }
}

void Multiply(float* __restrict destination, const float* __restrict source, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        destination[i] *= source[i];
    }
}

void MultiplyAccumulateComplex(
    float* __restrict destination, const float* __restrict a, const float* __restrict b, std::size_t bins) {
    for (std::size_t i = 0; i < bins; ++i) {
        destination[2 * i] += a[2 * i] * b[2 * i] - a[2 * i + 1] * b[2 * i + 1];
        destination[2 * i + 1] += a[2 * i] * b[2 * i + 1] + a[2 * i + 1] * b[2 * i];
    }
}

void MultiplyAccumulateSplit(
    float* __restrict destinationReal, float* __restrict destinationImag, const float* __restrict aReal,
    const float* __restrict aImag, const float* __restrict bReal, const float* __restrict bImag,
    std::size_t bins) {
    for (std::size_t i = 0; i < bins; ++i) {
        destinationReal[i] += aReal[i] * bReal[i] - aImag[i] * bImag[i];
        destinationImag[i] += aReal[i] * bImag[i] + aImag[i] * bReal[i];
    }
}

void Deinterleave(
    float* __restrict left, float* __restrict right, const float* __restrict source, std::size_t frames) {
    for (std::size_t i = 0; i < frames; ++i) {
        left[i] = source[2 * i];
        right[i] = source[2 * i + 1];
    }
}

} // namespace Peers
