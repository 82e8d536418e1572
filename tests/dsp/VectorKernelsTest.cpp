#include "dsp/VectorKernels.h"

#include "KernelVariants.h"
#include "support/AllocationCount.h"

#include <algorithm>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace DSP::Testing {
namespace {

/// Lengths around the vector widths and the unrolled steps, and a few long ones.
std::vector<std::size_t> GetLengths() {
    std::vector<std::size_t> lengths;
    for (std::size_t length = 1; length <= 70; ++length) {
        lengths.push_back(length);
    }
    lengths.insert(lengths.end(), {127, 128, 129, 1023, 1024, 1025});
    return lengths;
}

std::vector<float> MakeNoise(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> level(-1.0F, 1.0F);
    std::vector<float> noise(count);
    for (float& sample : noise) {
        sample = level(random);
    }
    return noise;
}

class KernelsOfEachVariant : public testing::TestWithParam<std::int64_t> {
protected:
    /// Calls body(length, shift) for arrays that begin `shift` floats past an aligned address.
    template<class Body>
    static void ForLengthsAndShifts(Body body) {
        for (const std::size_t length : GetLengths()) {
            for (const std::size_t shift : {0U, 1U, 3U, 5U}) {
                body(length, shift);
            }
        }
    }

    ForcedVariant forced{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(
    Variants, KernelsOfEachVariant, testing::ValuesIn(GetKernelVariants()),
    [](const testing::TestParamInfo<std::int64_t>& variant) { return GetVariantName(variant.param); });

TEST_P(KernelsOfEachVariant, Set_fills_the_array_and_no_more) {
    ForLengthsAndShifts([](std::size_t length, std::size_t shift) {
        std::vector<float> data(length + shift + 8, -1.0F);
        std::vector<float> wanted = data;
        std::fill_n(wanted.begin() + static_cast<std::ptrdiff_t>(shift), length, 0.25F);
        Kernels::Set(data.data() + shift, 0.25F, length);
        ASSERT_EQ(data, wanted) << length << " at " << shift;
    });
}

TEST_P(KernelsOfEachVariant, Add_adds_each_element_once) {
    ForLengthsAndShifts([](std::size_t length, std::size_t shift) {
        std::vector<float> data = MakeNoise(length + shift + 8, 1);
        const std::vector<float> source = MakeNoise(length + 4, 2);
        std::vector<float> wanted = data;
        for (std::size_t i = 0; i < length; ++i) {
            wanted[shift + i] += source[1 + i];
        }
        Kernels::Add(data.data() + shift, source.data() + 1, length);
        ASSERT_EQ(data, wanted) << length << " at " << shift;
    });
}

TEST_P(KernelsOfEachVariant, Multiply_multiplies_each_element_once) {
    ForLengthsAndShifts([](std::size_t length, std::size_t shift) {
        std::vector<float> data = MakeNoise(length + shift + 8, 3);
        const std::vector<float> source = MakeNoise(length + 4, 4);
        std::vector<float> wanted = data;
        for (std::size_t i = 0; i < length; ++i) {
            wanted[shift + i] *= source[2 + i];
        }
        Kernels::Multiply(data.data() + shift, source.data() + 2, length);
        ASSERT_EQ(data, wanted) << length << " at " << shift;
    });
}

TEST_P(KernelsOfEachVariant, An_array_may_be_its_own_source) {
    std::vector<float> data = MakeNoise(101, 5);
    std::vector<float> doubled = data;
    std::vector<float> squared = data;
    for (std::size_t i = 0; i < data.size(); ++i) {
        doubled[i] += data[i];
        squared[i] *= data[i];
    }
    std::vector<float> sum = data;
    Kernels::Add(sum.data(), sum.data(), sum.size());
    EXPECT_EQ(sum, doubled);
    Kernels::Multiply(data.data(), data.data(), data.size());
    EXPECT_EQ(data, squared);
}

TEST_P(KernelsOfEachVariant, Complex_products_accumulate) {
    ForLengthsAndShifts([](std::size_t bins, std::size_t shift) {
        std::vector<float> sum = MakeNoise(2 * bins + shift + 8, 6);
        const std::vector<float> a = MakeNoise(2 * bins + 1, 7);
        const std::vector<float> b = MakeNoise(2 * bins + 3, 8);
        const std::vector<float> before = sum;
        Kernels::MultiplyAccumulateComplex(sum.data() + shift, a.data() + 1, b.data() + 3, bins);
        for (std::size_t i = 0; i < bins; ++i) {
            const std::size_t at = shift + 2 * i;
            const std::complex<double> wanted = std::complex<double>(before[at], before[at + 1]) +
                                                std::complex<double>(a[1 + 2 * i], a[2 + 2 * i]) *
                                                    std::complex<double>(b[3 + 2 * i], b[4 + 2 * i]);
            ASSERT_NEAR(static_cast<double>(sum[at]), wanted.real(), 1e-6) << bins << " bins, bin " << i;
            ASSERT_NEAR(static_cast<double>(sum[at + 1]), wanted.imag(), 1e-6) << bins << " bins, bin " << i;
        }
        ASSERT_TRUE(std::equal(
            before.begin() + static_cast<std::ptrdiff_t>(shift + 2 * bins), before.end(),
            sum.begin() + static_cast<std::ptrdiff_t>(shift + 2 * bins)));
    });
}

TEST_P(KernelsOfEachVariant, Split_products_accumulate) {
    ForLengthsAndShifts([](std::size_t bins, std::size_t shift) {
        std::vector<float> re = MakeNoise(bins + shift + 8, 9);
        std::vector<float> im = MakeNoise(bins + shift + 8, 10);
        const std::vector<float> aRe = MakeNoise(bins + 1, 11);
        const std::vector<float> aIm = MakeNoise(bins, 12);
        const std::vector<float> bRe = MakeNoise(bins, 13);
        const std::vector<float> bIm = MakeNoise(bins, 14);
        const std::vector<float> reBefore = re;
        const std::vector<float> imBefore = im;
        Kernels::MultiplyAccumulateSplit(
            re.data() + shift, im.data() + shift, aRe.data() + 1, aIm.data(), bRe.data(), bIm.data(), bins);
        for (std::size_t i = 0; i < bins; ++i) {
            const std::complex<double> wanted =
                std::complex<double>(reBefore[shift + i], imBefore[shift + i]) +
                std::complex<double>(aRe[i + 1], aIm[i]) * std::complex<double>(bRe[i], bIm[i]);
            ASSERT_NEAR(static_cast<double>(re[shift + i]), wanted.real(), 1e-6)
                << bins << " bins, bin " << i;
            ASSERT_NEAR(static_cast<double>(im[shift + i]), wanted.imag(), 1e-6)
                << bins << " bins, bin " << i;
        }
        for (std::size_t i = shift + bins; i < re.size(); ++i) {
            ASSERT_EQ(re[i], reBefore[i]);
            ASSERT_EQ(im[i], imBefore[i]);
        }
    });
}

TEST(VectorKernelsTest, Copies_fills_and_zeroes_touch_their_range_alone) {
    const std::vector<float> source = MakeNoise(40, 15);
    std::vector<float> data(40, 7.0F);
    Kernels::Copy(data.data() + 3, source.data() + 5, 20);
    for (std::size_t i = 0; i < data.size(); ++i) {
        EXPECT_EQ(data[i], i >= 3 && i < 23 ? source[i + 2] : 7.0F);
    }
    Kernels::Zero(data.data() + 10, 5);
    EXPECT_EQ(data[9], source[11]);
    EXPECT_EQ(std::count(data.begin() + 10, data.begin() + 15, 0.0F), 5);
    EXPECT_EQ(data[15], source[17]);

    std::vector<std::uint8_t> bytes(16, 9);
    Kernels::Set(bytes.data() + 2, std::uint8_t{200}, 5);
    Kernels::Zero(bytes.data() + 4, 1);
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{9, 9, 200, 200, 0, 200, 200, 9, 9, 9, 9, 9, 9, 9, 9, 9}));
    std::vector<std::uint8_t> copied(16, 1);
    Kernels::Copy(copied.data() + 1, bytes.data() + 3, 4);
    EXPECT_EQ(copied, (std::vector<std::uint8_t>{1, 200, 0, 200, 200, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}));
}

TEST(VectorKernelsTest, Move_copes_with_overlap_in_both_directions) {
    std::vector<float> data{0, 1, 2, 3, 4, 5, 6, 7};
    Kernels::Move(data.data() + 2, data.data(), 6);
    EXPECT_EQ(data, (std::vector<float>{0, 1, 0, 1, 2, 3, 4, 5}));
    Kernels::Move(data.data(), data.data() + 2, 6);
    EXPECT_EQ(data, (std::vector<float>{0, 1, 2, 3, 4, 5, 4, 5}));
    std::vector<std::uint8_t> bytes{0, 1, 2, 3, 4};
    Kernels::Move(bytes.data() + 1, bytes.data(), 4);
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0, 0, 1, 2, 3}));
}

TEST_P(KernelsOfEachVariant, Long_copies_and_moves_are_exact_for_each_overlap) {
    for (const std::size_t length : {511U, 512U, 515U, 1021U, 4099U}) {
        const std::vector<float> before = MakeNoise(length + 1100, 16);
        for (const std::size_t from : {0U, 1U, 7U, 33U, 1000U}) {
            for (const std::size_t to : {0U, 1U, 7U, 34U, 1000U}) {
                std::vector<float> wanted = before;
                for (std::size_t i = 0; i < length; ++i) {
                    wanted[to + i] = before[from + i];
                }
                std::vector<float> moved = before;
                Kernels::Move(moved.data() + to, moved.data() + from, length);
                ASSERT_EQ(moved, wanted) << length << " from " << from << " to " << to;
                std::vector<float> copied = before;
                Kernels::Copy(copied.data() + to, before.data() + from, length);
                ASSERT_EQ(copied, wanted) << length << " from " << from << " to " << to;
            }
        }
    }
}

TEST(VectorKernelsTest, The_packed_form_becomes_bins_with_two_real_ends) {
    const std::vector<float> packed{1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<float> bins(10, -1.0F);
    Kernels::PackedToComplex(bins.data(), packed.data(), 3);
    EXPECT_EQ(bins, (std::vector<float>{1, 0, 3, 4, 5, 6, 7, 8, 2, 0}));
    std::vector<float> back(8, -1.0F);
    Kernels::ComplexToPacked(back.data(), bins.data(), 3);
    EXPECT_EQ(back, packed);
}

TEST(VectorKernelsTest, Unpacking_and_packing_work_in_place_down_to_the_smallest_size) {
    for (unsigned order = 1; order <= 6; ++order) {
        const std::size_t size = std::size_t{1} << order;
        const std::vector<float> packed = MakeNoise(size, order);
        std::vector<float> apart(size + 2);
        Kernels::PackedToComplex(apart.data(), packed.data(), order);
        std::vector<float> data = packed;
        data.resize(size + 2, -1.0F);
        Kernels::PackedToComplex(data.data(), data.data(), order);
        EXPECT_EQ(data, apart);
        Kernels::ComplexToPacked(data.data(), data.data(), order);
        data.resize(size);
        EXPECT_EQ(data, packed);
    }
}

#ifndef NDEBUG
// What uses the kernels is tested with this watch on: a caller that forgot to look ends its own tests.
TEST(VectorKernelsDeathTest, A_length_of_0_is_caught_where_assertions_are) {
    float a[4] = {};
    float b[4] = {};
    std::uint8_t bytes[4] = {};
    EXPECT_DEATH(Kernels::Copy(a, b, 0), "count");
    EXPECT_DEATH(Kernels::Move(a, b, 0), "count");
    EXPECT_DEATH(Kernels::Zero(a, 0), "count");
    EXPECT_DEATH(Kernels::Set(a, 1.0F, 0), "count");
    EXPECT_DEATH(Kernels::Add(a, b, 0), "count");
    EXPECT_DEATH(Kernels::Multiply(a, b, 0), "count");
    EXPECT_DEATH(Kernels::MultiplyAccumulateComplex(a, b, b, 0), "bins");
    EXPECT_DEATH(Kernels::MultiplyAccumulateSplit(a, a + 2, b, b + 2, b, b + 2, 0), "bins");
    EXPECT_DEATH(Kernels::Copy(bytes, bytes, 0), "count");
    EXPECT_DEATH(Kernels::Move(bytes, bytes, 0), "count");
    EXPECT_DEATH(Kernels::Zero(bytes, 0), "count");
    EXPECT_DEATH(Kernels::Set(bytes, 1, 0), "count");
}
#endif

TEST(VectorKernelsTest, No_kernel_allocates) {
    std::vector<float> a = MakeNoise(514, 1);
    std::vector<float> b = MakeNoise(514, 2);
    std::vector<float> sum = MakeNoise(514, 3);
    const std::size_t before = AllocationCount();
    Kernels::Set(a.data(), 0.5F, 512);
    Kernels::Add(a.data(), b.data(), 512);
    Kernels::Multiply(a.data(), b.data(), 512);
    Kernels::MultiplyAccumulateComplex(sum.data(), a.data(), b.data(), 256);
    Kernels::MultiplyAccumulateSplit(
        sum.data(), sum.data() + 257, a.data(), a.data() + 257, b.data(), b.data() + 257, 257);
    Kernels::PackedToComplex(sum.data(), a.data(), 9);
    Kernels::ComplexToPacked(b.data(), sum.data(), 9);
    EXPECT_EQ(AllocationCount(), before);
}

} // namespace
} // namespace DSP::Testing
