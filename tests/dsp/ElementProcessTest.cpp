#include "TestElement.h"
#include "dsp/FunctionObjectCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace DSP::Testing {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ElementProcessTest : public ::testing::Test {
protected:
    TestElementHost host;
};

TEST_F(ElementProcessTest, A_stream_that_does_not_exist_is_ignored) {
    TestElement element(host, mono, {.numStreams = 2});
    std::vector<std::uint32_t> streams;
    element.dsp = [&](std::uint32_t stream, std::uint32_t, float**) { streams.push_back(stream); };
    TestAudio audio(1, 4);
    element.Process(4, audio.GetPointers());
    element.Process(1, 4, audio.GetPointers());
    element.Process(2, 4, audio.GetPointers());
    EXPECT_THAT(streams, ElementsAre(0, 1));
    EXPECT_EQ(element.drains, 2U);
}

TEST_F(ElementProcessTest, By_default_only_the_first_stream_reaches_ProcessAudio) {
    struct Plain : ElementDispatcher {
        explicit Plain(TestElementHost& h)
            : ElementDispatcher(&h, "Plain", 48000.0F, mono, {.numStreams = 2}) {}
        void ProcessAudio(std::uint32_t frames, float** channels) override {
            std::fill_n(channels[0], frames, 1.0F);
        }
    } element(host);
    TestAudio audio(1, 2);
    element.Process(1, 2, audio.GetPointers());
    EXPECT_THAT(audio.channels[0], Each(0.0F));
    element.Process(0, 2, audio.GetPointers());
    EXPECT_THAT(audio.channels[0], Each(1.0F));
}

TEST_F(ElementProcessTest, The_pointers_are_worked_on_in_place) {
    TestElement element(host, stereo);
    TestAudio audio(2, 4);
    float* const first = audio.channels[0].data();
    element.dsp = [&](std::uint32_t, std::uint32_t, float** channels) { EXPECT_EQ(channels[0], first); };
    element.Process(4, audio.GetPointers());
}

TEST_F(ElementProcessTest, Null_channels_or_no_frames_drain_commands_and_process_nothing) {
    TestElement element(host);
    bool called = false;
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) { called = true; };
    TestAudio audio(1, 4);
    element.Process(4, nullptr);
    element.Process(0, audio.GetPointers());
    EXPECT_FALSE(called);
    EXPECT_EQ(element.drains, 2U);
}

TEST_F(ElementProcessTest, Without_frames_the_bypass_is_followed_all_the_same) {
    TestElement element(host, mono, {.fadeTime = 0.0F});
    element.EnableDryPath(true);
    element.logHooks = true;
    element.Reset();
    element.dsp = [](std::uint32_t, std::uint32_t frames, float** channels) {
        std::fill_n(channels[0], frames, 5.0F);
    };
    TestAudio audio(1, 3, 1.0F);
    element.enabled = false;
    element.Process(0, audio.GetPointers());
    EXPECT_THAT(element.dry, IsEmpty()) << "no hook without a block";
    // The change was seen: this one turns the fade of one sample round before it began.
    element.enabled = true;
    element.Process(3, nullptr);
    element.Process(3, audio.GetPointers());
    EXPECT_THAT(audio.channels[0], ElementsAre(1, 5, 5));
}

TEST_F(ElementProcessTest, An_element_that_wants_no_audio_passes_it_on) {
    TestElement element(host);
    element.fixedBlock = 3;
    element.Reset();
    element.wantsAudio = false;
    bool called = false;
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) { called = true; };
    TestAudio audio(1, 4);
    audio.channels[0] = {1, 2, 3, 4};
    element.Process(4, audio.GetPointers());
    EXPECT_FALSE(called);
    EXPECT_THAT(audio.channels[0], ElementsAre(0, 0, 1, 2));
}

TEST_F(ElementProcessTest, Long_blocks_are_cut_into_pieces_with_their_offset_in_the_hosts_block) {
    host.maxBlockSize = 4;
    TestElement element(host, mono, {.numSidechains = 1, .numAuxOutputs = 1});
    TestAudio side(1, 10);
    TestAudio aux(1, 10);
    for (std::size_t i = 0; i < 10; ++i) {
        side.channels[0][i] = static_cast<float>(i);
    }
    element.sidechain = side.GetPointers();
    element.aux = aux.GetPointers();
    std::vector<std::tuple<std::uint32_t, std::uint32_t>> pieces;
    element.dsp = [&](std::uint32_t, std::uint32_t frames, float** channels) {
        pieces.emplace_back(host.blockOffset, frames);
        for (std::uint32_t i = 0; i < frames; ++i) {
            channels[0][i] += element.GetCurrentInputs()[1][i];
            element.GetCurrentOutputs()[1][i] = 2 * channels[0][i];
        }
    };
    TestAudio audio(1, 10, 100.0F);
    element.Process(10, audio.GetPointers());
    EXPECT_THAT(pieces, ElementsAre(std::tuple(0U, 4U), std::tuple(4U, 4U), std::tuple(8U, 2U)));
    EXPECT_EQ(host.blockOffset, 0U);
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_EQ(audio.channels[0][i], 100.0F + static_cast<float>(i));
        EXPECT_EQ(aux.channels[0][i], 2 * audio.channels[0][i]);
    }
    EXPECT_EQ(element.GetCurrentInputs(), nullptr);
    EXPECT_EQ(element.GetCurrentOutputs(), nullptr);
}

TEST_F(ElementProcessTest, A_child_counts_its_offset_from_its_parents_block) {
    host.maxBlockSize = 8;
    TestElement parent(host);
    TestElement child(host);
    parent.AddChild(&child);
    parent.fixedBlock = 8;
    parent.Reset();
    std::vector<std::uint32_t> offsets;
    child.fixedBlock = 4;
    child.Reset();
    child.dsp = [&](std::uint32_t, std::uint32_t, float**) { offsets.push_back(host.blockOffset); };
    parent.dsp = [&](std::uint32_t, std::uint32_t frames, float** channels) {
        child.Process(frames, channels);
        EXPECT_EQ(host.blockOffset % 8, 0U);
    };
    TestAudio audio(1, 16);
    parent.Process(8, audio.GetPointers());
    EXPECT_THAT(offsets, ElementsAre(0, 4));
    offsets.clear();
    parent.Process(16, audio.GetPointers());
    EXPECT_THAT(offsets, ElementsAre(0, 4, 8, 12));
    EXPECT_EQ(host.blockOffset, 0U);
}

TEST_F(ElementProcessTest, Missing_sidechain_and_auxiliary_channels_are_null_without_a_fixed_block_size) {
    TestElement element(host, mono, {.numSidechains = 1, .numAuxOutputs = 1});
    TestAudio audio(1, 4);
    int blocks = 0;
    element.dsp = [&](std::uint32_t, std::uint32_t, float** channels) {
        ++blocks;
        EXPECT_EQ(element.GetCurrentInputs()[0], channels[0]);
        EXPECT_EQ(element.GetCurrentInputs()[1], nullptr);
        EXPECT_EQ(element.GetCurrentOutputs()[1], nullptr);
    };
    element.Process(4, audio.GetPointers());
    EXPECT_EQ(blocks, 1);
}

TEST_F(ElementProcessTest, An_analyser_of_a_fixed_block_size_leaves_the_audio_where_it_is) {
    TestElement element(host);
    element.fixedBlock = 4;
    element.modifies = false;
    element.Reset();
    std::vector<float> seen;
    element.dsp = [&](std::uint32_t, std::uint32_t frames, float** channels) {
        seen.insert(seen.end(), channels[0], channels[0] + frames);
    };
    TestAudio audio(1, 6);
    audio.channels[0] = {1, 2, 3, 4, 5, 6};
    element.Process(6, audio.GetPointers());
    EXPECT_THAT(audio.channels[0], ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(seen, ElementsAre(1, 2, 3, 4));
}

TEST_F(ElementProcessTest, A_host_of_live_blocks_puts_start_and_end_at_zero) {
    TestElement element(host);
    BlockPositions seen;
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) { seen = element.GetBlockPositions(); };
    TestAudio audio(1, 4);
    element.Process(4, audio.GetPointers());
    EXPECT_FALSE(seen.start.valid);
    EXPECT_FALSE(seen.end.valid);
    element.SetBlockPositions({2U, 4U});
    element.Process(4, audio.GetPointers());
    EXPECT_EQ(seen.start, checked_value<std::uint32_t>(2U));
    EXPECT_EQ(seen.end, checked_value<std::uint32_t>(4U));
    host.livePositions = true;
    element.Process(4, audio.GetPointers());
    EXPECT_EQ(seen.start, checked_value<std::uint32_t>(0U));
    EXPECT_EQ(seen.end, checked_value<std::uint32_t>(0U));
    host.livePositions = false;
    element.Reset();
    element.Process(4, audio.GetPointers());
    EXPECT_FALSE(seen.start.valid) << "Reset zeroes the positions";
}

TEST_F(ElementProcessTest, Each_piece_has_the_positions_that_lie_in_it) {
    host.maxBlockSize = 4;
    TestElement element(host);
    std::vector<BlockPositions> seen;
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) { seen.push_back(element.GetBlockPositions()); };
    TestAudio audio(1, 8);
    element.SetBlockPositions({5U, 8U});
    element.Process(8, audio.GetPointers());
    ASSERT_THAT(seen, SizeIs(2));
    EXPECT_FALSE(seen[0].start.valid);
    EXPECT_FALSE(seen[0].end.valid);
    EXPECT_EQ(seen[1].start, checked_value<std::uint32_t>(1U));
    EXPECT_EQ(seen[1].end, checked_value<std::uint32_t>(4U));
}

TEST_F(ElementProcessTest, The_own_transport_advances_by_each_block_while_it_is_valid) {
    host.maxBlockSize = 4;
    TestElement element(host);
    TransportRecord& transport = element.GetOwnTransport();
    transport.position = std::int64_t{100};
    std::vector<std::int64_t> seen;
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) { seen.push_back(transport.position.value); };
    TestAudio audio(1, 6);
    element.Process(6, audio.GetPointers());
    EXPECT_EQ(transport.position.value, 100);
    transport.valid = true;
    seen.clear();
    element.Process(6, audio.GetPointers());
    EXPECT_THAT(seen, ElementsAre(100, 104));
    EXPECT_EQ(transport.position.value, 106);
    transport.position.valid = false;
    element.Process(6, audio.GetPointers());
    EXPECT_EQ(transport.position.value, 106);
}

TEST_F(ElementProcessTest, With_the_dry_path_two_blocks_of_scratch_are_taken_and_given_back) {
    TestElement element(host, stereo);
    TestAudio audio(2, 64);
    element.Process(64, audio.GetPointers());
    EXPECT_EQ(host.scratchTaken, 0U);
    element.EnableDryPath(true);
    std::uint32_t during = 0;
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) { during = host.GetScratchUsed(); };
    element.Process(64, audio.GetPointers());
    EXPECT_EQ(host.scratchTaken, 2U);
    EXPECT_EQ(during, 2U * 64 * 4 + 4 + 2 * 8 + 8);
    EXPECT_EQ(host.GetScratchUsed(), 0U);
}

TEST_F(ElementProcessTest, The_hooks_see_what_was_made_and_the_delayed_input_before_the_crossfade) {
    TestElement element(host);
    element.latency = 2;
    element.enabled = false;
    element.logHooks = true;
    element.EnableDryPath(true);
    element.Reset();
    element.dsp = [](std::uint32_t, std::uint32_t frames, float** channels) {
        std::fill_n(channels[0], frames, 5.0F);
    };
    TestAudio audio(1, 4);
    audio.channels[0] = {1, 2, 3, 4};
    element.Process(4, audio.GetPointers());
    EXPECT_THAT(element.processed, ElementsAre(5, 5, 5, 5));
    EXPECT_THAT(element.dry, ElementsAre(0, 0, 1, 2));
    EXPECT_THAT(audio.channels[0], ElementsAre(0, 0, 1, 2));
}

TEST_F(ElementProcessTest, After_Reset_a_bypassed_element_starts_dry_without_a_fade) {
    TestElement element(host);
    element.EnableDryPath(true);
    element.dsp = [](std::uint32_t, std::uint32_t frames, float** channels) {
        std::fill_n(channels[0], frames, 5.0F);
    };
    element.enabled = false;
    element.Reset();
    TestAudio audio(1, 4, 1.0F);
    element.Process(4, audio.GetPointers());
    EXPECT_THAT(audio.channels[0], Each(1.0F));
}

TEST_F(ElementProcessTest, A_new_latency_moves_the_dry_signal_over_128_samples) {
    TestElement element(host);
    element.enabled = false;
    element.EnableDryPath(true);
    element.Reset();
    std::vector<float> in;
    std::vector<float> out;
    const auto run = [&](std::size_t frames) {
        TestAudio audio(1, frames);
        for (float& sample : audio.channels[0]) {
            sample = static_cast<float>(in.size());
            in.push_back(sample);
        }
        element.Process(static_cast<std::uint32_t>(frames), audio.GetPointers());
        out.insert(out.end(), audio.channels[0].begin(), audio.channels[0].end());
    };
    run(500);
    element.latency = 100;
    run(300);
    for (std::size_t t = 0; t < out.size(); ++t) {
        const double fade = t < 500 ? 0.0 : std::min(1.0, (static_cast<double>(t) - 499) / 128);
        ASSERT_NEAR(out[t], static_cast<double>(t) - 100 * fade, 1e-3) << t;
    }
}

// --- The whole against a slow and obvious model --------------------------------------------------------

struct Combination {
    bool dryPath;
    std::uint32_t latency;
    std::uint32_t fixedBlock;
    /// 0: always on; 1: always bypassed; 2: at random.
    int bypass;
};

/// What the element's DSP does, one sample at a time and from the whole history: twice the input of
/// `latency` frames ago, plus the sidechain's sample. With a fixed block size everything is n - 1 later.
/// What the framework adds: the dry signal, as late as the element says it is, and a fade that is counted
/// sample by sample.
class Model {
public:
    Model(const Combination& combination, std::uint32_t fadeLength)
        : c(combination), lag(c.fixedBlock == 0 ? 0 : c.fixedBlock - 1), length(fadeLength) {}

    void Reset(bool bypassed) {
        input.clear();
        side.clear();
        dry = bypassed;
        fading = false;
    }

    void SetBypassed(bool bypassed) {
        if (bypassed == dry) {
            return;
        }
        position = fading ? length - position - 1 : 0;
        fading = true;
        dry = bypassed;
    }

    float Next(float sample, float sideSample) {
        input.push_back(sample);
        side.push_back(sideSample);
        const float wet = 2 * Past(input, c.latency + lag) + Past(side, lag);
        if (!c.dryPath) {
            return wet;
        }
        const float delayed = Past(input, c.latency + lag);
        if (!fading) {
            return dry ? delayed : wet;
        }
        const double w = 0.5 - 0.5 * std::cos(position * 3.14159265358979 / length);
        fading = ++position < length;
        return static_cast<float>(dry ? delayed * w + wet * (1 - w) : delayed * (1 - w) + wet * w);
    }

    /// Of the same sample: three times the input.
    float Aux() const { return 3 * Past(input, lag); }

private:
    static float Past(const std::vector<float>& signal, std::uint32_t frames) {
        return signal.size() > frames ? signal[signal.size() - 1 - frames] : 0.0F;
    }

    Combination c;
    std::uint32_t lag;
    std::uint32_t length;
    std::vector<float> input;
    std::vector<float> side;
    bool dry = false;
    bool fading = false;
    std::uint32_t position = 0;
};

class ModelComparison : public ::testing::TestWithParam<std::tuple<bool, std::uint32_t, std::uint32_t, int>> {
};

TEST_P(ModelComparison, Random_blocks_come_out_as_the_model_says) {
    const auto [dryPath, latency, fixedBlock, bypass] = GetParam();
    const Combination c{dryPath, latency, fixedBlock, bypass};
    std::mt19937 random(latency * 31 + fixedBlock * 7 + static_cast<unsigned>(bypass));
    const auto noise = [&random] { return static_cast<float>(random() % 2001) / 1000.0F - 1.0F; };

    TestElementHost host;
    host.maxBlockSize = 512;
    TestElement element(host, stereo, {.fadeTime = 0.003F, .numSidechains = 1, .numAuxOutputs = 1});
    constexpr std::uint32_t fadeLength = 144;
    element.fixedBlock = fixedBlock;
    element.latency = latency + (fixedBlock == 0 ? 0 : fixedBlock - 1);
    element.enabled = bypass != 1;
    element.EnableDryPath(dryPath);

    std::vector<float> memory[2];
    const auto clear = [&] {
        for (auto& channel : memory) {
            channel.assign(latency, 0.0F);
        }
    };
    element.dsp = [&](std::uint32_t, std::uint32_t frames, float** channels) {
        for (std::uint32_t channel = 0; channel < 2; ++channel) {
            const float* const sideIn = element.GetCurrentInputs()[2 + channel];
            float* const auxOut = element.GetCurrentOutputs()[2 + channel];
            for (std::uint32_t i = 0; i < frames; ++i) {
                memory[channel].push_back(channels[channel][i]);
                if (auxOut) {
                    auxOut[i] = 3 * channels[channel][i];
                }
                const std::size_t past = memory[channel].size() - 1 - latency;
                channels[channel][i] = 2 * memory[channel][past] + (sideIn ? sideIn[i] : 0.0F);
            }
        }
    };
    Model models[2] = {{c, fadeLength}, {c, fadeLength}};
    const auto reset = [&] {
        clear();
        element.ForceReset();
        for (Model& model : models) {
            model.Reset(!element.enabled);
        }
    };
    reset();

    for (int call = 0; call < 250; ++call) {
        if (random() % 40 == 0) {
            reset();
        }
        if (bypass == 2 && random() % 4 == 0) {
            element.enabled = !element.enabled;
        }
        const std::uint32_t frames = random() % 3 == 0 ? 1 + random() % 8 : 1 + random() % host.maxBlockSize;
        TestAudio audio(2, frames);
        TestAudio side(2, frames);
        TestAudio aux(2, frames);
        const bool withSide = random() % 4 != 0;
        for (std::size_t channel = 0; channel < 2; ++channel) {
            for (std::uint32_t i = 0; i < frames; ++i) {
                audio.channels[channel][i] = noise();
                side.channels[channel][i] = withSide ? noise() : 0.0F;
            }
        }
        TestAudio expected = audio;
        TestAudio expectedAux = aux;
        for (std::size_t channel = 0; channel < 2; ++channel) {
            models[channel].SetBypassed(!element.enabled);
            for (std::uint32_t i = 0; i < frames; ++i) {
                expected.channels[channel][i] =
                    models[channel].Next(audio.channels[channel][i], side.channels[channel][i]);
                expectedAux.channels[channel][i] = models[channel].Aux();
            }
        }
        element.sidechain = withSide ? side.GetPointers() : nullptr;
        element.aux = aux.GetPointers();
        element.Process(frames, audio.GetPointers());
        for (std::size_t channel = 0; channel < 2; ++channel) {
            for (std::uint32_t i = 0; i < frames; ++i) {
                ASSERT_NEAR(audio.channels[channel][i], expected.channels[channel][i], 1e-5)
                    << "call " << call << " of " << frames << ", frame " << i;
                ASSERT_EQ(aux.channels[channel][i], expectedAux.channels[channel][i]);
            }
        }
    }
    EXPECT_EQ(host.GetScratchUsed(), 0U);
}

std::string nameOf(const ::testing::TestParamInfo<ModelComparison::ParamType>& test) {
    static const char* const bypasses[] = {"_on", "_bypassed", "_toggled"};
    const auto& [dryPath, latency, fixedBlock, bypass] = test.param;
    return std::string(dryPath ? "dry" : "plain") + "_latency" + std::to_string(latency) + "_block" +
           std::to_string(fixedBlock) + bypasses[bypass];
}

INSTANTIATE_TEST_SUITE_P(
    EveryCombination, ModelComparison,
    ::testing::Combine(
        ::testing::Bool(), ::testing::Values(0U, 1U, 7U, 300U),
        ::testing::Values(0U, 1U, 2U, 64U, 100U, 1000U), ::testing::Values(0, 1, 2)),
    nameOf);

} // namespace
} // namespace DSP::Testing
