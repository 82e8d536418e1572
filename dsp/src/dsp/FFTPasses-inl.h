// Passes of the complex transform: Stockham's self-sorting form, decimation in frequency, on real and
// imaginary parts in arrays of their own. With n points left in each sub-transform and s sub-transforms side
// by side, a pass of radix r computes, for p < n / r, q < s, j < r
//     y[q + s * (r * p + j)] = w_n^(p * j) * sum over k of w_r^(j * k) * x[q + s * (p + n / r * k)]
// after which there are s * r sub-transforms of n / r points. After the last pass the order is natural.
// (P. N. Swarztrauber, "FFT algorithms for vector computers", Parallel Computing 1, 1984.)

#if defined(DSP_FFT_PASSES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef DSP_FFT_PASSES_INL_H
#undef DSP_FFT_PASSES_INL_H
#else
#define DSP_FFT_PASSES_INL_H
#endif

#include "dsp/FFTShuffles-inl.h"
#include "svbase/util/HighwayTargets.h"

#include <cstddef>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace DSP {
namespace HWY_NAMESPACE {

template<class V>
HWY_INLINE Complex<V> operator+(Complex<V> a, Complex<V> b) {
    return {hn::Add(a.re, b.re), hn::Add(a.im, b.im)};
}
template<class V>
HWY_INLINE Complex<V> operator-(Complex<V> a, Complex<V> b) {
    return {hn::Sub(a.re, b.re), hn::Sub(a.im, b.im)};
}
/// a - i * b, a + i * b.
template<class V>
HWY_INLINE Complex<V> SubI(Complex<V> a, Complex<V> b) {
    return {hn::Add(a.re, b.im), hn::Sub(a.im, b.re)};
}
template<class V>
HWY_INLINE Complex<V> AddI(Complex<V> a, Complex<V> b) {
    return {hn::Sub(a.re, b.im), hn::Add(a.im, b.re)};
}
template<class V>
HWY_INLINE Complex<V> Times(Complex<V> a, Complex<V> b) {
    return {hn::NegMulAdd(a.im, b.im, hn::Mul(a.re, b.re)), hn::MulAdd(a.im, b.re, hn::Mul(a.re, b.im))};
}
template<class V>
HWY_INLINE Complex<V> TimesConjugate(Complex<V> a, Complex<V> b) {
    return {hn::MulAdd(a.im, b.im, hn::Mul(a.re, b.re)), hn::NegMulAdd(a.re, b.im, hn::Mul(a.im, b.re))};
}

template<class D>
HWY_INLINE Complex<hn::Vec<D>> SetSplit(D d, const float* factor) {
    return {hn::Set(d, factor[0]), hn::Set(d, factor[1])};
}

/// The transform of four points, in place.
template<class V>
HWY_INLINE void Butterfly4(Complex<V>& x0, Complex<V>& x1, Complex<V>& x2, Complex<V>& x3) {
    const Complex<V> a = x0 + x2;
    const Complex<V> b = x0 - x2;
    const Complex<V> c = x1 + x3;
    const Complex<V> d = x1 - x3;
    x0 = a + c;
    x1 = SubI(b, d);
    x2 = a - c;
    x3 = AddI(b, d);
}

/// The transform of eight points, in place.
template<class D, class V = hn::Vec<D>>
HWY_INLINE void Butterfly8(
    D d, Complex<V>& x0, Complex<V>& x1, Complex<V>& x2, Complex<V>& x3, Complex<V>& x4, Complex<V>& x5,
    Complex<V>& x6, Complex<V>& x7) {
    const V half = hn::Set(d, 0.70710678118654752F);
    const Complex<V> a0 = x0 + x4;
    const Complex<V> a1 = x0 - x4;
    const Complex<V> a2 = x2 + x6;
    const Complex<V> a3 = x2 - x6;
    const Complex<V> a4 = x1 + x5;
    const Complex<V> a5 = x1 - x5;
    const Complex<V> a6 = x3 + x7;
    const Complex<V> a7 = x3 - x7;
    const Complex<V> b0 = a0 + a2;
    const Complex<V> b2 = a0 - a2;
    const Complex<V> b4 = a4 + a6;
    const Complex<V> b6 = a4 - a6;
    x0 = b0 + b4;
    x4 = b0 - b4;
    x2 = SubI(b2, b6);
    x6 = AddI(b2, b6);
    const Complex<V> c1 = SubI(a1, a3);
    const Complex<V> c3 = AddI(a1, a3);
    const Complex<V> d1 = SubI(a5, a7);
    const Complex<V> d3 = AddI(a5, a7);
    // The eighth root of unity times d1, and its cube times d3, without their common factor.
    const V s1 = hn::Add(d1.re, d1.im);
    const V t1 = hn::Sub(d1.im, d1.re);
    const V s3 = hn::Sub(d3.im, d3.re);
    const V t3 = hn::Add(d3.re, d3.im);
    x1 = {hn::MulAdd(half, s1, c1.re), hn::MulAdd(half, t1, c1.im)};
    x5 = {hn::NegMulAdd(half, s1, c1.re), hn::NegMulAdd(half, t1, c1.im)};
    x3 = {hn::MulAdd(half, s3, c3.re), hn::NegMulAdd(half, t3, c3.im)};
    x7 = {hn::NegMulAdd(half, s3, c3.re), hn::MulAdd(half, t3, c3.im)};
}

#if HWY_TARGET == HWY_SCALAR

template<class D, class V = hn::Vec<D>>
HWY_INLINE void
StoreTransposed8(D d, V r0, V r1, V r2, V r3, V r4, V r5, V r6, V r7, bool, float* HWY_RESTRICT out) {
    const V rows[8] = {r0, r1, r2, r3, r4, r5, r6, r7};
    for (std::size_t row = 0; row < 8; ++row) {
        hn::StoreU(rows[row], d, out + row);
    }
}

#else

/// Rows become columns, in each block of four lanes.
template<class D, class V = hn::Vec<D>>
HWY_INLINE void Transpose4(D d, V& r0, V& r1, V& r2, V& r3) {
    const V a = hn::InterleaveLower(d, r0, r2);
    const V b = hn::InterleaveUpper(d, r0, r2);
    const V c = hn::InterleaveLower(d, r1, r3);
    const V e = hn::InterleaveUpper(d, r1, r3);
    r0 = hn::InterleaveLower(d, a, c);
    r1 = hn::InterleaveUpper(d, a, c);
    r2 = hn::InterleaveLower(d, b, e);
    r3 = hn::InterleaveUpper(d, b, e);
}

/// Stores lane l of the eight rows as eight floats at out + 8 * l, at out + 8 * GetShuffled(l) when the lanes
/// are shuffled.
template<class D, class V = hn::Vec<D>>
HWY_INLINE void StoreTransposed8(
    D d, V r0, V r1, V r2, V r3, V r4, V r5, V r6, V r7, bool shuffled, float* HWY_RESTRICT out) {
    Transpose4(d, r0, r1, r2, r3);
    Transpose4(d, r4, r5, r6, r7);
    if constexpr (hn::MaxLanes(D()) == 4) {
        hn::StoreU(r0, d, out);
        hn::StoreU(r4, d, out + 4);
        hn::StoreU(r1, d, out + 8);
        hn::StoreU(r5, d, out + 12);
        hn::StoreU(r2, d, out + 16);
        hn::StoreU(r6, d, out + 20);
        hn::StoreU(r3, d, out + 24);
        hn::StoreU(r7, d, out + 28);
    } else {
        const std::size_t third = shuffled ? 32 : 16;
        const std::size_t fifth = shuffled ? 16 : 32;
        hn::StoreU(hn::ConcatLowerLower(d, r4, r0), d, out);
        hn::StoreU(hn::ConcatLowerLower(d, r5, r1), d, out + 8);
        hn::StoreU(hn::ConcatLowerLower(d, r6, r2), d, out + third);
        hn::StoreU(hn::ConcatLowerLower(d, r7, r3), d, out + third + 8);
        hn::StoreU(hn::ConcatUpperUpper(d, r4, r0), d, out + fifth);
        hn::StoreU(hn::ConcatUpperUpper(d, r5, r1), d, out + fifth + 8);
        hn::StoreU(hn::ConcatUpperUpper(d, r6, r2), d, out + 48);
        hn::StoreU(hn::ConcatUpperUpper(d, r7, r3), d, out + 56);
    }
}

#endif

/// Where a first pass reads. `shuffled`: its lanes come in the order of GetShuffled; for the others it is the
/// eight results of each position that are left in that order, so that the last pass can write pairs.
struct ShuffledPairsInput {
    static constexpr bool shuffled = true;
    const float* data;
    template<class D>
    HWY_INLINE Complex<hn::Vec<D>> Load(D d, std::size_t index) const {
        return LoadPairsShuffled(d, data + 2 * index);
    }
};

struct SplitInput {
    static constexpr bool shuffled = false;
    const float* re;
    const float* im;
    template<class D>
    HWY_INLINE Complex<hn::Vec<D>> Load(D d, std::size_t index) const {
        return LoadSplit(d, re + index, im + index);
    }
};

struct SplitOutput {
    float* re;
    float* im;
    template<class D>
    HWY_INLINE void Store(D d, Complex<hn::Vec<D>> value, std::size_t index) const {
        StoreSplit(d, value, re + index, im + index);
    }
};

/// Where a last pass writes when its result is the imaginary part followed by the real part, the inverse
/// transform being the forward one with the parts exchanged on both sides, and when its lanes are shuffled.
struct ExchangedShuffledPairsOutput {
    float* data;
    template<class D>
    HWY_INLINE void Store(D d, Complex<hn::Vec<D>> value, std::size_t index) const {
        StorePairsShuffled(d, Complex<hn::Vec<D>>{value.im, value.re}, data + 2 * index);
    }
};

/// The pass with s = 1: eight rows, transposed on their way out so that the next pass finds eight neighbours.
/// factors: per group of lanes, seven pairs of vectors.
template<class D, class Input>
HWY_INLINE void FirstPass8(
    D d, const Input input, float* HWY_RESTRICT outRe, float* HWY_RESTRICT outIm, std::size_t points,
    const float* HWY_RESTRICT factors) {
    using V = hn::Vec<D>;
    constexpr std::size_t lanes = hn::MaxLanes(D());
    const std::size_t m = points / 8;
    for (std::size_t p = 0; p < m; p += lanes) {
        Complex<V> x0 = input.Load(d, p);
        Complex<V> x1 = input.Load(d, p + m);
        Complex<V> x2 = input.Load(d, p + 2 * m);
        Complex<V> x3 = input.Load(d, p + 3 * m);
        Complex<V> x4 = input.Load(d, p + 4 * m);
        Complex<V> x5 = input.Load(d, p + 5 * m);
        Complex<V> x6 = input.Load(d, p + 6 * m);
        Complex<V> x7 = input.Load(d, p + 7 * m);
        Butterfly8(d, x0, x1, x2, x3, x4, x5, x6, x7);
        x1 = Times(x1, LoadSplit(d, factors, factors + lanes));
        x2 = Times(x2, LoadSplit(d, factors + 2 * lanes, factors + 3 * lanes));
        x3 = Times(x3, LoadSplit(d, factors + 4 * lanes, factors + 5 * lanes));
        x4 = Times(x4, LoadSplit(d, factors + 6 * lanes, factors + 7 * lanes));
        x5 = Times(x5, LoadSplit(d, factors + 8 * lanes, factors + 9 * lanes));
        x6 = Times(x6, LoadSplit(d, factors + 10 * lanes, factors + 11 * lanes));
        x7 = Times(x7, LoadSplit(d, factors + 12 * lanes, factors + 13 * lanes));
        factors += 14 * lanes;
        float* HWY_RESTRICT toRe = outRe + 8 * p;
        float* HWY_RESTRICT toIm = outIm + 8 * p;
        if constexpr (Input::shuffled || hn::MaxLanes(Wide()) != 8) {
            StoreTransposed8(
                d, x0.re, x1.re, x2.re, x3.re, x4.re, x5.re, x6.re, x7.re, Input::shuffled, toRe);
            StoreTransposed8(
                d, x0.im, x1.im, x2.im, x3.im, x4.im, x5.im, x6.im, x7.im, Input::shuffled, toIm);
        } else {
            StoreTransposed8(d, x0.re, x1.re, x4.re, x5.re, x2.re, x3.re, x6.re, x7.re, false, toRe);
            StoreTransposed8(d, x0.im, x1.im, x4.im, x5.im, x2.im, x3.im, x6.im, x7.im, false, toIm);
        }
    }
}

/// A pass of radix 4 with s >= lanes. factors: per p, three complex numbers. n: points left, s: neighbours.
template<class D>
void MiddlePass4(
    D d, const float* HWY_RESTRICT re, const float* HWY_RESTRICT im, float* HWY_RESTRICT outRe,
    float* HWY_RESTRICT outIm, std::size_t n, std::size_t s, const float* HWY_RESTRICT factors) {
    using V = hn::Vec<D>;
    constexpr std::size_t lanes = hn::MaxLanes(D());
    const std::size_t m = n / 4;
    const std::size_t step = s * m;
    for (std::size_t p = 0; p < m; ++p, factors += 6) {
        const Complex<V> w1 = SetSplit(d, factors);
        const Complex<V> w2 = SetSplit(d, factors + 2);
        const Complex<V> w3 = SetSplit(d, factors + 4);
        for (std::size_t q = 0; q < s; q += lanes) {
            const std::size_t i = s * p + q;
            Complex<V> x0 = LoadSplit(d, re + i, im + i);
            Complex<V> x1 = LoadSplit(d, re + i + step, im + i + step);
            Complex<V> x2 = LoadSplit(d, re + i + 2 * step, im + i + 2 * step);
            Complex<V> x3 = LoadSplit(d, re + i + 3 * step, im + i + 3 * step);
            Butterfly4(x0, x1, x2, x3);
            const std::size_t o = 4 * s * p + q;
            StoreSplit(d, x0, outRe + o, outIm + o);
            StoreSplit(d, Times(x1, w1), outRe + o + s, outIm + o + s);
            StoreSplit(d, Times(x2, w2), outRe + o + 2 * s, outIm + o + 2 * s);
            StoreSplit(d, Times(x3, w3), outRe + o + 3 * s, outIm + o + 3 * s);
        }
    }
}

/// The same of radix 8. factors: per p, seven complex numbers.
template<class D>
void MiddlePass8(
    D d, const float* HWY_RESTRICT re, const float* HWY_RESTRICT im, float* HWY_RESTRICT outRe,
    float* HWY_RESTRICT outIm, std::size_t n, std::size_t s, const float* HWY_RESTRICT factors) {
    using V = hn::Vec<D>;
    constexpr std::size_t lanes = hn::MaxLanes(D());
    const std::size_t m = n / 8;
    const std::size_t step = s * m;
    for (std::size_t p = 0; p < m; ++p, factors += 14) {
        for (std::size_t q = 0; q < s; q += lanes) {
            const std::size_t i = s * p + q;
            Complex<V> x0 = LoadSplit(d, re + i, im + i);
            Complex<V> x1 = LoadSplit(d, re + i + step, im + i + step);
            Complex<V> x2 = LoadSplit(d, re + i + 2 * step, im + i + 2 * step);
            Complex<V> x3 = LoadSplit(d, re + i + 3 * step, im + i + 3 * step);
            Complex<V> x4 = LoadSplit(d, re + i + 4 * step, im + i + 4 * step);
            Complex<V> x5 = LoadSplit(d, re + i + 5 * step, im + i + 5 * step);
            Complex<V> x6 = LoadSplit(d, re + i + 6 * step, im + i + 6 * step);
            Complex<V> x7 = LoadSplit(d, re + i + 7 * step, im + i + 7 * step);
            Butterfly8(d, x0, x1, x2, x3, x4, x5, x6, x7);
            float* HWY_RESTRICT toRe = outRe + 8 * s * p + q;
            float* HWY_RESTRICT toIm = outIm + 8 * s * p + q;
            StoreSplit(d, x0, toRe, toIm);
            StoreSplit(d, Times(x1, SetSplit(d, factors)), toRe + s, toIm + s);
            StoreSplit(d, Times(x2, SetSplit(d, factors + 2)), toRe + 2 * s, toIm + 2 * s);
            StoreSplit(d, Times(x3, SetSplit(d, factors + 4)), toRe + 3 * s, toIm + 3 * s);
            StoreSplit(d, Times(x4, SetSplit(d, factors + 6)), toRe + 4 * s, toIm + 4 * s);
            StoreSplit(d, Times(x5, SetSplit(d, factors + 8)), toRe + 5 * s, toIm + 5 * s);
            StoreSplit(d, Times(x6, SetSplit(d, factors + 10)), toRe + 6 * s, toIm + 6 * s);
            StoreSplit(d, Times(x7, SetSplit(d, factors + 12)), toRe + 7 * s, toIm + 7 * s);
        }
    }
}

/// The passes with n equal to the radix, which need no factors. s: points / radix.
template<class D, class Output>
HWY_INLINE void LastPass4(
    D d, const float* HWY_RESTRICT re, const float* HWY_RESTRICT im, const Output output, std::size_t s) {
    using V = hn::Vec<D>;
    constexpr std::size_t lanes = hn::MaxLanes(D());
    for (std::size_t q = 0; q < s; q += lanes) {
        Complex<V> x0 = LoadSplit(d, re + q, im + q);
        Complex<V> x1 = LoadSplit(d, re + q + s, im + q + s);
        Complex<V> x2 = LoadSplit(d, re + q + 2 * s, im + q + 2 * s);
        Complex<V> x3 = LoadSplit(d, re + q + 3 * s, im + q + 3 * s);
        Butterfly4(x0, x1, x2, x3);
        output.Store(d, x0, q);
        output.Store(d, x1, q + s);
        output.Store(d, x2, q + 2 * s);
        output.Store(d, x3, q + 3 * s);
    }
}

template<class D, class Output>
HWY_INLINE void LastPass8(
    D d, const float* HWY_RESTRICT re, const float* HWY_RESTRICT im, const Output output, std::size_t s) {
    using V = hn::Vec<D>;
    constexpr std::size_t lanes = hn::MaxLanes(D());
    for (std::size_t q = 0; q < s; q += lanes) {
        Complex<V> x0 = LoadSplit(d, re + q, im + q);
        Complex<V> x1 = LoadSplit(d, re + q + s, im + q + s);
        Complex<V> x2 = LoadSplit(d, re + q + 2 * s, im + q + 2 * s);
        Complex<V> x3 = LoadSplit(d, re + q + 3 * s, im + q + 3 * s);
        Complex<V> x4 = LoadSplit(d, re + q + 4 * s, im + q + 4 * s);
        Complex<V> x5 = LoadSplit(d, re + q + 5 * s, im + q + 5 * s);
        Complex<V> x6 = LoadSplit(d, re + q + 6 * s, im + q + 6 * s);
        Complex<V> x7 = LoadSplit(d, re + q + 7 * s, im + q + 7 * s);
        Butterfly8(d, x0, x1, x2, x3, x4, x5, x6, x7);
        output.Store(d, x0, q);
        output.Store(d, x1, q + s);
        output.Store(d, x2, q + 2 * s);
        output.Store(d, x3, q + 3 * s);
        output.Store(d, x4, q + 4 * s);
        output.Store(d, x5, q + 5 * s);
        output.Store(d, x6, q + 6 * s);
        output.Store(d, x7, q + 7 * s);
    }
}

/// A pair of bins: the one at k and the one at points - k.
template<class V>
struct BinPair {
    Complex<V> low;
    Complex<V> high;
};

/// From the half-length transform's values at k and points - k to the bins of the real transform there. With
/// E and O the spectra of even and odd samples, z = E + i O, both Hermitian:
///     X[k] = E[k] + W^k O[k], X[points - k] = conj(E[k] - W^k O[k]),  W = exp(-2 pi i / size).
/// factor: -i / 2 * W^k.
template<class D, class V = hn::Vec<D>>
HWY_INLINE BinPair<V> SplitBins(D d, Complex<V> low, Complex<V> high, Complex<V> factor) {
    const V half = hn::Set(d, 0.5F);
    const Complex<V> sum{hn::Add(low.re, high.re), hn::Sub(low.im, high.im)};
    const Complex<V> difference{hn::Sub(low.re, high.re), hn::Add(low.im, high.im)};
    const Complex<V> t = Times(difference, factor);
    return {
        {hn::MulAdd(half, sum.re, t.re), hn::MulAdd(half, sum.im, t.im)},
        {hn::MulSub(half, sum.re, t.re), hn::NegMulAdd(half, sum.im, t.im)}};
}

/// The reverse, times twice `scale`.
template<class D, class V = hn::Vec<D>>
HWY_INLINE BinPair<V> JoinBins(D, Complex<V> low, Complex<V> high, Complex<V> factor, V scale, V twiceScale) {
    const Complex<V> sum{hn::Mul(scale, hn::Add(low.re, high.re)), hn::Mul(scale, hn::Sub(low.im, high.im))};
    const Complex<V> difference{hn::Sub(low.re, high.re), hn::Add(low.im, high.im)};
    const Complex<V> t = TimesConjugate(difference, factor);
    return {
        {hn::MulAdd(twiceScale, t.re, sum.re), hn::MulAdd(twiceScale, t.im, sum.im)},
        {hn::NegMulAdd(twiceScale, t.re, sum.re), hn::MulSub(twiceScale, t.im, sum.im)}};
}

/// From the half-length transform of `points` values to the packed form of the real one.
template<class D>
HWY_INLINE void SplitPass(
    D d, const float* HWY_RESTRICT re, const float* HWY_RESTRICT im, float* HWY_RESTRICT packed,
    std::size_t points, const float* HWY_RESTRICT factors) {
    using V = hn::Vec<D>;
    constexpr std::size_t lanes = hn::MaxLanes(D());
    const float* HWY_RESTRICT factorsIm = factors + points / 2;
    packed[0] = re[0] + im[0];
    packed[1] = re[0] - im[0];
    for (std::size_t k = 1; k <= points / 2; k += lanes) {
        const std::size_t mirror = points - k - (lanes - 1);
        const Complex<V> low = LoadSplit(d, re + k, im + k);
        const Complex<V> high{LoadReversed(d, re + mirror), LoadReversed(d, im + mirror)};
        const BinPair<V> bins = SplitBins(d, low, high, LoadSplit(d, factors + k - 1, factorsIm + k - 1));
        StorePairs(d, bins.low, packed + 2 * k);
        StorePairsReversed(d, bins.high, packed + 2 * mirror);
    }
}

/// The reverse, scaled so that an unscaled inverse transform of half the length gives the signal.
template<class D>
HWY_INLINE void JoinPass(
    D d, const float* HWY_RESTRICT packed, float* HWY_RESTRICT re, float* HWY_RESTRICT im, std::size_t points,
    const float* HWY_RESTRICT factors) {
    using V = hn::Vec<D>;
    constexpr std::size_t lanes = hn::MaxLanes(D());
    const float* HWY_RESTRICT factorsIm = factors + points / 2;
    const float scale = 0.5F / static_cast<float>(points);
    const V scales = hn::Set(d, scale);
    const V twice = hn::Set(d, 2 * scale);
    re[0] = scale * (packed[0] + packed[1]);
    im[0] = scale * (packed[0] - packed[1]);
    for (std::size_t k = 1; k <= points / 2; k += lanes) {
        const std::size_t mirror = points - k - (lanes - 1);
        const Complex<V> low = LoadPairs(d, packed + 2 * k);
        const Complex<V> high = LoadPairsReversed(d, packed + 2 * mirror);
        const BinPair<V> values =
            JoinBins(d, low, high, LoadSplit(d, factors + k - 1, factorsIm + k - 1), scales, twice);
        StoreSplit(d, values.low, re + k, im + k);
        StoreReversed(d, values.high.re, re + mirror);
        StoreReversed(d, values.high.im, im + mirror);
    }
}

} // namespace HWY_NAMESPACE
} // namespace DSP
HWY_AFTER_NAMESPACE();

#endif
