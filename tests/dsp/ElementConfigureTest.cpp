// What Configure renews and what it keeps.

#include "AudioPathCount.h"
#include "TestElement.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace DSP::Testing {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

constexpr std::uint32_t surround = 8;

class ElementConfigureTest : public ::testing::Test {
protected:
    /// The frames that pass before each channel of a bypassed element is what went in.
    std::vector<std::uint32_t> FadeFrames(TestElement& element) {
        element.dsp = [&element](std::uint32_t, std::uint32_t frames, float** channels) {
            for (std::uint32_t channel = 0; channel < element.GetNumChannels(); ++channel) {
                std::fill_n(channels[channel], frames, 5.0F);
            }
        };
        element.enabled = true;
        element.EnableDryPath(true);
        element.Reset();
        element.enabled = false;
        TestAudio audio(element.GetNumChannels(), 4000, 1.0F);
        element.Process(4000, audio.GetPointers());
        std::vector<std::uint32_t> frames;
        for (const std::vector<float>& channel : audio.channels) {
            frames.push_back(static_cast<std::uint32_t>(
                channel.rend() -
                std::find_if(channel.rbegin(), channel.rend(), [](float sample) { return sample != 1.0F; })));
        }
        return frames;
    }

    TestElementHost host;
};

TEST_F(ElementConfigureTest, The_fade_lasts_its_time_at_the_elements_rate) {
    TestElement element(host);
    EXPECT_THAT(FadeFrames(element), ElementsAre(480));
    TestElement slow(host, stereo, {.fadeTime = 0.02F}, 44100.0F);
    EXPECT_THAT(FadeFrames(slow), ElementsAre(882, 882));
}

TEST_F(ElementConfigureTest, Another_rate_renews_the_length_of_the_fade) {
    TestElement element(host);
    FadeFrames(element);
    element.Configure(96000.0F, mono);
    EXPECT_THAT(FadeFrames(element), ElementsAre(960));
    element.Configure(44100.0F, mono);
    EXPECT_THAT(FadeFrames(element), ElementsAre(441));
}

TEST_F(ElementConfigureTest, Another_channel_count_fades_all_channels_as_long_as_before) {
    TestElement element(host);
    FadeFrames(element);
    element.Configure(48000.0F, surround);
    EXPECT_EQ(FadeFrames(element), std::vector<std::uint32_t>(6, 480));
    element.Configure(96000.0F, stereo);
    EXPECT_THAT(FadeFrames(element), ElementsAre(960, 960));
}

TEST_F(ElementConfigureTest, The_length_of_the_fade_rounds_half_a_sample_away_from_zero) {
    TestElement element(host, mono, {.fadeTime = 0.5F}, 5.0F);
    EXPECT_THAT(FadeFrames(element), ElementsAre(3)) << "of 2.5";
    element.Configure(4.5F, mono);
    EXPECT_THAT(FadeFrames(element), ElementsAre(2)) << "of 2.25";
    element.Configure(5.5F, mono);
    EXPECT_THAT(FadeFrames(element), ElementsAre(3)) << "of 2.75";
    TestElement backwards(host, mono, {.fadeTime = -0.5F});
    EXPECT_THAT(FadeFrames(backwards), ElementsAre(1)) << "no shorter than a sample";
}

TEST_F(ElementConfigureTest, The_adapters_keep_their_room_for_the_largest_block) {
    for (const std::uint32_t layout : {mono, stereo, surround}) {
        TestElement element(host, mono, {.numSidechains = 1, .numAuxOutputs = 1, .numStreams = 2});
        element.fixedBlock = 1000;
        element.Reset();
        element.Configure(96000.0F, layout);
        TestAudio audio(element.GetNumChannels(), host.maxBlockSize, 0.5F);
        float** const pointers = audio.GetPointers();
        for (const std::uint32_t stream : {0U, 1U}) {
            const AudioPathCounts before = GetAudioPathCounts();
            element.Process(stream, host.maxBlockSize, pointers);
            EXPECT_EQ(GetAudioPathCounts().allocations, before.allocations) << layout << " " << stream;
        }
    }
}

TEST_F(ElementConfigureTest, The_adapters_of_all_streams_keep_their_block_size_and_start_anew) {
    TestElement element(host, mono, {.numStreams = 2});
    element.fixedBlock = 3;
    element.Reset();
    TestAudio audio(1, 4, 9.0F);
    for (const std::uint32_t stream : {0U, 1U}) {
        element.Process(stream, 4, audio.GetPointers());
    }
    element.Configure(48000.0F, stereo);
    for (const std::uint32_t stream : {0U, 1U}) {
        TestAudio more(2, 4, 2.0F);
        element.Process(stream, 4, more.GetPointers());
        EXPECT_THAT(more.channels[0], ElementsAre(0, 0, 2, 2)) << stream;
        EXPECT_THAT(more.channels[1], ElementsAre(0, 0, 2, 2)) << stream;
    }
}

TEST_F(ElementConfigureTest, A_block_has_pointers_for_the_new_number_of_channels) {
    TestElement element(host, mono, {.numSidechains = 2, .numAuxOutputs = 1});
    element.Configure(48000.0F, stereo);
    element.Reset();
    TestAudio audio(2, 4);
    TestAudio side(4, 4);
    TestAudio aux(2, 4);
    element.sidechain = side.GetPointers();
    element.aux = aux.GetPointers();
    std::vector<float*> inputs;
    std::vector<float*> outputs;
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) {
        inputs.assign(element.GetCurrentInputs(), element.GetCurrentInputs() + 6);
        outputs.assign(element.GetCurrentOutputs(), element.GetCurrentOutputs() + 4);
    };
    float** const main = audio.GetPointers();
    element.Process(4, main);
    EXPECT_THAT(
        inputs, ElementsAre(
                    main[0], main[1], element.sidechain[0], element.sidechain[1], element.sidechain[2],
                    element.sidechain[3]));
    EXPECT_THAT(outputs, ElementsAre(main[0], main[1], element.aux[0], element.aux[1]));
}

TEST_F(ElementConfigureTest, The_dry_lines_of_all_streams_follow_the_number_of_channels) {
    TestElement element(host, mono, {.numStreams = 2});
    element.enabled = false;
    element.EnableDryPath(true);
    element.Configure(48000.0F, surround);
    element.Reset();
    element.dsp = [](std::uint32_t, std::uint32_t frames, float** channels) {
        std::fill_n(channels[5], frames, 0.0F);
    };
    for (const std::uint32_t stream : {0U, 1U}) {
        TestAudio audio(6, 4, 1.0F);
        element.Process(stream, 4, audio.GetPointers());
        EXPECT_THAT(audio.channels[5], Each(1.0F)) << stream;
    }
}

} // namespace
} // namespace DSP::Testing
