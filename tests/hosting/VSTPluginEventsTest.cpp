#include "hosting/FakeEffect.h"
#include "support/AllocationCount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <vector>

namespace {

using Tarvik::ProcessEvent;
using testing::ElementsAre;

/// Keeps what it is sent: the batches' sizes, and the bytes of each event.
struct EventEffect : FakeEffect {
    std::vector<VstInt32> batches;
    std::vector<VstMidiEvent> events;
    bool reservedSet = false;

    EventEffect() {
        batches.reserve(100);
        events.reserve(1000);
        answers[effProcessEvents] = [this](const Call& call) {
            const auto* sent = static_cast<const VstEvents*>(call.ptr);
            batches.push_back(sent->numEvents);
            reservedSet = reservedSet || sent->reserved != 0;
            const char* pointers = static_cast<const char*>(call.ptr) + offsetof(VstEvents, events);
            for (VstInt32 index = 0; index < sent->numEvents; ++index) {
                const VstMidiEvent* event = nullptr;
                std::memcpy(
                    &event, pointers + static_cast<std::size_t>(index) * sizeof(void*), sizeof(void*));
                events.push_back(*event);
            }
            return VstIntPtr{1};
        };
    }
};

TEST(VSTPluginEvents, An_event_becomes_a_MIDI_event) {
    EventEffect effect;
    auto plugin = HostEffect(effect, {.sampleRate = 48000.0f});
    const ProcessEvent event{
        .timeMs = 2.5, .status = 0x90, .channel = 3, .data1 = 60, .data2 = 200, .realtime = 1};
    plugin->ProcessEvents(1, &event);
    ASSERT_EQ(effect.events.size(), 1u);
    const VstMidiEvent& midi = effect.events[0];
    EXPECT_EQ(midi.type, kVstMidiType);
    EXPECT_EQ(midi.byteSize, 32);
    EXPECT_EQ(midi.deltaFrames, 120);
    EXPECT_EQ(midi.flags, 1);
    EXPECT_EQ(midi.noteLength, 0);
    EXPECT_EQ(midi.noteOffset, 0);
    EXPECT_EQ(static_cast<std::uint8_t>(midi.midiData[0]), 0x93);
    EXPECT_EQ(midi.midiData[1], 60);
    EXPECT_EQ(static_cast<std::uint8_t>(midi.midiData[2]), 200);
    EXPECT_EQ(midi.midiData[3], 0);
    EXPECT_EQ(midi.detune, 0);
    EXPECT_EQ(midi.noteOffVelocity, 0);
    EXPECT_EQ(midi.reserved1, 0);
    EXPECT_EQ(midi.reserved2, 0);
    EXPECT_FALSE(effect.reservedSet);
}

TEST(VSTPluginEvents, An_event_that_is_not_played_live_has_no_flags) {
    EventEffect effect;
    auto plugin = HostEffect(effect);
    const ProcessEvent event{.status = 0x80};
    plugin->ProcessEvents(1, &event);
    EXPECT_EQ(effect.events[0].flags, 0);
}

TEST(VSTPluginEvents, Times_round_to_the_nearest_frame_and_halves_away_from_zero) {
    EventEffect effect;
    auto plugin = HostEffect(effect, {.sampleRate = 1000.0f});
    std::vector<ProcessEvent> events;
    for (const double ms : {0.0, 0.49, 0.5, 1.4, 1.5, 2.5, -0.4, -0.5, -2.5}) {
        events.push_back({.timeMs = ms});
    }
    plugin->ProcessEvents(static_cast<std::uint32_t>(events.size()), events.data());
    std::vector<VstInt32> frames;
    for (const VstMidiEvent& event : effect.events) {
        frames.push_back(event.deltaFrames);
    }
    EXPECT_THAT(frames, ElementsAre(0, 0, 1, 1, 2, 3, 0, -1, -3));
}

TEST(VSTPluginEvents, Times_beyond_all_frames_stay_within_them) {
    EventEffect effect;
    auto plugin = HostEffect(effect);
    std::vector<ProcessEvent> events;
    for (const double ms :
         {1e300, -1e300, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        events.push_back({.timeMs = ms});
    }
    plugin->ProcessEvents(4, events.data());
    EXPECT_EQ(effect.events[0].deltaFrames, std::numeric_limits<VstInt32>::max());
    EXPECT_EQ(effect.events[1].deltaFrames, std::numeric_limits<VstInt32>::min());
    EXPECT_EQ(effect.events[2].deltaFrames, std::numeric_limits<VstInt32>::max());
    EXPECT_EQ(effect.events[3].deltaFrames, 0);
}

TEST(VSTPluginEvents, More_than_100_events_go_in_batches_in_their_order) {
    EventEffect effect;
    auto plugin = HostEffect(effect, {.sampleRate = 1000.0f});
    std::vector<ProcessEvent> events(250);
    for (std::size_t index = 0; index < events.size(); ++index) {
        events[index].timeMs = static_cast<double>(index);
    }
    plugin->ProcessEvents(250, events.data());
    EXPECT_THAT(effect.batches, ElementsAre(100, 100, 50));
    ASSERT_EQ(effect.events.size(), 250u);
    for (std::size_t index = 0; index < events.size(); ++index) {
        ASSERT_EQ(effect.events[index].deltaFrames, static_cast<VstInt32>(index));
    }
}

TEST(VSTPluginEvents, Exactly_100_events_are_one_batch_and_none_are_none) {
    EventEffect effect;
    auto plugin = HostEffect(effect);
    const std::vector<ProcessEvent> events(100);
    plugin->ProcessEvents(100, events.data());
    plugin->ProcessEvents(0, nullptr);
    EXPECT_THAT(effect.batches, ElementsAre(100));
}

TEST(VSTPluginEvents, Sending_allocates_nothing) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    const std::vector<ProcessEvent> events(350);
    effect.calls.reserve(100);
    const std::uint64_t before = AllocationCount();
    plugin->ProcessEvents(350, events.data());
    EXPECT_EQ(AllocationCount() - before, 0u);
    EXPECT_EQ(effect.CallsOf(effProcessEvents).size(), 4u);
}

} // namespace
