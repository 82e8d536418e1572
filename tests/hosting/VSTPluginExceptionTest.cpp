// What an effect throws, and where it ends.

#include "hosting/FakeEffect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

VstIntPtr throws(const FakeEffect::Call&) {
    throw std::runtime_error("vice");
}

TEST(VSTPluginException, In_the_entry_point_it_leaves_an_invalid_object) {
    FakeEffect effect;
    effect.atEntry = [] { throw std::runtime_error("vice"); };
    auto plugin = HostEffect(effect);
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_TRUE(effect.calls.empty());
}

TEST(VSTPluginException, After_one_of_the_entry_point_no_effect_is_being_loaded) {
    FakeEffect throws;
    throws.atEntry = [] { throw 1; };
    auto plugin = HostEffect(throws);
    AEffect stranger{};
    EXPECT_EQ(throws.host(&stranger, audioMasterGetSampleRate, 0, 0, nullptr, 0.0f), 0);
    // And its lock is free: another entry point runs.
    FakeEffect next;
    EXPECT_TRUE(HostEffect(next)->IsValid());
}

TEST(VSTPluginException, In_any_later_step_it_clears_the_effect_without_closing_it) {
    for (const VstInt32 opcode :
         {effOpen, effGetVstVersion, effGetPlugCategory, effSetBlockSize, effSetSampleRate, effConnectOutput,
          effMainsChanged, effGetProgram, effSetProgram, effGetProgramName}) {
        FakeEffect effect;
        effect.abi.numPrograms = 2;
        effect.answers[opcode] = [](const FakeEffect::Call&) -> VstIntPtr { throw std::bad_alloc(); };
        auto plugin = HostEffect(effect);
        EXPECT_FALSE(plugin->IsValid()) << opcode;
        plugin.reset();
        EXPECT_THAT(effect.Opcodes(), Not(Contains(effClose))) << opcode;
    }
}

TEST(VSTPluginException, While_the_programs_states_are_read_it_clears_the_effect) {
    FakeEffect chunks;
    chunks.abi.numPrograms = 2;
    chunks.abi.flags |= effFlagsProgramChunks;
    chunks.answers[effGetChunk] = [](const FakeEffect::Call&) -> VstIntPtr { throw std::bad_alloc(); };
    FakeEffect parameters;
    parameters.abi.numPrograms = 2;
    parameters.SetParameters({0.5f});
    parameters.atGetParameter = [] { throw std::bad_alloc(); };
    for (FakeEffect* effect : {&chunks, &parameters}) {
        auto plugin = HostEffect(*effect);
        EXPECT_FALSE(plugin->IsValid());
        EXPECT_EQ(plugin->GetParameterValue(0, 0), 0.0f);
        plugin.reset();
        EXPECT_THAT(effect->Opcodes(), Not(Contains(effClose)));
    }
}

TEST(VSTPluginException, While_being_rejected_it_leaves_an_invalid_object) {
    FakeEffect effect;
    effect.abi.flags = 0;
    effect.answers[effClose] = [](const FakeEffect::Call&) -> VstIntPtr { throw 1; };
    auto plugin = HostEffect(effect);
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_EQ(effect.CallsOf(effClose).size(), 1u);
}

TEST(VSTPluginException, An_effect_that_threw_finds_no_plugin_any_more) {
    FakeEffect effect;
    effect.answers[effOpen] = throws;
    auto plugin = HostEffect(effect);
    EXPECT_EQ(effect.abi.resvd1, 0);
    EXPECT_EQ(effect.AskHost(audioMasterGetSampleRate), 0);
    plugin.reset();
    EXPECT_EQ(effect.AskHost(audioMasterAutomate), 0);
    EXPECT_EQ(effect.AskHost(audioMasterNeedIdle), 0);
    EXPECT_EQ(effect.AskHost(audioMasterGetTime), 0);
}

TEST(VSTPluginException, While_being_rejected_the_effect_is_not_touched_after_its_close) {
    FakeEffect effect;
    effect.abi.flags = 0;
    effect.answers[effClose] = [&effect](const FakeEffect::Call& call) {
        // As if the memory belonged to somebody else by now.
        effect.abi.resvd1 = 4711;
        return throws(call);
    };
    auto plugin = HostEffect(effect);
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_EQ(effect.abi.resvd1, 4711);
}

static_assert(noexcept(std::declval<Tarvik::VSTPlugin&>().Process(0, 0, nullptr)));
static_assert(noexcept(std::declval<Tarvik::VSTPlugin&>().ProcessEvents(0, nullptr)));
static_assert(noexcept(std::declval<Tarvik::VSTPlugin&>().Reset()));

TEST(VSTPluginException, While_processing_it_leaves_the_block_as_it_was) {
    FakeEffect effect;
    bool fails = true;
    effect.process = [&](float**, float** outputs, VstInt32) {
        outputs[0][0] = 7.0f;
        if (fails) {
            throw std::bad_alloc();
        }
    };
    auto plugin = HostEffect(effect);
    std::vector<float> left{1.0f, 2.0f};
    std::vector<float> right{3.0f, 4.0f};
    float* channels[] = {left.data(), right.data()};
    plugin->Process(2, 2, channels);
    EXPECT_THAT(left, ElementsAre(1.0f, 2.0f));
    EXPECT_THAT(right, ElementsAre(3.0f, 4.0f));
    EXPECT_TRUE(plugin->IsValid());
    fails = false;
    plugin->Process(2, 2, channels);
    EXPECT_THAT(left, ElementsAre(7.0f, 2.0f));
}

TEST(VSTPluginException, In_a_reset_it_keeps_neither_the_effect_off_nor_the_transport_from_it) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    const auto* time = reinterpret_cast<const VstTimeInfo*>(effect.AskHost(audioMasterGetTime));
    effect.answers[effMainsChanged] = throws;
    effect.calls.clear();
    DSP::TransportRecord transport;
    transport.mode = 1u;
    transport.position = std::int64_t{12345};
    plugin->SetTransport(transport);
    ASSERT_THAT(effect.Opcodes(), ElementsAre(effMainsChanged, effMainsChanged));
    EXPECT_EQ(effect.calls[1].value, 1);
    EXPECT_EQ(time->samplePos, 12345.0);
}

TEST(VSTPluginException, In_one_batch_of_events_it_does_not_lose_the_next) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    effect.answers[effProcessEvents] = throws;
    effect.calls.clear();
    const std::vector<Tarvik::ProcessEvent> events(250);
    plugin->ProcessEvents(250, events.data());
    EXPECT_EQ(effect.CallsOf(effProcessEvents).size(), 3u);
}

} // namespace
