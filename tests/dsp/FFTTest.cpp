#include "dsp/FFT.h"

#include "KernelVariants.h"
#include "dsp/KernelFailure.h"
#include "dsp/VectorKernels.h"
#include "support/AllocationCount.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numbers>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace DSP::Testing {
namespace {

using Bins = std::vector<std::complex<double>>;

std::vector<float> MakeNoise(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> level(-1.0F, 1.0F);
    std::vector<float> noise(count);
    for (float& sample : noise) {
        sample = level(random);
    }
    return noise;
}

std::vector<std::complex<double>> MakeRoots(std::size_t size) {
    std::vector<std::complex<double>> roots(size);
    for (std::size_t i = 0; i < size; ++i) {
        roots[i] =
            std::polar(1.0, -2.0 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(size));
    }
    return roots;
}

/// The definition, term by term, in double precision.
Bins TransformByDefinition(const std::vector<float>& signal) {
    const std::size_t size = signal.size();
    const std::vector<std::complex<double>> roots = MakeRoots(size);
    Bins bins(size / 2 + 1);
    for (std::size_t k = 0; k < bins.size(); ++k) {
        for (std::size_t n = 0; n < size; ++n) {
            bins[k] += static_cast<double>(signal[n]) * roots[n * k % size];
        }
    }
    return bins;
}

/// A recursive transform in double precision, for sizes at which the definition takes too long. roots: those
/// of the whole size, of which this level uses each `stride`-th.
std::vector<std::complex<double>> TransformByHalves(
    const std::vector<std::complex<double>>& signal, const std::vector<std::complex<double>>& roots,
    std::size_t stride) {
    const std::size_t size = signal.size();
    if (size == 1) {
        return signal;
    }
    std::vector<std::complex<double>> even(size / 2);
    std::vector<std::complex<double>> odd(size / 2);
    for (std::size_t i = 0; i < size / 2; ++i) {
        even[i] = signal[2 * i];
        odd[i] = signal[2 * i + 1];
    }
    even = TransformByHalves(even, roots, 2 * stride);
    odd = TransformByHalves(odd, roots, 2 * stride);
    std::vector<std::complex<double>> result(size);
    for (std::size_t k = 0; k < size / 2; ++k) {
        const std::complex<double> turned = roots[k * stride] * odd[k];
        result[k] = even[k] + turned;
        result[k + size / 2] = even[k] - turned;
    }
    return result;
}

Bins TransformByHalves(const std::vector<float>& signal) {
    const std::vector<std::complex<double>> all =
        TransformByHalves({signal.begin(), signal.end()}, MakeRoots(signal.size()), 1);
    return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(signal.size() / 2 + 1)};
}

Bins Unpack(const std::vector<float>& packed) {
    const std::size_t size = packed.size();
    Bins bins(size / 2 + 1);
    bins[0] = packed[0];
    if (size > 1) {
        bins[size / 2] = packed[1];
    }
    for (std::size_t k = 1; k < size / 2; ++k) {
        bins[k] = {packed[2 * k], packed[2 * k + 1]};
    }
    return bins;
}

template<class Value>
double GetRelativeError(const std::vector<Value>& got, const std::vector<Value>& wanted) {
    double error = 0.0;
    double power = 0.0;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        error += std::norm(std::complex<double>(got[i]) - std::complex<double>(wanted[i]));
        power += std::norm(std::complex<double>(wanted[i]));
    }
    return std::sqrt(error / power);
}

double GetBound(unsigned order) {
    return 1e-7 * (1.0 + order);
}

class Transformer {
public:
    explicit Transformer(unsigned order) : fft(CreateFFT(order)), buffer(fft->GetBufferBytes() + 1) {}

    std::vector<float> Forward(const std::vector<float>& signal) {
        std::vector<float> packed(signal.size());
        fft->Forward(signal.data(), packed.data(), buffer.data());
        return packed;
    }
    std::vector<float> Inverse(const std::vector<float>& packed) {
        std::vector<float> signal(packed.size());
        fft->Inverse(packed.data(), signal.data(), buffer.data());
        return signal;
    }

    std::unique_ptr<const FFT> fft;
    std::vector<std::byte> buffer;
};

/// Runs once for each variant of the kernels that this processor can run.
class FFTOfEachVariant : public testing::TestWithParam<std::int64_t> {
protected:
    ForcedVariant forced{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(
    Variants, FFTOfEachVariant, testing::ValuesIn(GetKernelVariants()),
    [](const testing::TestParamInfo<std::int64_t>& variant) { return GetVariantName(variant.param); });

TEST_P(FFTOfEachVariant, Forward_agrees_with_the_definition) {
    for (unsigned order = 0; order <= 10; ++order) {
        const std::vector<float> signal = MakeNoise(std::size_t{1} << order, order + 1);
        Transformer transformer(order);
        EXPECT_LT(
            GetRelativeError(Unpack(transformer.Forward(signal)), TransformByDefinition(signal)),
            GetBound(order))
            << "order " << order;
    }
}

TEST_P(FFTOfEachVariant, Forward_agrees_with_a_recursive_transform_at_large_sizes) {
    for (unsigned order = 11; order <= 18; ++order) {
        const std::vector<float> signal = MakeNoise(std::size_t{1} << order, order);
        Transformer transformer(order);
        const Bins wanted = TransformByHalves(signal);
        EXPECT_LT(GetRelativeError(Unpack(transformer.Forward(signal)), wanted), GetBound(order))
            << "order " << order;
    }
}

TEST_P(FFTOfEachVariant, Inverse_after_Forward_gives_the_signal_back) {
    for (unsigned order = 0; order <= 18; ++order) {
        const std::vector<float> signal = MakeNoise(std::size_t{1} << order, order + 100);
        Transformer transformer(order);
        EXPECT_LT(GetRelativeError(transformer.Inverse(transformer.Forward(signal)), signal), GetBound(order))
            << "order " << order;
    }
}

TEST_P(FFTOfEachVariant, Every_single_impulse_gives_its_row_of_the_definition) {
    for (unsigned order = 1; order <= 8; ++order) {
        const std::size_t size = std::size_t{1} << order;
        Transformer transformer(order);
        for (std::size_t position = 0; position < size; ++position) {
            std::vector<float> impulse(size, 0.0F);
            impulse[position] = 1.0F;
            const std::vector<float> packed = transformer.Forward(impulse);
            ASSERT_LT(GetRelativeError(Unpack(packed), TransformByDefinition(impulse)), GetBound(order))
                << "order " << order << " position " << position;
            ASSERT_LT(GetRelativeError(transformer.Inverse(packed), impulse), GetBound(order));
        }
    }
}

TEST_P(FFTOfEachVariant, Inverse_of_every_single_bin_is_its_wave) {
    for (unsigned order = 1; order <= 7; ++order) {
        const std::size_t size = std::size_t{1} << order;
        Transformer transformer(order);
        for (std::size_t i = 0; i < size; ++i) {
            std::vector<float> packed(size, 0.0F);
            packed[i] = 1.0F;
            const std::size_t bin = i == 0 ? 0 : i == 1 ? size / 2 : i / 2;
            const bool alone = i < 2;
            std::vector<float> wave(size);
            for (std::size_t n = 0; n < size; ++n) {
                const double angle =
                    2.0 * std::numbers::pi * static_cast<double>(bin * n % size) / static_cast<double>(size);
                const double value = alone || i % 2 == 0 ? std::cos(angle) : -std::sin(angle);
                wave[n] = static_cast<float>((alone ? 1.0 : 2.0) * value / static_cast<double>(size));
            }
            ASSERT_LT(GetRelativeError(transformer.Inverse(packed), wave), GetBound(order))
                << "order " << order << " packed index " << i;
        }
    }
}

TEST_P(FFTOfEachVariant, Power_is_the_same_on_both_sides) {
    for (unsigned order = 1; order <= 16; ++order) {
        const std::vector<float> signal = MakeNoise(std::size_t{1} << order, order + 7);
        Transformer transformer(order);
        const Bins bins = Unpack(transformer.Forward(signal));
        double inTime = 0.0;
        for (const float sample : signal) {
            inTime += static_cast<double>(sample) * static_cast<double>(sample);
        }
        double inFrequency = std::norm(bins.front()) + std::norm(bins.back());
        for (std::size_t k = 1; k + 1 < bins.size(); ++k) {
            inFrequency += 2.0 * std::norm(bins[k]);
        }
        EXPECT_NEAR(inFrequency / static_cast<double>(signal.size()) / inTime, 1.0, 1e-6)
            << "order " << order;
    }
}

TEST_P(FFTOfEachVariant, Results_do_not_depend_on_the_alignment_of_any_pointer) {
    for (unsigned order = 1; order <= 13; ++order) {
        const std::size_t size = std::size_t{1} << order;
        const std::vector<float> signal = MakeNoise(size, order);
        Transformer transformer(order);
        const std::vector<float> packed = transformer.Forward(signal);
        const std::vector<float> back = transformer.Inverse(packed);
        std::vector<float> from(size + 16);
        std::vector<float> to(size + 16);
        for (std::size_t shift = 1; shift < 8; shift += 2) {
            // One byte more for the work buffer: no alignment is promised for it.
            std::copy(signal.begin(), signal.end(), from.begin() + static_cast<std::ptrdiff_t>(shift));
            transformer.fft->Forward(
                from.data() + shift, to.data() + 8 - shift, transformer.buffer.data() + 1);
            ASSERT_TRUE(std::equal(
                packed.begin(), packed.end(), to.begin() + static_cast<std::ptrdiff_t>(8 - shift)));
            std::copy(packed.begin(), packed.end(), from.begin() + static_cast<std::ptrdiff_t>(shift));
            transformer.fft->Inverse(
                from.data() + shift, to.data() + 8 - shift, transformer.buffer.data() + 1);
            ASSERT_TRUE(
                std::equal(back.begin(), back.end(), to.begin() + static_cast<std::ptrdiff_t>(8 - shift)));
        }
    }
}

TEST_P(FFTOfEachVariant, In_place_gives_the_same_bits) {
    for (unsigned order = 0; order <= 14; ++order) {
        const std::vector<float> signal = MakeNoise(std::size_t{1} << order, order);
        Transformer transformer(order);
        const std::vector<float> packed = transformer.Forward(signal);
        const std::vector<float> back = transformer.Inverse(packed);
        std::vector<float> data = signal;
        transformer.fft->Forward(data.data(), data.data(), transformer.buffer.data());
        EXPECT_EQ(data, packed) << "order " << order;
        transformer.fft->Inverse(data.data(), data.data(), transformer.buffer.data());
        EXPECT_EQ(data, back) << "order " << order;
    }
}

TEST_P(FFTOfEachVariant, Nothing_outside_the_arrays_is_written) {
    constexpr float guard = 12345.0F;
    for (unsigned order = 0; order <= 9; ++order) {
        const std::size_t size = std::size_t{1} << order;
        const std::vector<float> signal = MakeNoise(size, order);
        Transformer transformer(order);
        std::vector<float> guarded(size + 32, guard);
        transformer.fft->Forward(signal.data(), guarded.data() + 16, transformer.buffer.data());
        transformer.fft->Inverse(signal.data(), guarded.data() + 16, transformer.buffer.data());
        for (std::size_t i = 0; i < 16; ++i) {
            ASSERT_EQ(guarded[i], guard);
            ASSERT_EQ(guarded[size + 16 + i], guard);
        }
    }
}

TEST_P(FFTOfEachVariant, Spectra_multiply_into_the_circular_convolution) {
    constexpr unsigned order = 7;
    constexpr std::size_t size = 1U << order;
    Transformer transformer(order);
    const std::vector<float> a = MakeNoise(size, 1);
    const std::vector<float> b = MakeNoise(size, 2);
    std::vector<float> spectrumA(size + 2);
    std::vector<float> spectrumB(size + 2);
    std::vector<float> product(size + 2, 0.0F);
    Kernels::PackedToComplex(spectrumA.data(), transformer.Forward(a).data(), order);
    Kernels::PackedToComplex(spectrumB.data(), transformer.Forward(b).data(), order);
    Kernels::MultiplyAccumulateComplex(product.data(), spectrumA.data(), spectrumB.data(), size / 2 + 1);
    std::vector<float> packed(size);
    Kernels::ComplexToPacked(packed.data(), product.data(), order);
    std::vector<double> wanted(size, 0.0);
    for (std::size_t i = 0; i < size; ++i) {
        for (std::size_t j = 0; j < size; ++j) {
            wanted[(i + j) % size] += static_cast<double>(a[i]) * static_cast<double>(b[j]);
        }
    }
    const std::vector<float> got = transformer.Inverse(packed);
    EXPECT_LT(GetRelativeError(std::vector<double>(got.begin(), got.end()), wanted), 1e-6);
}

TEST(FFTTest, More_than_one_variant_is_tested) {
    EXPECT_GE(GetKernelVariants().size(), 2U);
}

TEST(FFTTest, Calls_allocate_nothing) {
    for (unsigned order = 0; order <= 16; ++order) {
        const std::vector<float> signal = MakeNoise(std::size_t{1} << order, order);
        Transformer transformer(order);
        std::vector<float> packed(signal.size());
        const std::size_t before = AllocationCount();
        transformer.fft->Forward(signal.data(), packed.data(), transformer.buffer.data());
        transformer.fft->Inverse(packed.data(), packed.data(), transformer.buffer.data());
        EXPECT_EQ(AllocationCount(), before) << "order " << order;
    }
}

TEST(FFTTest, Allocations_are_counted) {
    const std::size_t before = AllocationCount();
    const std::vector<float> one(100);
    EXPECT_EQ(AllocationCount(), before + 1);
    EXPECT_EQ(one.size(), 100U);
}

TEST(FFTTest, One_state_serves_many_threads_at_once) {
    constexpr unsigned order = 10;
    const std::unique_ptr<const FFT> fft = CreateFFT(order);
    std::vector<std::vector<float>> signals;
    std::vector<std::vector<float>> wanted;
    for (unsigned i = 0; i < 4; ++i) {
        signals.push_back(MakeNoise(1U << order, i));
        wanted.push_back(Transformer(order).Forward(signals[i]));
    }
    std::vector<int> wrong(signals.size(), 0);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < signals.size(); ++i) {
        threads.emplace_back([&, i] {
            std::vector<std::byte> buffer(fft->GetBufferBytes());
            std::vector<float> packed(signals[i].size());
            for (int round = 0; round < 50; ++round) {
                fft->Forward(signals[i].data(), packed.data(), buffer.data());
                wrong[i] += packed == wanted[i] ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, std::vector<int>(signals.size(), 0));
}

TEST(FFTTest, A_state_knows_its_order_and_size) {
    for (unsigned order = 0; order <= 12; ++order) {
        const std::unique_ptr<const FFT> fft = CreateFFT(order);
        EXPECT_EQ(fft->GetOrder(), order);
        EXPECT_EQ(fft->GetSize(), 1U << order);
    }
}

TEST(FFTTest, The_largest_order_transforms_an_impulse_and_back) {
    Transformer transformer(maxFFTOrder);
    std::vector<float> signal(std::size_t{1} << maxFFTOrder, 0.0F);
    signal[12345] = 1.0F;
    std::vector<float> data(signal.size());
    transformer.fft->Forward(signal.data(), data.data(), transformer.buffer.data());
    for (const std::size_t bin : {std::size_t{1}, std::size_t{777}, std::size_t{4000001}}) {
        const double angle = -2.0 * std::numbers::pi * static_cast<double>(bin * 12345 % signal.size()) /
                             static_cast<double>(signal.size());
        EXPECT_NEAR(static_cast<double>(data[2 * bin]), std::cos(angle), 1e-5);
        EXPECT_NEAR(static_cast<double>(data[2 * bin + 1]), std::sin(angle), 1e-5);
    }
    transformer.fft->Inverse(data.data(), data.data(), transformer.buffer.data());
    EXPECT_LT(GetRelativeError(data, signal), GetBound(maxFFTOrder));
}

TEST(FFTTest, An_order_past_the_largest_throws_the_failure_with_its_text) {
    try {
        CreateFFT(maxFFTOrder + 1);
        FAIL() << "no exception";
    } catch (const KernelFailure& failure) {
        EXPECT_STREQ(failure.message().c_str(), "IPP failure: FFT order is out of range");
        EXPECT_TRUE(failure.file().endsWith("FFT.cpp"));
    }
}

TEST(FFTTest, Wherever_memory_ends_the_failure_says_so) {
    unsigned failures = 0;
    for (bool failed = true; failed;) {
        String message;
        FailAllocation(failures + 1);
        try {
            CreateFFT(10);
        } catch (const KernelFailure& failure) {
            message = failure.message();
        }
        failed = AllocationFailed();
        FailAllocation(0);
        EXPECT_STREQ(message.c_str(), failed ? "IPP failure: Not enough memory" : "") << failures;
        failures += failed;
    }
    EXPECT_GT(failures, 0U);
}

TEST(FFTTest, A_failure_without_a_status_has_the_plain_message) {
    EXPECT_STREQ(KernelFailure().message().c_str(), "IPP failure");
}

TEST(FFTTest, Each_status_has_a_text) {
    EXPECT_STREQ(GetStatusText(KernelStatus::Ok).c_str(), "No error");
    EXPECT_STREQ(GetStatusText(KernelStatus::OutOfMemory).c_str(), "Not enough memory");
    EXPECT_STREQ(GetStatusText(static_cast<KernelStatus>(77)).c_str(), "Unknown status");
}

} // namespace
} // namespace DSP::Testing
