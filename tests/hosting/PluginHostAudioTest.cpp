#include "dsp/TestElementHost.h"
#include "hosting/PluginHostFixture.h"
#include "support/AllocationCount.h"

#include <vector>

namespace Tarvik {
namespace {

class PluginHostAudioTest : public PluginHostFixture {};

TEST_F(PluginHostAudioTest, Latency_and_delay_are_the_plugins_and_nothing_without_one) {
    EXPECT_EQ(host->GetLatency(0), 0U);
    EXPECT_FALSE(host->GetReportedDelay().valid);
    effect.abi.initialDelay = 321;
    Hold(effect);
    EXPECT_EQ(host->GetLatency(0), 321U);
    EXPECT_FALSE(host->GetReportedDelay().valid);
}

TEST_F(PluginHostAudioTest, A_reset_reaches_the_plugin) {
    Hold(effect);
    effect.calls.clear();
    host->ForceReset();
    EXPECT_EQ(effect.Opcodes(), (std::vector<VstInt32>{effMainsChanged, effMainsChanged}));
}

TEST_F(PluginHostAudioTest, Without_a_plugin_a_reset_does_nothing) {
    host->ForceReset();
    EXPECT_TRUE(effect.calls.empty());
}

TEST_F(PluginHostAudioTest, Without_a_plugin_audio_passes_through) {
    float samples[] = {1, 2, 3};
    float* channels[] = {samples};
    host->Process(3, channels);
    EXPECT_EQ(samples[0], 1);
    EXPECT_EQ(samples[2], 3);
}

TEST_F(PluginHostAudioTest, Audio_runs_through_the_plugin_after_the_transport_was_told) {
    std::vector<double> positions;
    effect.process = [&](float** inputs, float** outputs, VstInt32 frames) {
        const auto* time = reinterpret_cast<const VstTimeInfo*>(effect.AskHost(audioMasterGetTime));
        positions.push_back(time->samplePos);
        for (VstInt32 i = 0; i < frames; ++i) {
            outputs[0][i] = inputs[0][i] * 2;
        }
    };
    Hold(effect);
    DSP::TransportRecord transport;
    transport.mode = 1U;
    transport.position = std::int64_t{4711};
    elementHost.SetTransport(transport);
    float samples[] = {1, 2, 3};
    float* channels[] = {samples};
    host->Process(3, channels);
    EXPECT_EQ(samples[2], 6);
    EXPECT_EQ(positions, std::vector<double>{4711});
}

TEST_F(PluginHostAudioTest, While_the_plugin_changes_audio_stays_as_it_is) {
    effect.process = [](float**, float** outputs, VstInt32) { outputs[0][0] = 99; };
    Hold(effect);
    float samples[] = {1};
    float* channels[] = {samples};
    instantiator.meanwhile = [&] {
        EXPECT_TRUE(host->IsChanging());
        std::thread audio([&] { host->Process(1, channels); });
        audio.join();
    };
    host->ChangePlugin(false);
    EXPECT_FALSE(host->IsChanging());
    EXPECT_EQ(samples[0], 1);
    host->Process(1, channels);
    EXPECT_EQ(samples[0], 99);
}

TEST_F(PluginHostAudioTest, While_the_plugin_is_destroyed_audio_stays_as_it_is) {
    effect.process = [](float**, float** outputs, VstInt32) { outputs[0][0] = 99; };
    Hold(effect);
    EXPECT_EQ(ProcessElsewhere(*host), 99);
    float sample = 0;
    instantiator.beforeDestroy = [&, processed = host.get()] { sample = ProcessElsewhere(*processed); };
    host->ChangePlugin(false);
    EXPECT_EQ(sample, 1) << "by a change";
    sample = 0;
    host.reset();
    EXPECT_EQ(sample, 1) << "by the host's end";
}

TEST_F(PluginHostAudioTest, While_the_element_host_is_told_of_a_change_audio_stays_as_it_is) {
    effect.process = [](float**, float** outputs, VstInt32) { outputs[0][0] = 99; };
    DSP::Testing::TestElementHost told;
    PluginHost element(&told, 44100.0F, &instantiator, "Vendor", "Product");
    float sample = 0;
    std::vector<std::uint32_t> values;
    told.onParamBatch = [&](std::uint32_t value) {
        values.push_back(value);
        EXPECT_NE(element.GetPlugin(), nullptr);
        sample = ProcessElsewhere(element);
    };
    element.SetIdentifier(PluginIdentifier::ForVST(LetLibraryCreate(effect), 0));
    element.ChangePlugin(false);
    EXPECT_EQ(values, std::vector<std::uint32_t>{1});
    EXPECT_EQ(sample, 1);
    EXPECT_EQ(ProcessElsewhere(element), 99);
}

TEST_F(PluginHostAudioTest, A_block_allocates_nothing_once_the_largest_has_come) {
    effect.process = [](float** inputs, float** outputs, VstInt32 frames) {
        for (VstInt32 i = 0; i < frames; ++i) {
            outputs[0][i] = inputs[0][i] + 1;
        }
    };
    Hold(effect);
    std::vector<float> samples(elementHost.GetMaxBlockSize());
    float* channels[] = {samples.data()};
    const auto allocations = [&](std::uint32_t frames) {
        const std::uint64_t before = AllocationCount();
        host->Process(frames, channels);
        return AllocationCount() - before;
    };
    EXPECT_GT(allocations(elementHost.GetMaxBlockSize()), 0U)
        << "the count must be able to fail what follows";
    DSP::TransportRecord transport;
    for (std::uint32_t i = 0; i < 200; ++i) {
        transport.mode = i / 50 % 2;
        transport.position = std::int64_t{i} * 64;
        elementHost.SetTransport(transport);
        // What is counted is the host, not the notes that the effect takes of a reset.
        effect.calls.clear();
        effect.calls.reserve(8);
        EXPECT_EQ(allocations(1 + i * 41 % elementHost.GetMaxBlockSize()), 0U) << i;
    }
    EXPECT_EQ(samples[0], 201);
}

TEST_F(PluginHostAudioTest, Nothing_is_rendered_without_a_plugin_or_by_one_that_cannot) {
    EXPECT_FALSE(host->ProcessRandomAccess(nullptr));
    Hold(effect);
    EXPECT_FALSE(host->ProcessRandomAccess(nullptr));
}

} // namespace
} // namespace Tarvik
