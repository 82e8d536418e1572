#include "hosting/dx/Interleave.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

namespace Tarvik {
namespace {

TEST(Interleave, Frames_follow_each_other_and_come_back) {
    std::mt19937 random(5);
    std::uniform_real_distribution<float> value(-1.0f, 1.0f);
    for (const std::size_t channels : {1U, 2U, 3U, 6U, 24U}) {
        for (const std::uint32_t frames : {0U, 1U, 2U, 3U, 17U, 512U}) {
            std::vector<std::vector<float>> audio(channels, std::vector<float>(frames));
            std::vector<const float*> in;
            for (auto& channel : audio) {
                std::generate(channel.begin(), channel.end(), [&] { return value(random); });
                in.push_back(channel.data());
            }
            // One beyond the end, which stays.
            std::vector<float> mixed(frames * channels + 1, 9.0f);
            interleave(in, frames, mixed.data());
            for (std::size_t channel = 0; channel < channels; ++channel) {
                for (std::size_t frame = 0; frame < frames; ++frame) {
                    ASSERT_EQ(mixed[frame * channels + channel], audio[channel][frame]);
                }
            }
            EXPECT_EQ(mixed.back(), 9.0f);

            constexpr std::uint32_t first = 3;
            std::vector<std::vector<float>> back(channels, std::vector<float>(first + frames + 1, 9.0f));
            std::vector<float*> out;
            std::transform(back.begin(), back.end(), std::back_inserter(out), [](auto& channel) {
                return channel.data();
            });
            deinterleave(mixed.data(), frames, out, first);
            for (std::size_t channel = 0; channel < channels; ++channel) {
                EXPECT_TRUE(
                    std::equal(audio[channel].begin(), audio[channel].end(), back[channel].begin() + first));
                EXPECT_EQ(std::count(back[channel].begin(), back[channel].begin() + first, 9.0f), first);
                EXPECT_EQ(back[channel].back(), 9.0f);
            }
        }
    }
}

} // namespace
} // namespace Tarvik
