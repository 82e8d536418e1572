#include "dsp/BypassCrossfader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace DSP {
namespace {

using ::testing::Each;
using State = BypassCrossfader::State;

/// The weight of the dry signal: the wet one is 0, the dry one 1.
std::vector<float> run(BypassCrossfader& fader, std::uint32_t frames) {
    std::vector<float> dry(frames, 1.0F);
    std::vector<float> wet(frames, 0.0F);
    const float* dryChannels[] = {dry.data()};
    float* wetChannels[] = {wet.data()};
    fader.Process(frames, dryChannels, wetChannels);
    return wet;
}

float weight(std::uint32_t i, std::uint32_t length) {
    return 0.5F - 0.5F * std::cos(static_cast<float>(i) * 3.14159265F / static_cast<float>(length));
}

TEST(BypassCrossfaderTest, Starts_wet) {
    BypassCrossfader fader(1, 8);
    EXPECT_EQ(fader.GetState(), State::Wet);
    EXPECT_THAT(run(fader, 5), Each(0.0F));
}

TEST(BypassCrossfaderTest, Fades_to_dry_along_half_a_cosine_and_stays_there) {
    BypassCrossfader fader(1, 8);
    fader.SetTarget(true);
    EXPECT_EQ(fader.GetState(), State::ToDry);
    const auto out = run(fader, 12);
    for (std::uint32_t i = 0; i < 12; ++i) {
        EXPECT_FLOAT_EQ(out[i], i < 8 ? weight(i, 8) : 1.0F) << i;
    }
    EXPECT_EQ(fader.GetState(), State::Dry);
    EXPECT_THAT(run(fader, 5), Each(1.0F));
}

TEST(BypassCrossfaderTest, Fades_back_to_wet) {
    BypassCrossfader fader(1, 8);
    fader.SetTarget(true, true);
    fader.SetTarget(false);
    EXPECT_EQ(fader.GetState(), State::ToWet);
    const auto out = run(fader, 12);
    for (std::uint32_t i = 0; i < 12; ++i) {
        EXPECT_NEAR(out[i], i < 8 ? 1.0F - weight(i, 8) : 0.0F, 1e-6F) << i;
    }
    EXPECT_EQ(fader.GetState(), State::Wet);
}

TEST(BypassCrossfaderTest, A_fade_continues_over_blocks) {
    BypassCrossfader fader(1, 8);
    fader.SetTarget(true);
    EXPECT_FLOAT_EQ(run(fader, 3)[2], weight(2, 8));
    EXPECT_FLOAT_EQ(run(fader, 3)[0], weight(3, 8));
    EXPECT_EQ(fader.GetState(), State::ToDry);
    run(fader, 2);
    EXPECT_EQ(fader.GetState(), State::Dry);
}

TEST(BypassCrossfaderTest, A_change_of_mind_turns_the_fade_round_mirrored) {
    BypassCrossfader fader(1, 10);
    fader.SetTarget(true);
    run(fader, 4);
    fader.SetTarget(false);
    EXPECT_EQ(fader.GetState(), State::ToWet);
    // From position 10 - 4 - 1.
    const auto back = run(fader, 2);
    EXPECT_NEAR(back[0], 1.0F - weight(5, 10), 1e-6F);
    EXPECT_NEAR(back[1], 1.0F - weight(6, 10), 1e-6F);
    fader.SetTarget(true);
    EXPECT_EQ(fader.GetState(), State::ToDry);
    // From position 10 - 7 - 1.
    EXPECT_NEAR(run(fader, 1)[0], weight(2, 10), 1e-6F);
}

TEST(BypassCrossfaderTest, A_change_of_mind_before_the_first_sample_starts_at_the_end) {
    BypassCrossfader fader(1, 10);
    fader.SetTarget(true);
    fader.SetTarget(false);
    EXPECT_EQ(fader.GetState(), State::ToWet);
    run(fader, 1);
    EXPECT_EQ(fader.GetState(), State::Wet);
}

TEST(BypassCrossfaderTest, Skipping_the_fade_is_there_at_once_in_both_directions) {
    BypassCrossfader fader(1, 8);
    fader.SetTarget(true, true);
    EXPECT_EQ(fader.GetState(), State::Dry);
    EXPECT_THAT(run(fader, 3), Each(1.0F));
    fader.SetTarget(false, true);
    EXPECT_EQ(fader.GetState(), State::Wet);
    EXPECT_THAT(run(fader, 3), Each(0.0F));
}

TEST(BypassCrossfaderTest, Skipping_ends_a_fade_under_way) {
    BypassCrossfader fader(1, 8);
    fader.SetTarget(true);
    run(fader, 3);
    fader.SetTarget(true, true);
    EXPECT_EQ(fader.GetState(), State::Dry);
    fader.SetTarget(false);
    run(fader, 3);
    fader.SetTarget(false, true);
    EXPECT_EQ(fader.GetState(), State::Wet);
    fader.SetTarget(true);
    EXPECT_FLOAT_EQ(run(fader, 1)[0], weight(0, 8)) << "the next fade starts at its beginning";
}

TEST(BypassCrossfaderTest, A_skip_is_for_its_own_change_alone) {
    BypassCrossfader fader(1, 8);
    fader.SetTarget(false, true);
    fader.SetTarget(true);
    EXPECT_EQ(fader.GetState(), State::ToDry);
}

TEST(BypassCrossfaderTest, A_length_of_zero_is_a_fade_of_one_sample) {
    BypassCrossfader fader(1, 0);
    EXPECT_EQ(fader.GetLength(), 1U);
    fader.SetTarget(true);
    const auto out = run(fader, 2);
    EXPECT_EQ(out[0], 0.0F);
    EXPECT_EQ(out[1], 1.0F);
}

TEST(BypassCrossfaderTest, A_shorter_length_ends_a_fade_that_is_past_it) {
    BypassCrossfader fader(1, 100);
    fader.SetTarget(true);
    run(fader, 50);
    fader.SetLength(20);
    EXPECT_EQ(fader.GetState(), State::Dry);
    fader.SetTarget(false);
    run(fader, 5);
    fader.SetLength(40);
    EXPECT_EQ(fader.GetState(), State::ToWet);
    EXPECT_NEAR(run(fader, 1)[0], 1.0F - weight(5, 40), 1e-6F);
}

} // namespace
} // namespace DSP
