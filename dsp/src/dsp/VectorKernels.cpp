#include "dsp/VectorKernels.h"

#include "dsp/KernelTable.h"

#include <atomic>
#include <cassert>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "dsp/VectorKernels.cpp"
#include "svbase/util/HighwayTargets.h"

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace DSP::Kernels {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Wide = hn::ScalableTag<float>;
using V = hn::Vec<Wide>;

constexpr std::size_t lanes = hn::MaxLanes(Wide());

void CopyFloats(float* destination, const float* source, std::size_t count) noexcept {
    const Wide d;
    std::size_t i = 0;
    for (; i + 4 * lanes <= count; i += 4 * lanes) {
        const V a = hn::LoadU(d, source + i);
        const V b = hn::LoadU(d, source + i + lanes);
        const V c = hn::LoadU(d, source + i + 2 * lanes);
        const V e = hn::LoadU(d, source + i + 3 * lanes);
        hn::StoreU(a, d, destination + i);
        hn::StoreU(b, d, destination + i + lanes);
        hn::StoreU(c, d, destination + i + 2 * lanes);
        hn::StoreU(e, d, destination + i + 3 * lanes);
    }
    for (; i < count; ++i) {
        destination[i] = source[i];
    }
}

void SetFloats(float* destination, float value, std::size_t count) noexcept {
    const Wide d;
    const V v = hn::Set(d, value);
    std::size_t i = 0;
    for (; i + 4 * lanes <= count; i += 4 * lanes) {
        hn::StoreU(v, d, destination + i);
        hn::StoreU(v, d, destination + i + lanes);
        hn::StoreU(v, d, destination + i + 2 * lanes);
        hn::StoreU(v, d, destination + i + 3 * lanes);
    }
    for (; i + lanes <= count; i += lanes) {
        hn::StoreU(v, d, destination + i);
    }
    for (; i < count; ++i) {
        destination[i] = value;
    }
}

/// destination[i] = operation(destination[i], source[i]).
template<class D, class Operation>
HWY_INLINE void CombineAt(D d, float* destination, const float* source, std::size_t i, Operation operation) {
    hn::StoreU(operation(hn::LoadU(d, destination + i), hn::LoadU(d, source + i)), d, destination + i);
}

/// Each store stands right behind its loads: groups of loads before groups of stores came out slower.
/// Unrolled all the same, since a loop of one vector takes up to twice as long where its code happens to
/// straddle a line.
template<class Operation>
HWY_INLINE void Combine(float* destination, const float* source, std::size_t count, Operation operation) {
    const Wide d;
    std::size_t i = 0;
    for (; i + 4 * lanes <= count; i += 4 * lanes) {
        CombineAt(d, destination, source, i, operation);
        CombineAt(d, destination, source, i + lanes, operation);
        CombineAt(d, destination, source, i + 2 * lanes, operation);
        CombineAt(d, destination, source, i + 3 * lanes, operation);
    }
    for (; i + lanes <= count; i += lanes) {
        CombineAt(d, destination, source, i, operation);
    }
    for (; i < count; ++i) {
        CombineAt(hn::CappedTag<float, 1>(), destination, source, i, operation);
    }
}

struct Plus {
    template<class U>
    HWY_INLINE U operator()(U a, U b) const {
        return hn::Add(a, b);
    }
};
struct By {
    template<class U>
    HWY_INLINE U operator()(U a, U b) const {
        return hn::Mul(a, b);
    }
};

void AddFloats(float* destination, const float* source, std::size_t count) noexcept {
    Combine(destination, source, count, Plus());
}

void MultiplyFloats(float* destination, const float* source, std::size_t count) noexcept {
    Combine(destination, source, count, By());
}

#if HWY_TARGET != HWY_SCALAR

/// destination += a * b on lanes of (re, im).
HWY_INLINE void
AddProductsAt(float* destination, const float* a, const float* b, std::size_t i, V realSigns) {
    const Wide d;
    const V factor = hn::LoadU(d, a + i);
    const V other = hn::LoadU(d, b + i);
    const V otherIm = hn::Xor(hn::DupOdd(other), realSigns);
    const V product = hn::MulAdd(hn::Shuffle2301(factor), otherIm, hn::Mul(factor, hn::DupEven(other)));
    hn::StoreU(hn::Add(hn::LoadU(d, destination + i), product), d, destination + i);
}

#endif

void MultiplyAccumulatePairs(float* destination, const float* a, const float* b, std::size_t bins) noexcept {
    const std::size_t count = 2 * bins;
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const Wide d;
    const V realSigns = hn::OddEven(hn::Zero(d), hn::Set(d, -0.0F));
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
        AddProductsAt(destination, a, b, i, realSigns);
        AddProductsAt(destination, a, b, i + lanes, realSigns);
    }
    for (; i + lanes <= count; i += lanes) {
        AddProductsAt(destination, a, b, i, realSigns);
    }
#endif
    for (; i < count; i += 2) {
        const float re = destination[i] + a[i] * b[i] - a[i + 1] * b[i + 1];
        const float im = destination[i + 1] + a[i] * b[i + 1] + a[i + 1] * b[i];
        destination[i] = re;
        destination[i + 1] = im;
    }
}

template<class D>
HWY_INLINE void MultiplyAccumulateAt(
    D d, float* destinationReal, float* destinationImag, const float* aReal, const float* aImag,
    const float* bReal, const float* bImag, std::size_t i) {
    using U = hn::Vec<D>;
    const U ar = hn::LoadU(d, aReal + i);
    const U ai = hn::LoadU(d, aImag + i);
    const U br = hn::LoadU(d, bReal + i);
    const U bi = hn::LoadU(d, bImag + i);
    // Sums apart from the products: they run beside them, where a chain of fused ones would wait.
    const U re = hn::NegMulAdd(ai, bi, hn::Mul(ar, br));
    const U im = hn::MulAdd(ai, br, hn::Mul(ar, bi));
    hn::StoreU(hn::Add(hn::LoadU(d, destinationReal + i), re), d, destinationReal + i);
    hn::StoreU(hn::Add(hn::LoadU(d, destinationImag + i), im), d, destinationImag + i);
}

void MultiplyAccumulateParts(
    float* destinationReal, float* destinationImag, const float* aReal, const float* aImag,
    const float* bReal, const float* bImag, std::size_t bins) noexcept {
    std::size_t i = 0;
    for (; i + 2 * lanes <= bins; i += 2 * lanes) {
        MultiplyAccumulateAt(Wide(), destinationReal, destinationImag, aReal, aImag, bReal, bImag, i);
        MultiplyAccumulateAt(Wide(), destinationReal, destinationImag, aReal, aImag, bReal, bImag, i + lanes);
    }
    for (; i + lanes <= bins; i += lanes) {
        MultiplyAccumulateAt(Wide(), destinationReal, destinationImag, aReal, aImag, bReal, bImag, i);
    }
    for (; i < bins; ++i) {
        MultiplyAccumulateAt(
            hn::CappedTag<float, 1>(), destinationReal, destinationImag, aReal, aImag, bReal, bImag, i);
    }
}

const Table* GetTable() {
    static constexpr Table table{&CopyFloats,
                                 &SetFloats,
                                 &AddFloats,
                                 &MultiplyFloats,
                                 &MultiplyAccumulatePairs,
                                 &MultiplyAccumulateParts};
    return &table;
}

} // namespace HWY_NAMESPACE
} // namespace DSP::Kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace DSP::Kernels {

HWY_EXPORT(GetTable);

namespace {

std::atomic<const Table*> chosen{nullptr};

const Table& GetChosen() noexcept {
    const Table* table = chosen.load(std::memory_order_relaxed);
    return table != nullptr ? *table : ChooseTable();
}

} // namespace

const Table& ChooseTable() noexcept {
    const Table* table = HWY_DYNAMIC_DISPATCH(GetTable)();
    chosen.store(table, std::memory_order_relaxed);
    return *table;
}

// Floats are copied and filled by loops. For all but the shortest arrays the C library turns to string
// instructions here, which take half again as long, and eight times as long for a source and a destination
// that lie at an unlucky distance modulo a page.

void Copy(float* destination, const float* source, std::size_t count) noexcept {
    assert(count != 0);
    GetChosen().copy(destination, source, count);
}

void Copy(std::uint8_t* destination, const std::uint8_t* source, std::size_t count) noexcept {
    assert(count != 0);
    std::memcpy(destination, source, count);
}

void Move(std::uint8_t* destination, const std::uint8_t* source, std::size_t count) noexcept {
    assert(count != 0);
    std::memmove(destination, source, count);
}

void Zero(float* destination, std::size_t count) noexcept {
    assert(count != 0);
    GetChosen().set(destination, 0.0F, count);
}

void Zero(std::uint8_t* destination, std::size_t count) noexcept {
    assert(count != 0);
    std::memset(destination, 0, count);
}

void Set(float* destination, float value, std::size_t count) noexcept {
    assert(count != 0);
    GetChosen().set(destination, value, count);
}

void Set(std::uint8_t* destination, std::uint8_t value, std::size_t count) noexcept {
    assert(count != 0);
    std::memset(destination, value, count);
}

void Add(float* destination, const float* source, std::size_t count) noexcept {
    assert(count != 0);
    GetChosen().add(destination, source, count);
}

void Multiply(float* destination, const float* source, std::size_t count) noexcept {
    assert(count != 0);
    GetChosen().multiply(destination, source, count);
}

void MultiplyAccumulateComplex(
    float* destination, const float* a, const float* b, std::size_t bins) noexcept {
    assert(bins != 0);
    GetChosen().multiplyAccumulateComplex(destination, a, b, bins);
}

void MultiplyAccumulateSplit(
    float* destinationReal, float* destinationImag, const float* aReal, const float* aImag,
    const float* bReal, const float* bImag, std::size_t bins) noexcept {
    assert(bins != 0);
    GetChosen().multiplyAccumulateSplit(destinationReal, destinationImag, aReal, aImag, bReal, bImag, bins);
}

void PackedToComplex(float* complex, const float* packed, unsigned order) noexcept {
    assert(order != 0);
    const std::size_t size = std::size_t{1} << order;
    const float last = packed[1];
    if (complex != packed) {
        complex[0] = packed[0];
        std::memcpy(complex + 2, packed + 2, (size - 2) * sizeof(float));
    }
    complex[1] = 0.0F;
    complex[size] = last;
    complex[size + 1] = 0.0F;
}

void ComplexToPacked(float* packed, const float* complex, unsigned order) noexcept {
    assert(order != 0);
    const std::size_t size = std::size_t{1} << order;
    const float last = complex[size];
    if (complex != packed) {
        packed[0] = complex[0];
        std::memcpy(packed + 2, complex + 2, (size - 2) * sizeof(float));
    }
    packed[1] = last;
}

} // namespace DSP::Kernels

#endif
