// Moves between memory and vectors of real and imaginary parts. Cross-lane permutes of 256 bits are slow
// where two 128-bit loads or stores do the same, so the wide forms go by halves.

#if defined(DSP_FFT_SHUFFLES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef DSP_FFT_SHUFFLES_INL_H
#undef DSP_FFT_SHUFFLES_INL_H
#else
#define DSP_FFT_SHUFFLES_INL_H
#endif

#include "svbase/util/HighwayTargets.h"

#include <cstddef>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace DSP {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Wide = hn::CappedTag<float, 8>;
using Four = hn::CappedTag<float, 4>;

/// Complex numbers, as many as the tag has lanes.
template<class V>
struct Complex {
    V re;
    V im;
};

template<class D>
HWY_INLINE Complex<hn::Vec<D>> LoadSplit(D d, const float* re, const float* im) {
    return {hn::LoadU(d, re), hn::LoadU(d, im)};
}

template<class D>
HWY_INLINE void StoreSplit(D d, Complex<hn::Vec<D>> value, float* re, float* im) {
    hn::StoreU(value.re, d, re);
    hn::StoreU(value.im, d, im);
}

template<class D>
HWY_INLINE hn::Vec<D> LoadReversed(D d, const float* data) {
    return hn::Reverse(d, hn::LoadU(d, data));
}

template<class D>
HWY_INLINE void StoreReversed(D d, hn::Vec<D> value, float* data) {
    hn::StoreU(hn::Reverse(d, value), d, data);
}

/// From and to (real, imaginary) pairs, in order or last pair first.
template<class D>
HWY_INLINE Complex<hn::Vec<D>> LoadPairs(D d, const float* pairs) {
    Complex<hn::Vec<D>> value;
    hn::LoadInterleaved2(d, pairs, value.re, value.im);
    return value;
}

template<class D>
HWY_INLINE Complex<hn::Vec<D>> LoadPairsReversed(D d, const float* pairs) {
    const Complex<hn::Vec<D>> value = LoadPairs(d, pairs);
    return {hn::Reverse(d, value.re), hn::Reverse(d, value.im)};
}

template<class D>
HWY_INLINE void StorePairs(D d, Complex<hn::Vec<D>> value, float* pairs) {
    hn::StoreInterleaved2(value.re, value.im, d, pairs);
}

template<class D>
HWY_INLINE void StorePairsReversed(D d, Complex<hn::Vec<D>> value, float* pairs) {
    StorePairs(d, Complex<hn::Vec<D>>{hn::Reverse(d, value.re), hn::Reverse(d, value.im)}, pairs);
}

/// Pairs in the order that costs no move across 128-bit blocks: lane l of the parts belongs to pair
/// GetShuffled(l) of a group of `lanes`. Passes that work on each lane alone may run in this order.
template<class D>
HWY_INLINE Complex<hn::Vec<D>> LoadPairsShuffled(D d, const float* pairs) {
    return LoadPairs(d, pairs);
}

template<class D>
HWY_INLINE void StorePairsShuffled(D d, Complex<hn::Vec<D>> value, float* pairs) {
    StorePairs(d, value, pairs);
}

constexpr std::size_t GetShuffled(std::size_t lane, std::size_t lanes) {
    constexpr std::size_t ofEight[8] = {0, 1, 4, 5, 2, 3, 6, 7};
    return lanes == 8 ? ofEight[lane] : lane;
}

#if HWY_TARGET == HWY_AVX2

using Eight = hn::Full256<float>;
using V8 = hn::Vec<Eight>;

HWY_INLINE V8 LoadHalves(const float* low, const float* high) {
    const Four half;
    return hn::Combine(Eight(), hn::LoadU(half, high), hn::LoadU(half, low));
}

HWY_INLINE V8 LoadReversed(Eight, const float* data) {
    return hn::Shuffle0123(LoadHalves(data + 4, data));
}

HWY_INLINE void StoreReversed(Eight, V8 value, float* data) {
    const V8 reversed = hn::Shuffle0123(value);
    hn::StoreU(hn::ConcatLowerUpper(Eight(), reversed, reversed), Eight(), data);
}

HWY_INLINE Complex<V8> LoadPairs(Eight, const float* pairs) {
    const V8 a = LoadHalves(pairs, pairs + 8);
    const V8 b = LoadHalves(pairs + 4, pairs + 12);
    return {V8{_mm256_shuffle_ps(a.raw, b.raw, 0x88)}, V8{_mm256_shuffle_ps(a.raw, b.raw, 0xDD)}};
}

HWY_INLINE Complex<V8> LoadPairsShuffled(Eight d, const float* pairs) {
    const V8 a = hn::LoadU(d, pairs);
    const V8 b = hn::LoadU(d, pairs + 8);
    return {V8{_mm256_shuffle_ps(a.raw, b.raw, 0x88)}, V8{_mm256_shuffle_ps(a.raw, b.raw, 0xDD)}};
}

HWY_INLINE void StorePairsShuffled(Eight d, Complex<V8> value, float* pairs) {
    hn::StoreU(hn::InterleaveLower(d, value.re, value.im), d, pairs);
    hn::StoreU(hn::InterleaveUpper(d, value.re, value.im), d, pairs + 8);
}

HWY_INLINE Complex<V8> LoadPairsReversed(Eight, const float* pairs) {
    const V8 a = LoadHalves(pairs + 12, pairs + 4);
    const V8 b = LoadHalves(pairs + 8, pairs);
    return {V8{_mm256_shuffle_ps(a.raw, b.raw, 0x22)}, V8{_mm256_shuffle_ps(a.raw, b.raw, 0x77)}};
}

HWY_INLINE void StorePairs(Eight d, Complex<V8> value, float* pairs) {
    const V8 a = hn::InterleaveLower(d, value.re, value.im);
    const V8 b = hn::InterleaveUpper(d, value.re, value.im);
    hn::StoreU(hn::ConcatLowerLower(d, b, a), d, pairs);
    hn::StoreU(hn::ConcatUpperUpper(d, b, a), d, pairs + 8);
}

HWY_INLINE void StorePairsReversed(Eight d, Complex<V8> value, float* pairs) {
    const V8 re = hn::Shuffle0123(value.re);
    const V8 im = hn::Shuffle0123(value.im);
    const V8 a = hn::InterleaveLower(d, re, im);
    const V8 b = hn::InterleaveUpper(d, re, im);
    hn::StoreU(hn::ConcatUpperUpper(d, b, a), d, pairs);
    hn::StoreU(hn::ConcatLowerLower(d, b, a), d, pairs + 8);
}

#endif

} // namespace HWY_NAMESPACE
} // namespace DSP
HWY_AFTER_NAMESPACE();

#endif
