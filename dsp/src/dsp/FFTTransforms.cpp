#include "dsp/FFTPlan.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "dsp/FFTTransforms.cpp"
#include "svbase/util/HighwayTargets.h"

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "dsp/FFTCodelets-inl.h"
#include "dsp/FFTPasses-inl.h"

HWY_BEFORE_NAMESPACE();
namespace DSP {
namespace HWY_NAMESPACE {

/// Orders above this one run in passes.
constexpr unsigned lastCodeletOrder = 5;

/// The work buffer as four arrays: two complex ones that take turns. The arrays keep a cache line's distance
/// beyond their length, or parts of equal index would compete for the same sets of the cache.
struct WorkArrays {
    static constexpr std::size_t gap = 16;

    WorkArrays(void* buffer, std::size_t points) {
        const std::uintptr_t toNextLine = (0 - reinterpret_cast<std::uintptr_t>(buffer)) & 63U;
        auto* const start = reinterpret_cast<float*>(static_cast<std::byte*>(buffer) + toNextLine);
        re = start;
        im = re + points + gap;
        nextRe = im + points + gap;
        nextIm = nextRe + points + gap;
    }
    static std::size_t GetBytes(std::size_t points) { return 4 * (points + gap) * sizeof(float) + 63; }

    void Turn() {
        std::swap(re, nextRe);
        std::swap(im, nextIm);
    }

    float* re;
    float* im;
    float* nextRe;
    float* nextIm;
};

/// All passes but the first and the last, from and to the arrays' current half.
inline void MiddlePasses(const FFTPlan& plan, WorkArrays& work, std::size_t& s) {
    const Wide d;
    const std::size_t points = std::size_t{1} << (plan.order - 1);
    for (unsigned pass = 1; plan.radices[pass + 1] != 0; ++pass) {
        const float* factors = plan.factors.data() + plan.passFactors[pass];
        if (plan.radices[pass] == 4) {
            MiddlePass4(d, work.re, work.im, work.nextRe, work.nextIm, points / s, s, factors);
            s *= 4;
        } else {
            MiddlePass8(d, work.re, work.im, work.nextRe, work.nextIm, points / s, s, factors);
            s *= 8;
        }
        work.Turn();
    }
}

inline void ForwardInPasses(const FFTPlan& plan, const float* in, float* out, void* buffer) noexcept {
    const Wide d;
    const std::size_t points = std::size_t{1} << (plan.order - 1);
    WorkArrays work(buffer, points);
    FirstPass8(Wide(), ShuffledPairsInput{in}, work.re, work.im, points, plan.factors.data());
    std::size_t s = 8;
    MiddlePasses(plan, work, s);
    const SplitOutput last{work.nextRe, work.nextIm};
    if (points / s == 4) {
        LastPass4(d, work.re, work.im, last, s);
    } else {
        LastPass8(d, work.re, work.im, last, s);
    }
    SplitPass(d, work.nextRe, work.nextIm, out, points, plan.splitFactors.data());
}

inline void InverseInPasses(const FFTPlan& plan, const float* in, float* out, void* buffer) noexcept {
    const Wide d;
    const std::size_t points = std::size_t{1} << (plan.order - 1);
    WorkArrays work(buffer, points);
    JoinPass(d, in, work.re, work.im, points, plan.splitFactors.data());
    // From here on real and imaginary parts have changed places.
    FirstPass8(
        Wide(), SplitInput{work.im, work.re}, work.nextRe, work.nextIm, points,
        plan.factors.data() + plan.inverseFactors);
    work.Turn();
    std::size_t s = 8;
    MiddlePasses(plan, work, s);
    const ExchangedShuffledPairsOutput last{out};
    if (points / s == 4) {
        LastPass4(d, work.re, work.im, last, s);
    } else {
        LastPass8(d, work.re, work.im, last, s);
    }
}

struct Root {
    float re;
    float im;
};

/// exp(-2 pi i index / count).
inline Root GetRoot(std::size_t index, std::size_t count) {
    const double angle =
        -2.0 * std::numbers::pi * static_cast<double>(index % count) / static_cast<double>(count);
    return {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle))};
}

inline void ChooseRadices(FFTPlan& plan) {
    unsigned left = plan.order - 1 - 3;
    unsigned pass = 0;
    plan.radices[pass++] = 8;
    while (left % 3 != 0) {
        plan.radices[pass++] = 4;
        left -= 2;
    }
    for (; left != 0; left -= 3) {
        plan.radices[pass++] = 8;
    }
}

/// exp(-2 pi i p j / n) for j from 1 to radix - 1, for `group` positions p side by side: the real parts of
/// the group, then the imaginary ones.
inline void AppendFactors(FFTPlan& plan, std::size_t n, std::size_t radix, std::size_t group, bool shuffled) {
    for (std::size_t p = 0; p < n / radix; p += group) {
        for (std::size_t j = 1; j < radix; ++j) {
            Root roots[8];
            for (std::size_t lane = 0; lane < group; ++lane) {
                roots[lane] = GetRoot((p + (shuffled ? GetShuffled(lane, group) : lane)) * j, n);
            }
            for (std::size_t lane = 0; lane < group; ++lane) {
                plan.factors.push_back(roots[lane].re);
            }
            for (std::size_t lane = 0; lane < group; ++lane) {
                plan.factors.push_back(roots[lane].im);
            }
        }
    }
}

/// The first pass reads its factors in groups of `lanes` positions, in the order of its input's lanes; the
/// others one position at a time; the last has none.
inline void MakeFactors(FFTPlan& plan, std::size_t lanes) {
    const std::size_t points = std::size_t{1} << (plan.order - 1);
    std::size_t n = points;
    AppendFactors(plan, n, plan.radices[0], lanes, true);
    if (lanes == 8) {
        plan.inverseFactors = plan.factors.size();
        AppendFactors(plan, n, plan.radices[0], lanes, false);
    }
    n /= plan.radices[0];
    for (unsigned pass = 1; plan.radices[pass + 1] != 0; ++pass) {
        plan.passFactors[pass] = plan.factors.size();
        AppendFactors(plan, n, plan.radices[pass], 1, false);
        n /= plan.radices[pass];
    }
}

inline void MakeSplitFactors(FFTPlan& plan) {
    const std::size_t points = std::size_t{1} << (plan.order - 1);
    plan.splitFactors.resize(points);
    for (std::size_t k = 1; k <= points / 2; ++k) {
        const Root root = GetRoot(k, 2 * points);
        plan.splitFactors[k - 1] = 0.5F * root.im;
        plan.splitFactors[points / 2 + k - 1] = -0.5F * root.re;
    }
}

inline void MakePasses(FFTPlan& plan) {
    ChooseRadices(plan);
    MakeFactors(plan, hn::MaxLanes(Wide()));
    MakeSplitFactors(plan);
    plan.forward = &ForwardInPasses;
    plan.inverse = &InverseInPasses;
    plan.bufferBytes = WorkArrays::GetBytes(std::size_t{1} << (plan.order - 1));
}

inline void Make64(FFTPlan& plan) {
#if HWY_TARGET == HWY_AVX2
    AppendFactors(plan, 32, 4, 8, false);
    MakeSplitFactors(plan);
    plan.forward = &Forward64;
    plan.inverse = &Inverse64;
#else
    MakePasses(plan);
#endif
}

void MakePlan(FFTPlan& plan) {
    static constexpr FFTPlan::Transform codelets[lastCodeletOrder + 1][2] = {
        {&Copy1, &Copy1},       {&Forward2, &Inverse2},   {&Forward4, &Inverse4},
        {&Forward8, &Inverse8}, {&Forward16, &Inverse16}, {&Forward32, &Inverse32},
    };
    if (plan.order <= lastCodeletOrder) {
        plan.forward = codelets[plan.order][0];
        plan.inverse = codelets[plan.order][1];
    } else if (plan.order == 6) {
        Make64(plan);
    } else {
        MakePasses(plan);
    }
}

} // namespace HWY_NAMESPACE
} // namespace DSP
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace DSP {

HWY_EXPORT(MakePlan);

FFTPlan MakeFFTPlan(unsigned order) {
    FFTPlan plan;
    plan.order = order;
    HWY_DYNAMIC_DISPATCH(MakePlan)(plan);
    return plan;
}

} // namespace DSP

#endif
