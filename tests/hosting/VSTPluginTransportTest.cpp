#include "hosting/FakeEffect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

namespace {

using DSP::TransportRecord;

TransportRecord transport(
    checked_value<std::uint32_t> mode, checked_value<std::int64_t> position = {},
    checked_value<float> tempo = {}) {
    TransportRecord record;
    record.mode = mode;
    record.position = position;
    record.tempo = tempo;
    return record;
}

const VstTimeInfo& timeOf(FakeEffect& effect) {
    return *reinterpret_cast<const VstTimeInfo*>(effect.AskHost(audioMasterGetTime));
}

TEST(VSTPluginTransport, Before_any_transport_the_effect_sees_a_host_that_plays) {
    FakeEffect effect;
    auto plugin = HostEffect(effect, {.sampleRate = 96000.0f});
    const VstTimeInfo& time = timeOf(effect);
    EXPECT_EQ(time.samplePos, 0.0);
    EXPECT_EQ(time.sampleRate, 96000.0);
    EXPECT_EQ(time.tempo, 120.0);
    EXPECT_EQ(time.timeSigNumerator, 4);
    EXPECT_EQ(time.timeSigDenominator, 4);
    EXPECT_EQ(time.flags, kVstTransportPlaying);
    EXPECT_EQ(time.nanoSeconds, 0.0);
    EXPECT_EQ(time.ppqPos, 0.0);
    EXPECT_EQ(time.barStartPos, 0.0);
    EXPECT_EQ(time.cycleStartPos, 0.0);
    EXPECT_EQ(time.cycleEndPos, 0.0);
    EXPECT_EQ(time.smpteOffset, 0);
    EXPECT_EQ(time.smpteFrameRate, 0);
    EXPECT_EQ(time.samplesToNextClock, 0);
}

TEST(VSTPluginTransport, Position_and_tempo_are_passed_on) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    plugin->SetTransport(transport(1u, 123456789012, 90.5f));
    EXPECT_EQ(timeOf(effect).samplePos, 123456789012.0);
    EXPECT_EQ(timeOf(effect).tempo, 90.5);
}

TEST(VSTPluginTransport, A_position_or_tempo_that_is_not_told_is_the_default) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    plugin->SetTransport(transport(1u, 1000, 90.0f));
    plugin->SetTransport(transport(1u));
    EXPECT_EQ(timeOf(effect).samplePos, 0.0);
    EXPECT_EQ(timeOf(effect).tempo, 120.0);
}

TEST(VSTPluginTransport, Playing_without_a_change_sets_no_change) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    plugin->SetTransport(transport(1u));
    EXPECT_EQ(timeOf(effect).flags, kVstTransportPlaying | kVstTempoValid);
}

TEST(VSTPluginTransport, A_change_once_seen_stays_marked) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    plugin->SetTransport(transport(0u));
    EXPECT_EQ(timeOf(effect).flags, kVstTransportChanged | kVstTempoValid);
    plugin->SetTransport(transport(0u));
    EXPECT_EQ(timeOf(effect).flags, kVstTransportChanged | kVstTempoValid);
    plugin->SetTransport(transport(1u));
    EXPECT_EQ(timeOf(effect).flags, kVstTransportChanged | kVstTransportPlaying | kVstTempoValid);
}

TEST(VSTPluginTransport, Only_mode_1_plays) {
    for (const checked_value<std::uint32_t> mode :
         {checked_value<std::uint32_t>{}, checked_value<std::uint32_t>{0u},
          checked_value<std::uint32_t>{2u}}) {
        FakeEffect effect;
        auto plugin = HostEffect(effect);
        plugin->SetTransport(transport(mode));
        EXPECT_EQ(timeOf(effect).flags & kVstTransportPlaying, 0);
    }
}

TEST(VSTPluginTransport, A_change_of_mode_resets_the_effect_before_the_position_moves) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    double positionAtReset = -1.0;
    effect.answers[effMainsChanged] = [&](const FakeEffect::Call&) {
        positionAtReset = timeOf(effect).samplePos;
        return VstIntPtr{0};
    };
    plugin->SetTransport(transport(1u, 500));
    EXPECT_EQ(positionAtReset, 0.0);
    effect.calls.clear();
    plugin->SetTransport(transport(1u, 600));
    EXPECT_TRUE(effect.calls.empty());
    EXPECT_EQ(timeOf(effect).samplePos, 600.0);
}

} // namespace
