#pragma once

#include <cstddef>

/// The kernels as plain loops, for the compiler to vectorise at its best: this file's source alone is
/// compiled for the wide instruction set. No array overlaps another.
namespace Peers {

void Copy(float* __restrict destination, const float* __restrict source, std::size_t count);
void Zero(float* __restrict destination, std::size_t count);
void Set(float* __restrict destination, float value, std::size_t count);
void Add(float* __restrict destination, const float* __restrict source, std::size_t count);
void Multiply(float* __restrict destination, const float* __restrict source, std::size_t count);
void MultiplyAccumulateComplex(
    float* __restrict destination, const float* __restrict a, const float* __restrict b, std::size_t bins);
void MultiplyAccumulateSplit(
    float* __restrict destinationReal, float* __restrict destinationImag, const float* __restrict aReal,
    const float* __restrict aImag, const float* __restrict bReal, const float* __restrict bImag,
    std::size_t bins);

/// Pairs to two arrays.
void Deinterleave(
    float* __restrict left, float* __restrict right, const float* __restrict source, std::size_t frames);

} // namespace Peers
