#include "audio/decode/SampleConversion.h"

#include "svbase/util/HighwayTargets.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <hwy/highway.h>
#include <hwy/targets.h>

namespace {

using Audio::Decode::SampleEncoding;

constexpr SampleEncoding encodings[] = {
    SampleEncoding::Int16Little,   SampleEncoding::Int16Big,    SampleEncoding::Int24Little,
    SampleEncoding::Int24Big,      SampleEncoding::Int32Little, SampleEncoding::Int32Big,
    SampleEncoding::Float32Little, SampleEncoding::Float32Big,
};

bool isBig(SampleEncoding encoding) {
    return static_cast<unsigned>(encoding) % 2 != 0;
}
bool isFloat(SampleEncoding encoding) {
    return encoding >= SampleEncoding::Float32Little;
}

/// The slow and obvious way: the bytes as an integer of their own width, in 64 bits.
std::int64_t integerAt(SampleEncoding encoding, const std::uint8_t* bytes) {
    const std::size_t width = Audio::Decode::bytesOf(encoding);
    std::int64_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
        value = value * 256 + bytes[isBig(encoding) ? i : width - 1 - i];
    }
    const std::int64_t range = std::int64_t{1} << (8 * width);
    return value >= range / 2 ? value - range : value;
}

float floatAt(SampleEncoding encoding, const std::uint8_t* bytes) {
    const std::int64_t value = integerAt(encoding, bytes);
    if (isFloat(encoding)) {
        return std::bit_cast<float>(static_cast<std::int32_t>(value));
    }
    const int bits = static_cast<int>(8 * Audio::Decode::bytesOf(encoding));
    return static_cast<float>(std::ldexp(static_cast<double>(value), 1 - bits));
}

std::int16_t int16At(SampleEncoding encoding, const std::uint8_t* bytes) {
    if (!isFloat(encoding)) {
        const double shift = std::ldexp(1.0, static_cast<int>(8 * Audio::Decode::bytesOf(encoding)) - 16);
        return static_cast<std::int16_t>(std::floor(static_cast<double>(integerAt(encoding, bytes)) / shift));
    }
    const double value = static_cast<double>(floatAt(encoding, bytes)) * 32768.0;
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<std::int16_t>(std::nearbyint(std::min(std::max(value, -32768.0), 32767.0)));
}

void expectSame(float got, float expected) {
    ASSERT_EQ(std::bit_cast<std::uint32_t>(got), std::bit_cast<std::uint32_t>(expected));
}
void expectSame(std::int16_t got, std::int16_t expected) {
    ASSERT_EQ(got, expected);
}
void expected(SampleEncoding encoding, const std::uint8_t* bytes, float& value) {
    value = floatAt(encoding, bytes);
}
void expected(SampleEncoding encoding, const std::uint8_t* bytes, std::int16_t& value) {
    value = int16At(encoding, bytes);
}

/// Random samples, among them the ends of each range and what floats have beside numbers.
std::vector<std::uint8_t> someBytes(SampleEncoding encoding, std::size_t samples) {
    std::mt19937 random(static_cast<unsigned>(encoding) + 1);
    const std::size_t width = Audio::Decode::bytesOf(encoding);
    constexpr std::uint32_t ends[] = {0,          0xFFFFFFFF, 0x80000000, 0x7FFFFFFF,
                                      0x00000001, 0x80000001, 0x00000080};
    constexpr float floats[] = {0.0F,  -0.0F,        1.0F,         -1.0F,         1.5F,
                                -1.5F, 0.5F / 32768, 1.5F / 32768, -2.5F / 32768, 32766.5F / 32768,
                                1e30F, -1e30F,       1e-40F};
    constexpr float infinity = std::numeric_limits<float>::infinity();
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < samples; ++i) {
        std::uint32_t value = static_cast<std::uint32_t>(random());
        if (random() % 4 == 0) {
            value = ends[random() % std::size(ends)];
        } else if (isFloat(encoding)) {
            const auto pick = random() % 8;
            const float number = pick == 0   ? floats[random() % std::size(floats)]
                                 : pick == 1 ? (random() % 2 == 0 ? infinity : -infinity)
                                             : std::uniform_real_distribution<float>(-1.1F, 1.1F)(random);
            value = std::bit_cast<std::uint32_t>(number);
        }
        for (std::size_t k = 0; k < width; ++k) {
            // Of a narrow sample the upper bytes of the value: the ends stay ends.
            const std::size_t place = 4 - width + (isBig(encoding) ? width - 1 - k : k);
            bytes.push_back(static_cast<std::uint8_t>(value >> (8 * place)));
        }
    }
    return bytes;
}

/// Runs under each variant of the kernels that was built and that this processor has.
class SampleConversionTest : public testing::TestWithParam<std::int64_t> {
protected:
    void SetUp() override { force(GetParam()); }
    void TearDown() override { force(0); }

    static void force(std::int64_t variant) {
        hwy::SetSupportedTargetsForTest(variant);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    }

    /// Into arrays of one sample more on either side, which must stay as they are; the source ends where its
    /// memory does, so that AddressSanitizer sees a byte too many.
    template<class T>
    void checkInterleaved(SampleEncoding encoding, std::size_t count, std::size_t misalignment) {
        const std::vector<std::uint8_t> source = someBytes(encoding, count);
        std::vector<std::uint8_t> placed(misalignment);
        placed.insert(placed.end(), source.begin(), source.end());
        std::vector<T> got(count + 2, T{77});
        Audio::Decode::Convert(encoding, placed.data() + misalignment, count, got.data() + 1);
        ASSERT_EQ(got.front(), T{77});
        ASSERT_EQ(got.back(), T{77});
        for (std::size_t i = 0; i < count; ++i) {
            SCOPED_TRACE(i);
            T value{};
            expected(encoding, source.data() + i * Audio::Decode::bytesOf(encoding), value);
            expectSame(got[i + 1], value);
            if (HasFatalFailure()) {
                return;
            }
        }
    }

    template<class T>
    void checkDeinterleaved(SampleEncoding encoding, std::size_t channels, std::size_t frames) {
        const std::size_t width = Audio::Decode::bytesOf(encoding);
        const std::vector<std::uint8_t> source = someBytes(encoding, frames * channels);
        constexpr std::size_t offset = 3;
        std::vector<std::vector<T>> got(channels, std::vector<T>(offset + frames + 1, T{77}));
        std::vector<T*> arrays;
        for (std::vector<T>& array : got) {
            arrays.push_back(array.data());
        }
        Audio::Decode::Deinterleave(encoding, source.data(), frames, channels, arrays.data(), offset);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            SCOPED_TRACE(channel);
            ASSERT_EQ(got[channel][offset - 1], T{77});
            ASSERT_EQ(got[channel].back(), T{77});
            for (std::size_t i = 0; i < frames; ++i) {
                SCOPED_TRACE(i);
                T value{};
                expected(encoding, source.data() + (i * channels + channel) * width, value);
                expectSame(got[channel][offset + i], value);
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
};

TEST_P(SampleConversionTest, Interleaved_samples_are_those_of_the_obvious_arithmetic) {
    for (const SampleEncoding encoding : encodings) {
        for (std::size_t count = 0; count < 70; ++count) {
            SCOPED_TRACE(
                "encoding " + std::to_string(static_cast<int>(encoding)) + ", " + std::to_string(count));
            checkInterleaved<float>(encoding, count, count % 5);
            checkInterleaved<std::int16_t>(encoding, count, count % 5);
            ASSERT_FALSE(HasFatalFailure());
        }
        checkInterleaved<float>(encoding, 5000, 1);
        checkInterleaved<std::int16_t>(encoding, 5000, 1);
    }
}

TEST_P(SampleConversionTest, Deinterleaved_samples_are_those_of_the_obvious_arithmetic) {
    for (const SampleEncoding encoding : encodings) {
        for (const std::size_t channels : {1U, 2U, 3U, 6U}) {
            for (const std::size_t frames : {0U, 1U, 2U, 3U, 4U, 5U, 7U, 8U, 9U, 15U, 16U, 17U, 33U, 1500U}) {
                SCOPED_TRACE(
                    "encoding " + std::to_string(static_cast<int>(encoding)) + ", " +
                    std::to_string(channels) + " channels, " + std::to_string(frames) + " frames");
                checkDeinterleaved<float>(encoding, channels, frames);
                checkDeinterleaved<std::int16_t>(encoding, channels, frames);
                ASSERT_FALSE(HasFatalFailure());
            }
        }
    }
}

TEST_P(SampleConversionTest, More_channels_than_fit_into_a_block_are_taken_apart_too) {
    checkDeinterleaved<float>(SampleEncoding::Int24Big, 2048, 3);
    checkDeinterleaved<float>(SampleEncoding::Int16Little, 2049, 3);
    checkDeinterleaved<std::int16_t>(SampleEncoding::Float32Little, 5000, 2);
}

INSTANTIATE_TEST_SUITE_P(
    Variants, SampleConversionTest, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
    [](const testing::TestParamInfo<std::int64_t>& variant) {
        return std::string(hwy::TargetName(variant.param));
    });

TEST(SampleConversion, The_scales_are_powers_of_two) {
    const std::uint8_t least[] = {0x00, 0x80};
    const std::uint8_t one24[] = {0x01, 0x00, 0x00};
    const std::uint8_t most32[] = {0xFF, 0xFF, 0xFF, 0x7F};
    float value = 0;
    Audio::Decode::Convert(SampleEncoding::Int16Little, least, 1, &value);
    EXPECT_EQ(value, -1.0F);
    Audio::Decode::Convert(SampleEncoding::Int24Little, one24, 1, &value);
    EXPECT_EQ(value, 1.1920929e-7F);
    Audio::Decode::Convert(SampleEncoding::Int32Little, most32, 1, &value);
    EXPECT_EQ(value, 1.0F);
}

} // namespace
