#include "hosting/FakeEffect.h"
#include "support/AllocationCount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace {

using Tarvik::VSTPlugin;
using testing::Each;
using testing::ElementsAre;

using Channels = std::vector<std::vector<float>>;

constexpr std::uint32_t plainLayout(std::uint32_t channels) {
    return channels + 12;
}

std::vector<float*> pointersTo(Channels& channels) {
    std::vector<float*> pointers;
    for (std::vector<float>& channel : channels) {
        pointers.push_back(channel.data());
    }
    return pointers;
}

void process(VSTPlugin& plugin, Channels& channels) {
    std::vector<float*> pointers = pointersTo(channels);
    plugin.Process(
        static_cast<std::uint32_t>(channels.empty() ? 0 : channels[0].size()),
        static_cast<std::uint32_t>(channels.size()), pointers.data());
}

/// Sample n of channel c becomes c + 1 times as much, plus a hundred.
void gainByChannel(const FakeEffect& effect, float** outputs, VstInt32 frames) {
    const VstInt32 channels = std::max(effect.abi.numInputs, effect.abi.numOutputs);
    for (VstInt32 channel = 0; channel < channels; ++channel) {
        for (VstInt32 frame = 0; frame < frames; ++frame) {
            outputs[channel][frame] = outputs[channel][frame] * static_cast<float>(channel + 1) + 100.0f;
        }
    }
}

struct AudioEffect : FakeEffect {
    AudioEffect(VstInt32 inputs, VstInt32 outputs) {
        abi.numInputs = inputs;
        abi.numOutputs = outputs;
        process = [this](float**, float** out, VstInt32 frames) { gainByChannel(*this, out, frames); };
    }
};

TEST(VSTPluginAudio, Channels_pass_through_the_effect_each_in_its_place) {
    AudioEffect effect(2, 2);
    auto plugin = HostEffect(effect);
    Channels channels{{1.0f, 2.0f}, {3.0f, 4.0f}};
    process(*plugin, channels);
    EXPECT_THAT(channels[0], ElementsAre(101.0f, 102.0f));
    EXPECT_THAT(channels[1], ElementsAre(106.0f, 108.0f));
}

TEST(VSTPluginAudio, The_effect_works_in_place_on_buffers_of_the_hosts) {
    FakeEffect effect;
    Channels channels{{1.0f}, {2.0f}};
    bool inPlace = false;
    effect.process = [&](float** inputs, float** outputs, VstInt32 frames) {
        inPlace = inputs[0] == outputs[0] && inputs[1] == outputs[1] && inputs[0] != channels[0].data() &&
                  frames == 1;
    };
    auto plugin = HostEffect(effect);
    process(*plugin, channels);
    EXPECT_TRUE(inPlace);
}

TEST(VSTPluginAudio, A_mono_effect_in_a_stereo_element_writes_its_channel_to_both) {
    AudioEffect effect(1, 1);
    auto plugin = HostEffect(effect);
    Channels channels{{1.0f}, {2.0f}};
    process(*plugin, channels);
    EXPECT_THAT(channels, ElementsAre(ElementsAre(101.0f), ElementsAre(101.0f)));
}

TEST(VSTPluginAudio, A_stereo_effect_in_a_wider_element_writes_its_first_channel_to_all) {
    AudioEffect effect(2, 2);
    auto plugin = HostEffect(effect, {.layout = plainLayout(4)});
    Channels channels{{1.0f}, {2.0f}, {3.0f}, {4.0f}};
    process(*plugin, channels);
    EXPECT_THAT(channels, Each(ElementsAre(101.0f)));
}

TEST(VSTPluginAudio, Channels_beyond_the_hosts_are_silent_to_the_effect_every_time) {
    FakeEffect effect;
    effect.abi.numInputs = 4;
    std::vector<float> seen;
    effect.process = [&](float** inputs, float**, VstInt32 frames) {
        for (int channel = 2; channel < 4; ++channel) {
            seen.insert(seen.end(), inputs[channel], inputs[channel] + frames);
            std::fill_n(inputs[channel], frames, 5.0f);
        }
    };
    auto plugin = HostEffect(effect);
    Channels channels{{1.0f}, {2.0f}};
    process(*plugin, channels);
    process(*plugin, channels);
    EXPECT_THAT(seen, ElementsAre(0.0f, 0.0f, 0.0f, 0.0f));
}

TEST(VSTPluginAudio, An_instrument_hears_nothing) {
    AudioEffect effect(2, 2);
    effect.abi.flags |= effFlagsIsSynth;
    auto plugin = HostEffect(effect);
    Channels channels{{1.0f}, {2.0f}};
    process(*plugin, channels);
    process(*plugin, channels);
    EXPECT_THAT(channels, Each(ElementsAre(100.0f)));
}

TEST(VSTPluginAudio, The_wider_side_of_the_effect_counts) {
    AudioEffect inputs(3, 1);
    AudioEffect outputs(0, 3);
    for (AudioEffect* effect : {&inputs, &outputs}) {
        auto plugin = HostEffect(*effect, {.layout = plainLayout(3)});
        Channels channels{{1.0f}, {1.0f}, {1.0f}};
        process(*plugin, channels);
        EXPECT_THAT(channels, ElementsAre(ElementsAre(101.0f), ElementsAre(102.0f), ElementsAre(103.0f)));
    }
}

TEST(VSTPluginAudio, Counts_of_none_or_beyond_belief_leave_the_audio_as_it_is) {
    for (const auto& [inputs, outputs] : std::vector<std::pair<VstInt32, VstInt32>>{
             {0, 0},
             {-1, -1},
             {0, -1},
             {2049, 2},
             {2, 2049},
             {std::numeric_limits<VstInt32>::max(), 1},
             {std::numeric_limits<VstInt32>::min(), std::numeric_limits<VstInt32>::min()}}) {
        FakeEffect effect;
        effect.abi.numInputs = inputs;
        effect.abi.numOutputs = outputs;
        bool called = false;
        effect.process = [&](float**, float**, VstInt32) { called = true; };
        auto plugin = HostEffect(effect);
        Channels channels{{1.0f}, {2.0f}};
        process(*plugin, channels);
        EXPECT_FALSE(called) << inputs << " " << outputs;
        EXPECT_THAT(channels, ElementsAre(ElementsAre(1.0f), ElementsAre(2.0f)));
    }
}

TEST(VSTPluginAudio, An_effect_of_2048_channels_is_believed) {
    AudioEffect effect(2048, 2048);
    auto plugin = HostEffect(effect);
    Channels channels{{1.0f}, {2.0f}};
    process(*plugin, channels);
    EXPECT_THAT(channels, ElementsAre(ElementsAre(101.0f), ElementsAre(104.0f)));
}

TEST(VSTPluginAudio, No_frames_and_no_call) {
    FakeEffect effect;
    bool called = false;
    effect.process = [&](float**, float**, VstInt32) { called = true; };
    auto plugin = HostEffect(effect);
    plugin->Process(0, 2, nullptr);
    EXPECT_FALSE(called);
}

TEST(VSTPluginAudio, An_effect_that_moves_its_pointers_is_read_where_it_should_have_written) {
    FakeEffect effect;
    effect.process = [](float** inputs, float**, VstInt32 frames) {
        std::fill_n(inputs[0], frames, 7.0f);
        std::fill_n(inputs[1], frames, 8.0f);
        inputs[0] += 1000000;
        inputs[1] = nullptr;
    };
    auto plugin = HostEffect(effect);
    Channels channels{{1.0f}, {2.0f}};
    process(*plugin, channels);
    process(*plugin, channels);
    EXPECT_THAT(channels, ElementsAre(ElementsAre(7.0f), ElementsAre(8.0f)));
}

TEST(VSTPluginAudio, The_callers_channels_need_no_alignment) {
    AudioEffect effect(1, 1);
    auto plugin = HostEffect(effect, {.layout = 0});
    std::vector<float> memory(70, 1.0f);
    for (std::size_t shift = 0; shift < 5; ++shift) {
        float* channel = memory.data() + shift;
        std::fill_n(channel, 65, 1.0f);
        plugin->Process(65, 1, &channel);
        EXPECT_THAT(std::vector<float>(channel, channel + 65), Each(101.0f));
    }
}

// The same, said sample by sample and without buffers.
Channels modelOf(const Channels& in, VstInt32 inputs, VstInt32 outputs, bool instrument) {
    Channels out = in;
    const VstInt32 wide = std::max(inputs, outputs);
    if (wide <= 0 || wide > 2048) {
        return out;
    }
    const bool folds = static_cast<std::size_t>(wide) < in.size();
    for (std::size_t channel = 0; channel < in.size(); ++channel) {
        const std::size_t from = folds ? 0 : channel;
        for (std::size_t frame = 0; frame < in[channel].size(); ++frame) {
            const float heard = instrument ? 0.0f : in[from][frame];
            out[channel][frame] = heard * static_cast<float>(from + 1) + 100.0f;
        }
    }
    return out;
}

TEST(VSTPluginAudio, Random_channel_counts_and_block_sizes_follow_the_model) {
    std::mt19937 random(20240611);
    const auto pick = [&](int from, int to) { return std::uniform_int_distribution<>(from, to)(random); };
    for (int round = 0; round < 60; ++round) {
        AudioEffect effect(pick(-1, 26), pick(-1, 26));
        const bool instrument = pick(0, 3) == 0;
        effect.abi.flags |= instrument ? effFlagsIsSynth : 0;
        const int width = pick(3, 24);
        auto plugin = HostEffect(effect, {.layout = plainLayout(static_cast<std::uint32_t>(width))});
        for (int block = 0; block < 20; ++block) {
            if (pick(0, 4) == 0) {
                effect.abi.numInputs = pick(0, 30);
                effect.abi.numOutputs = pick(0, 30);
            }
            Channels channels(
                static_cast<std::size_t>(width), std::vector<float>(static_cast<std::size_t>(pick(1, 700))));
            for (std::vector<float>& channel : channels) {
                std::generate(
                    channel.begin(), channel.end(), [&] { return static_cast<float>(pick(-500, 500)); });
            }
            const Channels expected =
                modelOf(channels, effect.abi.numInputs, effect.abi.numOutputs, instrument);
            process(*plugin, channels);
            ASSERT_EQ(channels, expected) << round << " " << block;
        }
    }
}

TEST(VSTPluginAudio, Only_growth_allocates) {
    AudioEffect effect(2, 2);
    auto plugin = HostEffect(effect, {.layout = plainLayout(3)});
    Channels channels(3, std::vector<float>(512));
    std::vector<float*> pointers = pointersTo(channels);
    const auto allocations = [&](std::uint32_t frames) {
        const std::uint64_t before = AllocationCount();
        plugin->Process(frames, 3, pointers.data());
        return AllocationCount() - before;
    };
    EXPECT_GT(allocations(256), 0u);
    EXPECT_EQ(allocations(256), 0u);
    EXPECT_EQ(allocations(1), 0u);
    EXPECT_EQ(allocations(255), 0u);
    EXPECT_GT(allocations(512), 0u);
    EXPECT_EQ(allocations(256), 0u);
    EXPECT_EQ(allocations(512), 0u);
    effect.abi.numInputs = 1;
    effect.abi.numOutputs = 1;
    EXPECT_EQ(allocations(512), 0u);
    effect.abi.numOutputs = 5;
    EXPECT_GT(allocations(100), 0u);
    EXPECT_EQ(allocations(512), 0u);
}

TEST(VSTPluginAudio, Reset_turns_the_effect_off_and_on) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    effect.calls.clear();
    plugin->Reset();
    ASSERT_THAT(effect.Opcodes(), ElementsAre(effMainsChanged, effMainsChanged));
    EXPECT_EQ(effect.calls[0].value, 0);
    EXPECT_EQ(effect.calls[1].value, 1);
    EXPECT_TRUE(plugin->SupportsRealTime());
}

} // namespace
