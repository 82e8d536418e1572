// Transforms of up to 32 samples, straight through registers: at these sizes a loop or a work buffer would
// cost more than the arithmetic.

#if defined(DSP_FFT_CODELETS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef DSP_FFT_CODELETS_INL_H
#undef DSP_FFT_CODELETS_INL_H
#else
#define DSP_FFT_CODELETS_INL_H
#endif

#include "dsp/FFTPasses-inl.h"
#include "dsp/FFTPlan.h"

HWY_BEFORE_NAMESPACE();
namespace DSP {
namespace HWY_NAMESPACE {

constexpr float cosEighth = 0.92387953251128676F; // cos(pi / 8)
constexpr float sinEighth = 0.38268343236508977F; // sin(pi / 8)
constexpr float cosFourth = 0.70710678118654752F; // cos(pi / 4)

inline void Copy1(const FFTPlan&, const float* in, float* out, void*) noexcept {
    out[0] = in[0];
}

inline void Forward2(const FFTPlan&, const float* in, float* out, void*) noexcept {
    const float a = in[0];
    const float b = in[1];
    out[0] = a + b;
    out[1] = a - b;
}

inline void Inverse2(const FFTPlan&, const float* in, float* out, void*) noexcept {
    const float a = 0.5F * in[0];
    const float b = 0.5F * in[1];
    out[0] = a + b;
    out[1] = a - b;
}

inline void Forward4(const FFTPlan&, const float* in, float* out, void*) noexcept {
    const float even = in[0] + in[2];
    const float odd = in[1] + in[3];
    const float re = in[0] - in[2];
    const float im = in[3] - in[1];
    out[0] = even + odd;
    out[1] = even - odd;
    out[2] = re;
    out[3] = im;
}

inline void Inverse4(const FFTPlan&, const float* in, float* out, void*) noexcept {
    const float sum = 0.25F * (in[0] + in[1]);
    const float difference = 0.25F * (in[0] - in[1]);
    const float re = 0.5F * in[2];
    const float im = 0.5F * in[3];
    out[0] = sum + re;
    out[1] = difference - im;
    out[2] = sum - re;
    out[3] = difference + im;
}

inline void Forward8(const FFTPlan&, const float* in, float* out, void*) noexcept {
    const float a0 = in[0] + in[4];
    const float a1 = in[0] - in[4];
    const float a2 = in[2] + in[6];
    const float a3 = in[2] - in[6];
    const float b0 = in[1] + in[5];
    const float b1 = in[1] - in[5];
    const float b2 = in[3] + in[7];
    const float b3 = in[3] - in[7];
    const float re = cosFourth * (b1 - b3);
    const float im = cosFourth * (b1 + b3);
    out[0] = (a0 + a2) + (b0 + b2);
    out[1] = (a0 + a2) - (b0 + b2);
    out[2] = a1 + re;
    out[3] = -a3 - im;
    out[4] = a0 - a2;
    out[5] = b2 - b0;
    out[6] = a1 - re;
    out[7] = a3 - im;
}

inline void Inverse8(const FFTPlan&, const float* in, float* out, void*) noexcept {
    const float sum = 0.125F * (in[0] + in[1]);
    const float difference = 0.125F * (in[0] - in[1]);
    const float re2 = 0.25F * in[4];
    const float im2 = 0.25F * in[5];
    const float even = 0.25F * (in[2] + in[6]);
    const float odd = 0.25F * (in[3] - in[7]);
    const float re = (0.25F * cosFourth) * (in[2] - in[6]);
    const float im = (0.25F * cosFourth) * (in[3] + in[7]);
    const float p0 = sum + re2;
    const float p2 = sum - re2;
    const float p1 = difference - im2;
    const float p3 = difference + im2;
    out[0] = p0 + even;
    out[4] = p0 - even;
    out[2] = p2 - odd;
    out[6] = p2 + odd;
    out[1] = p1 + (re - im);
    out[5] = p1 - (re - im);
    out[3] = p3 - (re + im);
    out[7] = p3 + (re + im);
}

#if HWY_TARGET == HWY_SCALAR

// Without vectors, two real transforms of half the length: E of the even samples, O of the odd ones.
//     X[k] = E[k] + W^k O[k], X[size / 2 - k] = conj(E[k] - W^k O[k])

struct HalfRoot {
    float cosine;
    float sine;
};

/// exp(-2 pi i k / 32) is (cosine, -sine).
inline HalfRoot GetRoot32(unsigned k) {
    static constexpr float sines[9] = {0.0F,      0.19509032201612827F, sinEighth, 0.55557023301960222F,
                                       cosFourth, 0.83146961230254524F, cosEighth, 0.98078528040323045F,
                                       1.0F};
    return {sines[8 - k], sines[k]};
}

template<unsigned size>
inline void ForwardByHalves(
    const FFTPlan& plan, const float* in, float* out, void* buffer, FFTPlan::Transform half) noexcept {
    constexpr std::size_t points = size / 2;
    float parts[2][points];
    for (std::size_t i = 0; i < points; ++i) {
        parts[0][i] = in[2 * i];
        parts[1][i] = in[2 * i + 1];
    }
    float e[points];
    float o[points];
    half(plan, parts[0], e, buffer);
    half(plan, parts[1], o, buffer);
    out[0] = e[0] + o[0];
    out[1] = e[0] - o[0];
    for (std::size_t k = 1; k < points / 2; ++k) {
        const HalfRoot w = GetRoot32(static_cast<unsigned>(k) * (32 / size));
        const float re = o[2 * k] * w.cosine + o[2 * k + 1] * w.sine;
        const float im = o[2 * k + 1] * w.cosine - o[2 * k] * w.sine;
        out[2 * k] = e[2 * k] + re;
        out[2 * k + 1] = e[2 * k + 1] + im;
        out[size - 2 * k] = e[2 * k] - re;
        out[size - 2 * k + 1] = im - e[2 * k + 1];
    }
    out[points] = e[1];
    out[points + 1] = -o[1];
}

template<unsigned size>
inline void InverseByHalves(
    const FFTPlan& plan, const float* in, float* out, void* buffer, FFTPlan::Transform half) noexcept {
    constexpr std::size_t points = size / 2;
    float e[points];
    float o[points];
    e[0] = 0.5F * (in[0] + in[1]);
    o[0] = 0.5F * (in[0] - in[1]);
    e[1] = in[points];
    o[1] = -in[points + 1];
    for (std::size_t k = 1; k < points / 2; ++k) {
        const HalfRoot w = GetRoot32(static_cast<unsigned>(k) * (32 / size));
        const float re = 0.5F * (in[2 * k] - in[size - 2 * k]);
        const float im = 0.5F * (in[2 * k + 1] + in[size - 2 * k + 1]);
        e[2 * k] = 0.5F * (in[2 * k] + in[size - 2 * k]);
        e[2 * k + 1] = 0.5F * (in[2 * k + 1] - in[size - 2 * k + 1]);
        o[2 * k] = re * w.cosine - im * w.sine;
        o[2 * k + 1] = im * w.cosine + re * w.sine;
    }
    float parts[2][points];
    half(plan, e, parts[0], buffer);
    half(plan, o, parts[1], buffer);
    for (std::size_t i = 0; i < points; ++i) {
        out[2 * i] = parts[0][i];
        out[2 * i + 1] = parts[1][i];
    }
}

inline void Forward16(const FFTPlan& plan, const float* in, float* out, void* buffer) noexcept {
    ForwardByHalves<16>(plan, in, out, buffer, &Forward8);
}
inline void Inverse16(const FFTPlan& plan, const float* in, float* out, void* buffer) noexcept {
    InverseByHalves<16>(plan, in, out, buffer, &Inverse8);
}
inline void Forward32(const FFTPlan& plan, const float* in, float* out, void* buffer) noexcept {
    ForwardByHalves<32>(plan, in, out, buffer, &Forward16);
}
inline void Inverse32(const FFTPlan& plan, const float* in, float* out, void* buffer) noexcept {
    InverseByHalves<32>(plan, in, out, buffer, &Inverse16);
}

#else

using V4 = hn::Vec<Four>;

HWY_INLINE V4 Constant(float a, float b, float c, float e) {
    alignas(16) const float lanes[4] = {a, b, c, e};
    return hn::Load(Four(), lanes);
}
/// Lanes 2 3 of low, 0 1 of high; and the halves exchanged.
HWY_INLINE V4 Middle(V4 high, V4 low) {
    return hn::CombineShiftRightLanes<2>(Four(), high, low);
}
HWY_INLINE V4 Halves(V4 v) {
    return hn::Shuffle1032(v);
}
HWY_INLINE V4 ExchangeParts(V4 v) {
    return hn::Shuffle2301(v);
}
HWY_INLINE V4 FlipImag(V4 v) {
    return hn::Xor(v, Constant(0.0F, -0.0F, 0.0F, -0.0F));
}

/// The four-point transform across v0 to v3, two complex numbers (re, im) in each. The sign says which.
HWY_INLINE void Four2(V4& v0, V4& v1, V4& v2, V4& v3, V4 rotationSign) {
    const V4 a = hn::Add(v0, v2);
    const V4 b = hn::Sub(v0, v2);
    const V4 c = hn::Add(v1, v3);
    const V4 e = hn::Xor(ExchangeParts(hn::Sub(v1, v3)), rotationSign);
    v0 = hn::Add(a, c);
    v1 = hn::Add(b, e);
    v2 = hn::Sub(a, c);
    v3 = hn::Sub(b, e);
}

/// SplitBins and JoinBins on (re, im) pairs: two bins at once. re, im: the factor's parts, doubled per pair,
/// the imaginary one with the signs that a product by exchanged parts needs.
HWY_INLINE void SplitPairs(V4& low, V4& high, V4 re, V4 im) {
    const V4 mirrored = FlipImag(high);
    const V4 half = hn::Mul(hn::Set(Four(), 0.5F), hn::Add(low, mirrored));
    const V4 difference = hn::Sub(low, mirrored);
    const V4 t = hn::MulAdd(difference, re, hn::Mul(ExchangeParts(difference), im));
    low = hn::Add(half, t);
    high = FlipImag(hn::Sub(half, t));
}

// The half-length transform of 8 points as 2 x 4: sums and differences of points 4 apart, the differences
// turned, then two four-point transforms side by side. Transposed, real and imaginary parts lie in (re, im)
// pairs, and even and odd results in neighbouring pairs: the natural order.
inline void Forward16(const FFTPlan&, const float* in, float* out, void*) noexcept {
    const Four d;
    Complex<V4> x0;
    Complex<V4> x1;
    hn::LoadInterleaved2(d, in, x0.re, x0.im);
    hn::LoadInterleaved2(d, in + 8, x1.re, x1.im);
    Complex<V4> sum = x0 + x1;
    Complex<V4> turned = Times(
        x0 - x1,
        Complex<V4>{
            Constant(1.0F, cosFourth, 0.0F, -cosFourth), Constant(0.0F, -cosFourth, -1.0F, -cosFourth)});
    V4 z0 = sum.re;
    V4 z1 = sum.im;
    V4 z2 = turned.re;
    V4 z3 = turned.im;
    Transpose4(d, z0, z1, z2, z3);
    Four2(z0, z1, z2, z3, Constant(0.0F, -0.0F, 0.0F, -0.0F));

    V4 low12 = Middle(z1, z0);
    V4 low34 = Middle(z2, z1);
    V4 high76 = Halves(z3);
    V4 high54 = Halves(z2);
    // -i / 2 * W^k for W = exp(-2 pi i / 16): (-sin, -cos) / 2.
    constexpr float s1 = 0.5F * sinEighth;
    constexpr float c1 = 0.5F * cosEighth;
    constexpr float s2 = 0.5F * cosFourth;
    SplitPairs(low12, high76, Constant(-s1, -s1, -s2, -s2), Constant(c1, -c1, s2, -s2));
    SplitPairs(low34, high54, Constant(-c1, -c1, -0.5F, -0.5F), Constant(s1, -s1, 0.0F, 0.0F));
    const V4 first = FlipImag(z0);
    const V4 dc = hn::Add(hn::ConcatEven(d, first, z0), hn::ConcatOdd(d, first, z0));
    // dc: re0 + im0, -, re0 - im0, -
    hn::StoreU(hn::ConcatUpperLower(d, Halves(low12), hn::ConcatEven(d, dc, dc)), d, out);
    hn::StoreU(Middle(low34, low12), d, out + 4);
    hn::StoreU(Middle(high54, low34), d, out + 8);
    hn::StoreU(Halves(high76), d, out + 12);
}

HWY_INLINE void JoinPairs(V4& low, V4& high, V4 re, V4 im, V4 scale) {
    const V4 mirrored = FlipImag(high);
    const V4 sum = hn::Mul(scale, hn::Add(low, mirrored));
    const V4 difference = hn::Sub(low, mirrored);
    const V4 t = hn::MulAdd(difference, re, hn::Mul(ExchangeParts(difference), im));
    low = hn::Add(sum, t);
    high = FlipImag(hn::Sub(sum, t));
}

inline void Inverse16(const FFTPlan&, const float* in, float* out, void*) noexcept {
    const Four d;
    const V4 x0 = hn::LoadU(d, in);
    V4 low12 = hn::LoadU(d, in + 2);
    V4 low34 = hn::LoadU(d, in + 6);
    V4 high54 = Halves(hn::LoadU(d, in + 8));
    V4 high76 = Halves(hn::LoadU(d, in + 12));
    const V4 scale = hn::Set(d, 0.0625F);
    // i / 16 * exp(2 pi i k / 16): (-sin, cos) / 16.
    constexpr float s1 = 0.0625F * sinEighth;
    constexpr float c1 = 0.0625F * cosEighth;
    constexpr float s2 = 0.0625F * cosFourth;
    JoinPairs(low12, high76, Constant(-s1, -s1, -s2, -s2), Constant(-c1, c1, -s2, s2), scale);
    JoinPairs(low34, high54, Constant(-c1, -c1, -0.0625F, -0.0625F), Constant(-s1, s1, 0.0F, 0.0F), scale);
    const V4 swapped = ExchangeParts(x0);
    const V4 dc = hn::Mul(scale, hn::Add(FlipImag(x0), hn::OddEven(swapped, swapped)));
    // dc: x0 + x1, x0 - x1
    V4 z0 = hn::ConcatUpperLower(d, Halves(low12), dc);
    V4 z1 = Middle(low34, low12);
    V4 z2 = Middle(high54, low34);
    V4 z3 = Halves(high76);
    Four2(z0, z1, z2, z3, Constant(-0.0F, 0.0F, -0.0F, 0.0F));
    Transpose4(d, z0, z1, z2, z3);
    const Complex<V4> even{z0, z1};
    const Complex<V4> odd = Times(
        Complex<V4>{z2, z3},
        Complex<V4>{Constant(1.0F, cosFourth, 0.0F, -cosFourth), Constant(0.0F, cosFourth, 1.0F, cosFourth)});
    const Complex<V4> y0 = even + odd;
    const Complex<V4> y1 = even - odd;
    hn::StoreInterleaved2(y0.re, y0.im, d, out);
    hn::StoreInterleaved2(y1.re, y1.im, d, out + 8);
}

/// The transform of 16 points as 4 x 4, rows of four in, natural order out.
HWY_INLINE void Transform16(Complex<V4>& x0, Complex<V4>& x1, Complex<V4>& x2, Complex<V4>& x3) {
    const Four d;
    Butterfly4(x0, x1, x2, x3);
    x1 = Times(
        x1, Complex<V4>{
                Constant(1.0F, cosEighth, cosFourth, sinEighth),
                Constant(0.0F, -sinEighth, -cosFourth, -cosEighth)});
    x2 = Times(
        x2, Complex<V4>{
                Constant(1.0F, cosFourth, 0.0F, -cosFourth), Constant(0.0F, -cosFourth, -1.0F, -cosFourth)});
    x3 = Times(
        x3, Complex<V4>{
                Constant(1.0F, sinEighth, -cosFourth, -cosEighth),
                Constant(0.0F, -cosEighth, -cosFourth, sinEighth)});
    Transpose4(d, x0.re, x1.re, x2.re, x3.re);
    Transpose4(d, x0.im, x1.im, x2.im, x3.im);
    Butterfly4(x0, x1, x2, x3);
}

/// -i / 2 * exp(-2 pi i k / 32), k = 1..4 and 5..8.
HWY_INLINE Complex<V4> SplitFactors32(int group) {
    constexpr float s1 = 0.5F * 0.19509032201612827F;
    constexpr float c1 = 0.5F * 0.98078528040323045F;
    constexpr float s2 = 0.5F * sinEighth;
    constexpr float c2 = 0.5F * cosEighth;
    constexpr float s3 = 0.5F * 0.55557023301960222F;
    constexpr float c3 = 0.5F * 0.83146961230254524F;
    constexpr float s4 = 0.5F * cosFourth;
    return group == 0 ? Complex<V4>{Constant(-s1, -s2, -s3, -s4), Constant(-c1, -c2, -c3, -s4)}
                      : Complex<V4>{Constant(-c3, -c2, -c1, -0.5F), Constant(-s3, -s2, -s1, 0.0F)};
}

HWY_INLINE V4 ShiftOne(V4 high, V4 low) {
    return hn::CombineShiftRightLanes<1>(Four(), high, low);
}
HWY_INLINE Complex<V4> Reversed(Complex<V4> v) {
    return {hn::Reverse(Four(), v.re), hn::Reverse(Four(), v.im)};
}

inline void Forward32(const FFTPlan&, const float* in, float* out, void*) noexcept {
    const Four d;
    Complex<V4> x0 = LoadPairs(d, in);
    Complex<V4> x1 = LoadPairs(d, in + 8);
    Complex<V4> x2 = LoadPairs(d, in + 16);
    Complex<V4> x3 = LoadPairs(d, in + 24);
    Transform16(x0, x1, x2, x3);
    const Complex<V4> low1{ShiftOne(x1.re, x0.re), ShiftOne(x1.im, x0.im)};
    const Complex<V4> low5{ShiftOne(x2.re, x1.re), ShiftOne(x2.im, x1.im)};
    const BinPair<V4> outer = SplitBins(d, low1, Reversed(x3), SplitFactors32(0));
    const BinPair<V4> inner = SplitBins(d, low5, Reversed(x2), SplitFactors32(1));
    const Complex<V4> high8 = Reversed(inner.high);
    const Complex<V4> high12 = Reversed(outer.high);
    const float re = hn::GetLane(x0.re);
    const float im = hn::GetLane(x0.im);
    out[0] = re + im;
    out[1] = re - im;
    hn::StoreInterleaved2(outer.low.re, outer.low.im, d, out + 2);
    hn::StoreInterleaved2(inner.low.re, inner.low.im, d, out + 10);
    hn::StoreInterleaved2(high8.re, high8.im, d, out + 16);
    hn::StoreInterleaved2(high12.re, high12.im, d, out + 24);
}

inline void Inverse32(const FFTPlan&, const float* in, float* out, void*) noexcept {
    const Four d;
    constexpr float scale = 0.03125F;
    const float re = scale * (in[0] + in[1]);
    const float im = scale * (in[0] - in[1]);
    const BinPair<V4> outer = JoinBins(
        d, LoadPairs(d, in + 2), Reversed(LoadPairs(d, in + 24)), SplitFactors32(0), hn::Set(d, scale),
        hn::Set(d, 2 * scale));
    const BinPair<V4> inner = JoinBins(
        d, LoadPairs(d, in + 10), Reversed(LoadPairs(d, in + 16)), SplitFactors32(1), hn::Set(d, scale),
        hn::Set(d, 2 * scale));
    // Parts exchanged: the forward transform then computes the inverse one.
    Complex<V4> x0{
        hn::CombineShiftRightLanes<3>(d, outer.low.im, hn::Set(d, im)),
        hn::CombineShiftRightLanes<3>(d, outer.low.re, hn::Set(d, re))};
    Complex<V4> x1{
        hn::CombineShiftRightLanes<3>(d, inner.low.im, outer.low.im),
        hn::CombineShiftRightLanes<3>(d, inner.low.re, outer.low.re)};
    const Complex<V4> high8 = Reversed(inner.high);
    const Complex<V4> high12 = Reversed(outer.high);
    Complex<V4> x2{high8.im, high8.re};
    Complex<V4> x3{high12.im, high12.re};
    Transform16(x0, x1, x2, x3);
    StorePairs(d, Complex<V4>{x0.im, x0.re}, out);
    StorePairs(d, Complex<V4>{x1.im, x1.re}, out + 8);
    StorePairs(d, Complex<V4>{x2.im, x2.re}, out + 16);
    StorePairs(d, Complex<V4>{x3.im, x3.re}, out + 24);
}

#if HWY_TARGET == HWY_AVX2

HWY_INLINE V8 ExchangeHalves(V8 v) {
    return hn::ConcatLowerUpper(Eight(), v, v);
}
HWY_INLINE V8 HalfConstants(float low, float high) {
    const Four half;
    return hn::Combine(Eight(), hn::Set(half, high), hn::Set(half, low));
}
HWY_INLINE Complex<V8> Reversed(Complex<V8> v) {
    return {ExchangeHalves(hn::Shuffle0123(v.re)), ExchangeHalves(hn::Shuffle0123(v.im))};
}
/// Lanes 1 to 7 of low and lane 0 of high.
HWY_INLINE V8 ShiftOne(V8 high, V8 low) {
    const Eight d;
    return hn::CombineShiftRightBytes<4>(d, hn::ConcatLowerUpper(d, high, low), low);
}
/// Lane 7 of low and lanes 0 to 6 of high.
HWY_INLINE V8 ShiftSeven(V8 high, V8 low) {
    const Eight d;
    return hn::CombineShiftRightBytes<12>(d, high, hn::ConcatLowerUpper(d, high, low));
}

/// The transform of 32 points as 4 x 8, rows of eight in, natural order out. factors: exp(-2 pi i p j / 32)
/// for j = 1..3, eight p each. Transposed within the halves, the transforms of eight lie across four vectors,
/// point l in the lower half and l + 4 in the upper one: sums and differences of the two, the differences
/// turned, and a transform of four points leave even results below and odd ones above.
HWY_INLINE void
Transform32(Complex<V8>& x0, Complex<V8>& x1, Complex<V8>& x2, Complex<V8>& x3, const float* factors) {
    const Eight d;
    Butterfly4(x0, x1, x2, x3);
    x1 = Times(x1, LoadSplit(d, factors, factors + 8));
    x2 = Times(x2, LoadSplit(d, factors + 16, factors + 24));
    x3 = Times(x3, LoadSplit(d, factors + 32, factors + 40));
    Transpose4(d, x0.re, x1.re, x2.re, x3.re);
    Transpose4(d, x0.im, x1.im, x2.im, x3.im);
    const V8 signs = HalfConstants(1.0F, -1.0F);
    const auto addHalves = [signs](Complex<V8> x) {
        return Complex<V8>{
            hn::MulAdd(x.re, signs, ExchangeHalves(x.re)), hn::MulAdd(x.im, signs, ExchangeHalves(x.im))};
    };
    x0 = addHalves(x0);
    x1 = Times(addHalves(x1), {HalfConstants(1.0F, cosFourth), HalfConstants(0.0F, -cosFourth)});
    x2 = Times(addHalves(x2), {HalfConstants(1.0F, 0.0F), HalfConstants(0.0F, -1.0F)});
    x3 = Times(addHalves(x3), {HalfConstants(1.0F, -cosFourth), HalfConstants(0.0F, -cosFourth)});
    Butterfly4(x0, x1, x2, x3);
}

inline void Forward64(const FFTPlan& plan, const float* in, float* out, void*) noexcept {
    const Eight d;
    Complex<V8> x0 = LoadPairs(d, in);
    Complex<V8> x1 = LoadPairs(d, in + 16);
    Complex<V8> x2 = LoadPairs(d, in + 32);
    Complex<V8> x3 = LoadPairs(d, in + 48);
    Transform32(x0, x1, x2, x3, plan.factors.data());
    const float* factors = plan.splitFactors.data();
    const Complex<V8> low1{ShiftOne(x1.re, x0.re), ShiftOne(x1.im, x0.im)};
    const Complex<V8> low9{ShiftOne(x2.re, x1.re), ShiftOne(x2.im, x1.im)};
    const BinPair<V8> outer = SplitBins(d, low1, Reversed(x3), LoadSplit(d, factors, factors + 16));
    const BinPair<V8> inner = SplitBins(d, low9, Reversed(x2), LoadSplit(d, factors + 8, factors + 24));
    const float re = hn::GetLane(x0.re);
    const float im = hn::GetLane(x0.im);
    out[0] = re + im;
    out[1] = re - im;
    StorePairs(d, outer.low, out + 2);
    StorePairs(d, inner.low, out + 18);
    StorePairsReversed(d, inner.high, out + 32);
    StorePairsReversed(d, outer.high, out + 48);
}

inline void Inverse64(const FFTPlan& plan, const float* in, float* out, void*) noexcept {
    const Eight d;
    constexpr float scale = 0.015625F;
    const V8 scales = hn::Set(d, scale);
    const V8 twice = hn::Set(d, 2 * scale);
    const float* factors = plan.splitFactors.data();
    const V8 re = hn::Set(d, scale * (in[0] + in[1]));
    const V8 im = hn::Set(d, scale * (in[0] - in[1]));
    const BinPair<V8> outer = JoinBins(
        d, LoadPairs(d, in + 2), LoadPairsReversed(d, in + 48), LoadSplit(d, factors, factors + 16), scales,
        twice);
    const BinPair<V8> inner = JoinBins(
        d, LoadPairs(d, in + 18), LoadPairsReversed(d, in + 32), LoadSplit(d, factors + 8, factors + 24),
        scales, twice);
    const Complex<V8> high16 = Reversed(inner.high);
    const Complex<V8> high24 = Reversed(outer.high);
    // Parts exchanged: the forward transform then computes the inverse one.
    Complex<V8> x0{ShiftSeven(outer.low.im, im), ShiftSeven(outer.low.re, re)};
    Complex<V8> x1{ShiftSeven(inner.low.im, outer.low.im), ShiftSeven(inner.low.re, outer.low.re)};
    Complex<V8> x2{high16.im, high16.re};
    Complex<V8> x3{high24.im, high24.re};
    Transform32(x0, x1, x2, x3, plan.factors.data());
    StorePairs(d, Complex<V8>{x0.im, x0.re}, out);
    StorePairs(d, Complex<V8>{x1.im, x1.re}, out + 16);
    StorePairs(d, Complex<V8>{x2.im, x2.re}, out + 32);
    StorePairs(d, Complex<V8>{x3.im, x3.re}, out + 48);
}

#endif

#endif

} // namespace HWY_NAMESPACE
} // namespace DSP
HWY_AFTER_NAMESPACE();

#endif
