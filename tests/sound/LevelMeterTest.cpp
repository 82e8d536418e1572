#include "audio/sound/LevelMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using Audio::Sound::LevelMeter;
using Audio::Sound::Levels;

Levels levelsOf(const std::vector<float>& samples) {
    LevelMeter meter;
    meter.add(samples.data(), samples.size());
    return meter.levels();
}

TEST(LevelMeter, Without_a_sample_there_are_no_levels) {
    const Levels levels = levelsOf({});
    EXPECT_FALSE(levels.peak);
    EXPECT_FALSE(levels.rms);
    EXPECT_EQ(levels.nanCount, 0U);
    EXPECT_EQ(levels.infiniteCount, 0U);
}

TEST(LevelMeter, Silence_has_levels_of_0) {
    const Levels levels = levelsOf({0.0F, -0.0F});
    EXPECT_EQ(levels.peak, checked_value<float>(0.0F));
    EXPECT_EQ(levels.rms, checked_value<double>(0.0));
}

TEST(LevelMeter, The_peak_is_the_greatest_magnitude_of_either_sign) {
    EXPECT_EQ(levelsOf({0.25F, -0.75F, 0.5F}).peak, checked_value<float>(0.75F));
    EXPECT_EQ(levelsOf({0.25F, -0.5F, 1.5F}).peak, checked_value<float>(1.5F));
}

TEST(LevelMeter, Rms_is_the_root_of_the_mean_square) {
    EXPECT_DOUBLE_EQ(levelsOf({3.0F, -4.0F, 0.0F, 0.0F}).rms.value, 2.5);
    EXPECT_DOUBLE_EQ(levelsOf({-0.5F}).rms.value, 0.5);
}

TEST(LevelMeter, What_is_no_finite_number_is_counted_and_left_out) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const Levels levels = levelsOf({nan, 0.5F, infinity, -0.5F, -infinity, -nan, nan});
    EXPECT_EQ(levels.peak, checked_value<float>(0.5F));
    EXPECT_DOUBLE_EQ(levels.rms.value, 0.5);
    EXPECT_EQ(levels.nanCount, 3U);
    EXPECT_EQ(levels.infiniteCount, 2U);
}

TEST(LevelMeter, Without_a_finite_sample_there_are_counts_alone) {
    const Levels levels = levelsOf({std::numeric_limits<float>::quiet_NaN()});
    EXPECT_FALSE(levels.peak);
    EXPECT_FALSE(levels.rms);
    EXPECT_EQ(levels.nanCount, 1U);
}

TEST(LevelMeter, The_largest_floats_do_not_overflow) {
    constexpr float most = std::numeric_limits<float>::max();
    const Levels levels = levelsOf({most, -most, most});
    EXPECT_EQ(levels.peak, checked_value<float>(most));
    EXPECT_DOUBLE_EQ(levels.rms.value, double{most});
    EXPECT_EQ(levels.infiniteCount, 0U);
}

TEST(LevelMeter, The_smallest_floats_do_not_vanish) {
    constexpr float least = std::numeric_limits<float>::denorm_min();
    EXPECT_EQ(levelsOf({least}).peak, checked_value<float>(least));
    EXPECT_DOUBLE_EQ(levelsOf({least}).rms.value, double{least});
}

TEST(LevelMeter, Pieces_give_the_levels_of_the_whole) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> uniform(-1, 1);
    std::vector<float> samples(10007);
    long double squares = 0;
    float peak = 0;
    for (float& sample : samples) {
        sample = uniform(random);
        squares += static_cast<long double>(sample) * static_cast<long double>(sample);
        peak = std::max(peak, std::fabs(sample));
    }
    LevelMeter meter;
    std::size_t done = 0;
    for (std::size_t piece = 0; done < samples.size(); ++piece) {
        const std::size_t count = std::min(piece * 7 % 613, samples.size() - done);
        meter.add(samples.data() + done, count);
        done += count;
    }
    EXPECT_EQ(meter.levels().peak, checked_value<float>(peak));
    const auto rms = std::sqrt(squares / static_cast<long double>(samples.size()));
    EXPECT_NEAR(meter.levels().rms.value, static_cast<double>(rms), 1e-13);
}

} // namespace
