#include "dsp/DispatchInfo.h"
#include "Parametric.h"
#include "dsp/DSPCommand.h"
#include "support/VirtualSlot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <variant>

namespace DSP::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DispatchInfoTest : public ParametricTest {};

TEST_F(DispatchInfoTest, A_control_write_travels_to_the_audio_side_in_the_next_block) {
    Parametric element(host);
    element.TakeLog();
    host.audioRunning = true;
    EXPECT_TRUE(element.Gain().Set(ParamSide::control, 5.0F, {0, 1}));
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 1 5 (0,1)", "control 5"));
    EXPECT_EQ(element.gain, 1.0F);
    EXPECT_EQ(element.Gain().Get(ParamSide::control), 5.0F);
    EXPECT_EQ(element.GainInfo().GetInFlight(), 1U);
    Block(element);
    EXPECT_EQ(element.gain, 5.0F);
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 0 5 (0,1)", "audio 5 (0,1)"));
    EXPECT_EQ(element.GainInfo().GetInFlight(), 0U);
    element.DispatchParamChanges();
    EXPECT_THAT(element.paramsChanged, ElementsAre(false)) << "no echo of the own write";
    EXPECT_THAT(element.TakeLog(), IsEmpty());
}

TEST_F(DispatchInfoTest, With_audio_stopped_a_control_write_arrives_at_once) {
    Parametric element(host);
    element.Gain().Set(ParamSide::control, 5.0F, {});
    EXPECT_EQ(element.gain, 5.0F);
}

TEST_F(DispatchInfoTest, Values_outside_the_range_are_stored_and_observed_clamped) {
    Parametric element(host);
    element.TakeLog();
    host.audioRunning = true;
    element.Gain().Set(ParamSide::control, 100.0F, {});
    EXPECT_EQ(element.Gain().Get(ParamSide::control), 12.0F);
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 1 12 (0,0)", "control 12"));
    element.Gain().Set(ParamSide::audio, -100.0F, {});
    EXPECT_EQ(element.gain, -12.0F);
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 0 -12 (0,0)", "audio -12 (0,0)"));
    element.Mode().Set(ParamSide::audio, 9, {});
    EXPECT_EQ(element.mode, 5U);
    element.Mode().Set(ParamSide::audio, 0, {});
    EXPECT_EQ(element.mode, 3U);
}

TEST_F(DispatchInfoTest, A_value_that_stands_already_is_observed_but_posts_and_tells_nothing) {
    Parametric element(host);
    element.TakeLog();
    EXPECT_FALSE(element.Gain().Set(ParamSide::control, 1.0F, {}));
    EXPECT_FALSE(element.Gain().Set(ParamSide::audio, 1.0F, {}));
    EXPECT_EQ(host.posted, 0U);
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 1 1 (0,0)", "observed 0 1 (0,0)"));
}

TEST_F(DispatchInfoTest, Before_its_command_ran_a_control_write_wins_over_a_change_of_the_audio_side) {
    Parametric element(host);
    host.audioRunning = true;
    element.Gain().Set(ParamSide::control, 5.0F, {});
    element.gain = 7.0F;
    element.DispatchParamChanges();
    EXPECT_EQ(element.Gain().Get(ParamSide::control), 5.0F) << "quiet while a command is on its way";
    Block(element);
    EXPECT_EQ(element.gain, 5.0F);
    element.DispatchParamChanges();
    EXPECT_THAT(element.paramsChanged, ElementsAre(false, false));
}

TEST_F(DispatchInfoTest, Values_set_while_a_command_is_on_its_way_all_arrive_in_order) {
    Parametric element(host);
    element.TakeLog();
    host.audioRunning = true;
    element.Gain().Set(ParamSide::control, 2.0F, {1, 0});
    element.Gain().Set(ParamSide::control, 3.0F, {1, 0});
    EXPECT_EQ(element.GainInfo().GetInFlight(), 2U);
    element.TakeLog();
    Block(element);
    EXPECT_THAT(
        element.TakeLog(),
        ElementsAre("observed 0 2 (1,0)", "audio 2 (1,0)", "observed 0 3 (1,0)", "audio 3 (1,0)"));
}

TEST_F(DispatchInfoTest, What_the_DSP_changed_is_polled_told_to_the_element_and_then_delivered) {
    Parametric element(host);
    element.TakeLog();
    Trackable listener;
    Connection connection;
    ASSERT_TRUE(element.ConnectParam(
        "Gain",
        {&listener,
         [&](const ParamValue& value) {
             element.log.push_back("signal " + Parametric::text(std::get<float>(value)));
         }},
        connection));
    element.gain = 7.0F;
    element.DispatchParamChanges();
    EXPECT_THAT(element.paramsChanged, ElementsAre(true));
    EXPECT_EQ(element.Gain().Get(ParamSide::control), 7.0F);
    EXPECT_THAT(element.TakeLog(), ElementsAre("signal 7", "control 7"));
    element.DispatchParamChanges();
    EXPECT_THAT(element.paramsChanged, ElementsAre(true, false));
    EXPECT_THAT(element.TakeLog(), IsEmpty());
    EXPECT_EQ(host.posted, 0U);
}

TEST_F(DispatchInfoTest, A_control_write_is_signalled_before_the_control_callback) {
    Parametric element(host);
    Trackable listener;
    Connection connection;
    element.ConnectParam(
        "Gain", {&listener, [&](const ParamValue&) { element.log.push_back("signal"); }}, connection);
    host.audioRunning = true;
    element.TakeLog();
    element.Gain().Set(ParamSide::control, 5.0F, {});
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 1 5 (0,0)", "signal", "control 5"));
}

TEST_F(DispatchInfoTest, A_source_of_one_silences_the_control_callback_in_both_directions) {
    Parametric element(host);
    host.audioRunning = true;
    element.TakeLog();
    element.Gain().Set(ParamSide::control, 5.0F, {1, 1});
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 1 5 (1,1)"));
    Block(element);
    element.TakeLog();
    // The record keeps the tag of the last write to the audio side.
    element.gain = 6.0F;
    element.DispatchParamChanges();
    EXPECT_THAT(element.TakeLog(), IsEmpty());
    EXPECT_EQ(element.Gain().Get(ParamSide::control), 6.0F);
    element.Gain().Set(ParamSide::audio, 7.0F, {0, 1});
    element.TakeLog();
    element.DispatchParamChanges();
    EXPECT_THAT(element.TakeLog(), ElementsAre("control 7"));
}

TEST_F(DispatchInfoTest, A_dispatch_override_replaces_the_command) {
    Log overridden;
    Parametric element(host, {}, [&](float value, SourceTag tag) {
        overridden.push_back(Parametric::text(value) + " " + Parametric::text(tag));
    });
    host.audioRunning = true;
    element.TakeLog();
    element.Gain().Set(ParamSide::control, 50.0F, {2, 3});
    EXPECT_THAT(overridden, ElementsAre("12 (2,3)"));
    EXPECT_EQ(host.posted, 0U);
    EXPECT_EQ(element.GainInfo().GetInFlight(), 0U);
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 1 12 (2,3)", "control 12"));
}

TEST_F(DispatchInfoTest, A_slot_may_end_the_element_while_changes_are_delivered) {
    auto element = std::make_unique<Parametric>(host);
    Trackable listener;
    Connection connection;
    float told = 0.0F;
    element->ConnectParam(
        "Gain",
        {&listener,
         [&](const ParamValue& value) {
             told = std::get<float>(value);
             element.reset();
         }},
        connection);
    element->gain = 7.0F;
    element->DispatchParamChanges();
    EXPECT_EQ(told, 7.0F);
}

/// One whose observer throws on the audio side when a test says so.
class ThrowingObserver : public TestElement {
public:
    explicit ThrowingObserver(TestElementHost& host) : TestElement(host) {
        ParamRegistration<float> param;
        param.name = "a";
        param.range = {0.0F, 10.0F};
        param.target = &target;
        param.observers.push_back([this](std::uint32_t side, float, SourceTag) {
            if (throws && side == ParamSide::audio) {
                throw 1;
            }
        });
        AddFloatParam(std::move(param));
        FinishParamRegistration();
        Reset();
    }

    float target = 0.0F;
    bool throws = false;
};

TEST_F(DispatchInfoTest, A_callback_that_throws_on_the_audio_side_does_not_silence_the_parameter) {
    for (const bool running : {true, false}) {
        ThrowingObserver element(host);
        const auto param = std::get<ElementParam<float>>(element.GetParam("a"));
        host.audioRunning = running;
        element.throws = true;
        if (running) {
            param.Set(ParamSide::control, 5.0F, {});
            EXPECT_THROW(Block(element), int);
            element.Idle();
        } else {
            EXPECT_THROW(param.Set(ParamSide::control, 5.0F, {}), int);
        }
        EXPECT_EQ(element.GetDispatchInfo<float>(0)->GetInFlight(), 0U);
        element.throws = false;
        element.target = 7.0F;
        element.DispatchParamChanges();
        EXPECT_EQ(param.Get(ParamSide::control), 7.0F) << "what the DSP changes is found again";
    }
}

TEST(DispatchInfo, Its_operations_stand_in_their_published_order) {
    using Info = DispatchInfo<float>;
    EXPECT_EQ(virtualSlots(&Info::Poll, &Info::Deliver, &Info::Announce), slotsFrom(destructorSlots, 3));
}

TEST_F(DispatchInfoTest, A_switch_is_clamped_as_a_number_is) {
    TestElement mailbox(host);
    for (const bool only : {false, true}) {
        bool target = only;
        ParamRegistration<bool> registration;
        registration.range = {only, only};
        registration.target = &target;
        DispatchInfo<bool> info(registration, mailbox);
        EXPECT_FALSE(info.Set(ParamSide::control, !only, {}));
        EXPECT_FALSE(info.Set(ParamSide::audio, !only, {}));
        EXPECT_EQ(info.Get(ParamSide::control), only);
        EXPECT_EQ(target, only);
    }
}

TEST_F(DispatchInfoTest, Switches_and_choices_travel_as_numbers_do) {
    Parametric element(host);
    host.audioRunning = true;
    const auto onOff = std::get<ElementParam<bool>>(element.GetParam("Switch"));
    EXPECT_TRUE(onOff.Set(ParamSide::control, true, {}));
    EXPECT_TRUE(element.Mode().Set(ParamSide::control, 5, {}));
    EXPECT_FALSE(element.on);
    EXPECT_EQ(element.mode, 3U);
    EXPECT_EQ(element.GetDispatchInfo<bool>(Parametric::switchIndex)->GetInFlight(), 1U);
    EXPECT_EQ(element.GetDispatchInfo<std::uint32_t>(Parametric::modeIndex)->GetInFlight(), 1U);
    Block(element);
    EXPECT_TRUE(element.on);
    EXPECT_EQ(element.mode, 5U);
    EXPECT_EQ(element.GetDispatchInfo<bool>(Parametric::switchIndex)->GetInFlight(), 0U);
    EXPECT_EQ(element.GetDispatchInfo<std::uint32_t>(Parametric::modeIndex)->GetInFlight(), 0U);
}

TEST_F(DispatchInfoTest, Every_side_but_the_audio_side_reads_the_control_side) {
    Parametric element(host);
    host.audioRunning = true;
    element.Gain().Set(ParamSide::control, 5.0F, {});
    EXPECT_EQ(element.Gain().Get(0), 1.0F);
    for (const std::uint32_t side : {1U, 2U, 0xFFFFFFFFU}) {
        EXPECT_EQ(element.Gain().Get(side), 5.0F) << side;
    }
}

TEST_F(DispatchInfoTest, After_a_lost_command_the_control_sides_value_is_the_last_word) {
    class Losing final : public DSPCommandMailbox {
    public:
        void PostCommand(DSPCommand* command) override { delete command; }
    } mailbox;
    float target = 0.0F;
    ParamRegistration<float> registration;
    registration.range = {0.0F, 10.0F};
    registration.target = &target;
    DispatchInfo<float> info(registration, mailbox);
    EXPECT_TRUE(info.Set(ParamSide::control, 5.0F, {}));
    target = 7.0F;
    EXPECT_FALSE(info.Poll());
    EXPECT_EQ(info.Get(ParamSide::control), 5.0F);
}

} // namespace
} // namespace DSP::Testing
