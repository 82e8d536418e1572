// The unprocessed signal beside the processed one.

#include "AudioPathCount.h"
#include "TestElement.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace DSP::Testing {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

class ElementDryPathTest : public ::testing::Test {
protected:
    /// A bypassed element whose DSP leaves nothing of what went in.
    static void Bypass(TestElement& element) {
        element.enabled = false;
        element.dsp = [](std::uint32_t, std::uint32_t frames, float** channels) {
            std::fill_n(channels[0], frames, -1.0F);
        };
        element.EnableDryPath(true);
        element.Reset();
    }

    static std::vector<float>
    Run(TestElement& element, std::vector<float> samples, std::uint32_t stream = 0) {
        TestAudio audio(1, 0);
        audio.channels[0] = std::move(samples);
        element.Process(stream, static_cast<std::uint32_t>(audio.channels[0].size()), audio.GetPointers());
        return audio.channels[0];
    }

    TestElementHost host;
};

TEST_F(ElementDryPathTest, Each_stream_has_a_delay_of_its_own) {
    TestElement element(host, mono, {.numStreams = 3});
    element.latency = 2;
    Bypass(element);
    EXPECT_THAT(Run(element, {1, 2, 3}, 0), ElementsAre(0, 0, 1));
    EXPECT_THAT(Run(element, {10, 20, 30}, 1), ElementsAre(0, 0, 10));
    EXPECT_THAT(Run(element, {100, 200, 300}, 2), ElementsAre(0, 0, 100));
    EXPECT_THAT(Run(element, {4, 5, 6}, 0), ElementsAre(2, 3, 4));
    EXPECT_THAT(Run(element, {40, 50, 60}, 1), ElementsAre(20, 30, 40));
    EXPECT_THAT(Run(element, {400, 500, 600}, 2), ElementsAre(200, 300, 400));
    element.Reset();
    for (const std::uint32_t stream : {0U, 1U, 2U}) {
        EXPECT_THAT(Run(element, {7, 8, 9}, stream), ElementsAre(0, 0, 7)) << stream;
    }
}

TEST_F(ElementDryPathTest, The_delay_of_every_stream_is_the_latency_of_the_first) {
    struct ByStream : TestElement {
        using TestElement::TestElement;
        std::uint32_t DoGetLatency(std::uint32_t stream) const override { return stream == 0 ? 1 : 3; }
    } element(host, mono, {.numStreams = 2});
    Bypass(element);
    EXPECT_EQ(element.GetLatency(1), 3U);
    EXPECT_THAT(Run(element, {1, 2, 3, 4}, 1), ElementsAre(0, 1, 2, 3));
}

TEST_F(ElementDryPathTest, A_latency_up_to_the_largest_is_followed_and_one_beyond_is_not) {
    TestElement element(host);
    element.maxLatency = 3;
    element.latency = 3;
    Bypass(element);
    EXPECT_THAT(Run(element, {1, 2, 3, 4, 5}), ElementsAre(0, 0, 0, 1, 2));
    element.latency = 4;
    EXPECT_THAT(Run(element, {6, 7, 8, 9}), ElementsAre(3, 4, 5, 6));
    element.Reset();
    EXPECT_THAT(Run(element, {1, 2, 3, 4, 5}), ElementsAre(0, 0, 0, 1, 2));
}

TEST_F(ElementDryPathTest, After_Reset_a_new_latency_stands_at_once) {
    TestElement element(host);
    Bypass(element);
    Run(element, {1, 2, 3, 4});
    element.latency = 3;
    Run(element, {5, 6});
    element.latency = 2;
    Run(element, {7, 8});
    element.Reset();
    // One that cannot be followed, so that what stands shows.
    element.latency = element.maxLatency + 1;
    EXPECT_THAT(Run(element, {1, 2, 3, 4}), ElementsAre(0, 0, 1, 2)) << "the one that waited for its fade";
}

TEST_F(ElementDryPathTest, Turning_it_on_again_leaves_what_is_in_the_delay) {
    TestElement element(host);
    element.latency = 2;
    Bypass(element);
    Run(element, {1, 2, 3});
    element.EnableDryPath(true);
    EXPECT_THAT(Run(element, {4, 5, 6}), ElementsAre(2, 3, 4));
    element.EnableDryPath(false);
    EXPECT_THAT(Run(element, {7, 8, 9}), Each(-1.0F));
    element.EnableDryPath(true);
    EXPECT_THAT(Run(element, {10, 11}), ElementsAre(5, 6)) << "what went by meanwhile is not in it";
}

TEST_F(ElementDryPathTest, Turning_it_on_reserves_what_the_largest_block_takes) {
    TestElement element(host, stereo);
    element.EnableDryPath(true);
    TestAudio audio(2, host.maxBlockSize, 0.5F);
    float** const pointers = audio.GetPointers();
    std::uint32_t used = 0;
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) { used = host.GetScratchUsed(); };
    const AudioPathCounts before = GetAudioPathCounts();
    element.Process(host.maxBlockSize, pointers);
    EXPECT_EQ(GetAudioPathCounts().allocations, before.allocations);
    EXPECT_EQ(used, element.GetScratchBytes());
}

TEST_F(ElementDryPathTest, The_bypass_is_looked_at_behind_the_hooks_and_the_DSP) {
    struct Ordered : TestElement {
        using TestElement::TestElement;
        bool IsEnabled(std::uint32_t stream) const override {
            log.push_back("IsEnabled " + std::to_string(stream));
            return true;
        }
        void OnProcessed(std::uint32_t frames, float**) override {
            log.push_back("OnProcessed " + std::to_string(frames));
        }
        void OnDrySignal(std::uint32_t frames, float**) override {
            log.push_back("OnDrySignal " + std::to_string(frames));
        }
        void ProcessStream(std::uint32_t stream, std::uint32_t, float**) override {
            log.push_back("ProcessStream " + std::to_string(stream));
        }
        mutable std::vector<std::string> log;
    } element(host, mono, {.numStreams = 2});
    Run(element, {1, 2, 3});
    EXPECT_THAT(element.log, ElementsAre("ProcessStream 0")) << "without a dry path";
    element.EnableDryPath(true);
    element.log.clear();
    Run(element, {1, 2, 3}, 1);
    EXPECT_THAT(element.log, ElementsAre("ProcessStream 1", "OnProcessed 3", "OnDrySignal 3", "IsEnabled 0"));
}

TEST_F(ElementDryPathTest, ClearState_leaves_the_delay_and_the_bypass_and_zeroes_the_positions) {
    TestElement element(host, mono, {.fadeTime = 0.0F});
    element.latency = 2;
    Bypass(element);
    element.SetBlockPositions({1U, 2U});
    std::vector<BlockPositions> positions;
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) {
        positions.push_back(element.GetBlockPositions());
    };
    Run(element, {1, 2, 3});
    element.ClearState();
    element.enabled = true;
    EXPECT_THAT(Run(element, {4, 5, 6}), ElementsAre(2, 5, 6)) << "a fade, as without ClearState";
    ASSERT_EQ(positions.size(), 2U);
    EXPECT_TRUE(positions[0].start.valid);
    EXPECT_FALSE(positions[1].start.valid);
    EXPECT_FALSE(positions[1].end.valid);
    EXPECT_EQ(element.resets, 1U);
}

} // namespace
} // namespace DSP::Testing
