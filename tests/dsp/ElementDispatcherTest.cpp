#include "TestElement.h"
#include "controller/BoolParam.h"
#include "controller/ControllerSet.h"
#include "controller/EnumParam.h"
#include "controller/FloatParam.h"
#include "dsp/ElementDispatcherControllerSet.h"
#include "dsp/HumanReadableParamVisitor.h"
#include "dsp/RegistrationFaults.h"
#include "dsp/SetParamWithoutCallbacksCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace DSP::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Log = std::vector<std::string>;

class DecibelText final : public ParamFormatter<float> {
public:
    String Format(float value) const override { return String::number(value, 1U) + " dB"; }
};

/// A gain, a switch and a choice.
class Parametric : public TestElement {
public:
    enum Index : std::uint32_t { gainIndex, switchIndex, modeIndex };

    explicit Parametric(
        TestElementHost& host, const ElementConfig& config = {},
        ParamRegistration<float>::DispatchOverride gainOverride = {})
        : TestElement(host, mono, config) {
        ParamRegistration<float> gainParam;
        gainParam.name = "Gain";
        gainParam.index = gainIndex;
        gainParam.range = {-12.0F, 12.0F};
        gainParam.defaultValue = 0.0F;
        gainParam.target = &gain;
        gainParam.info = "Loudness";
        gainParam.units = "dB";
        gainParam.formatter = std::make_unique<DecibelText>();
        gainParam.audioCallback = [this](float value, SourceTag tag) {
            log.push_back("audio " + text(value) + " " + text(tag));
        };
        gainParam.controlCallback = [this](float value) { log.push_back("control " + text(value)); };
        gainParam.observers.push_back([this](std::uint32_t side, float value, SourceTag tag) {
            log.push_back("observed " + std::to_string(side) + " " + text(value) + " " + text(tag));
        });
        gainParam.dispatchOverride = std::move(gainOverride);
        gainParam.followUps.push_back([this] { log.push_back("first follow-up"); });
        gainParam.followUps.push_back([this] { log.push_back("second follow-up"); });
        AddFloatParam(std::move(gainParam));

        ParamRegistration<bool> switchParam;
        switchParam.name = "Switch";
        switchParam.index = switchIndex;
        switchParam.range = {false, true};
        switchParam.target = &on;
        switchParam.quantised = true;
        AddBoolParam(std::move(switchParam));

        ParamRegistration<std::uint32_t> modeParam;
        modeParam.name = "Mode";
        modeParam.index = modeIndex;
        modeParam.range = {3, 5};
        modeParam.defaultValue = 3;
        modeParam.target = &mode;
        modeParam.valueNames = {"Low", "Middle", "High"};
        AddEnumParam(std::move(modeParam));
        infoBefore = GetParamInfo("Gain");
        FinishParamRegistration();
        Reset();
    }

    static std::string text(float value) { return std::to_string(static_cast<int>(value)); }
    static std::string text(SourceTag tag) {
        return "(" + std::to_string(tag.value) + "," + std::to_string(tag.flag) + ")";
    }

    Log TakeLog() {
        Log taken;
        taken.swap(log);
        return taken;
    }
    ElementParam<float> Gain() const { return std::get<ElementParam<float>>(GetParam("Gain")); }
    ElementParamEnum Mode() const { return std::get<ElementParamEnum>(GetParam("Mode")); }
    DispatchInfo<float>& GainInfo() const { return *GetDispatchInfo<float>(gainIndex); }

    float gain = 1.0F;
    bool on = false;
    std::uint32_t mode = 3;
    Log log;
    ParamInfo infoBefore;
};

class ElementDispatcherTest : public ::testing::Test {
protected:
    void Block(Element& element) {
        TestAudio audio(1, 4);
        element.Process(4, audio.GetPointers());
    }

    TestElementHost host;
};

TEST_F(ElementDispatcherTest, Finishing_calls_follow_ups_then_announces_the_first_values) {
    Parametric element(host);
    EXPECT_THAT(
        element.TakeLog(),
        ElementsAre("first follow-up", "second follow-up", "audio 1 (0,0)", "observed 0 1 (0,0)"));
    EXPECT_EQ(element.begins, 1U);
    EXPECT_EQ(element.ends, 1U);
    element.FinishParamRegistration();
    EXPECT_THAT(element.TakeLog(), IsEmpty()) << "a second time does nothing";
}

TEST_F(ElementDispatcherTest, The_control_side_starts_with_the_targets_value) {
    const Parametric element(host);
    EXPECT_EQ(element.Gain().Get(ParamSide::control), 1.0F);
    EXPECT_EQ(element.Gain().Get(ParamSide::audio), 1.0F);
    EXPECT_EQ(element.Gain().GetDefault(), 0.0F);
    EXPECT_EQ(element.Gain().GetRange(), (value_range<float>{-12.0F, 12.0F}));
    EXPECT_EQ(element.Gain().GetName(), "Gain");
    EXPECT_EQ(element.Gain().GetOwner(), &element);
    EXPECT_EQ(element.GetNumParams(), 3U);
    EXPECT_THAT(element.GetParamNames(), ElementsAre("Gain", "Switch", "Mode"));
    EXPECT_EQ(element.GetParamMap().at("Mode").index, 2U);
}

TEST_F(ElementDispatcherTest, The_description_is_the_info_text_before_the_end_and_complete_after) {
    const Parametric element(host);
    EXPECT_EQ(element.infoBefore.info, "Loudness");
    EXPECT_FALSE(element.infoBefore.kind.valid);
    EXPECT_TRUE(element.infoBefore.units.isEmpty());
    EXPECT_EQ(element.GetParamInfo("Gain").kind, checked_value<ParamKind>(ParamKind::Float));
    EXPECT_EQ(element.GetParamInfo("Gain").units, "dB");
    EXPECT_EQ(element.GetParamInfo("Switch").kind, checked_value<ParamKind>(ParamKind::Bool));
    EXPECT_TRUE(element.GetParamInfo("Switch").quantised);
    EXPECT_EQ(element.GetParamInfo("Mode").kind, checked_value<ParamKind>(ParamKind::Enum));
    EXPECT_FALSE(element.GetParamInfo("None").kind.valid);
    EXPECT_EQ(&element.GetParamInfo("None"), &element.GetParamInfo("Nobody")) << "one record for all";
}

TEST_F(ElementDispatcherTest, An_unknown_name_gives_an_empty_float_handle_that_answers_zero) {
    Parametric element(host);
    const ParamHandle handle = element.GetParam("Nothing");
    const auto& param = std::get<ElementParam<float>>(handle);
    EXPECT_FALSE(param);
    EXPECT_EQ(param.Get(ParamSide::control), 0.0F);
    EXPECT_EQ(param.Get(ParamSide::audio), 0.0F);
    EXPECT_FALSE(param.Set(ParamSide::control, 1.0F, {}));
    EXPECT_EQ(param.GetDefault(), 0.0F);
    EXPECT_EQ(param.GetRange(), (value_range<float>{1.0F, 0.0F}));
    EXPECT_EQ(param.GetFormatter(), nullptr);
    EXPECT_EQ(param.GetOwner(), nullptr);
    EXPECT_TRUE(param.GetName().isEmpty());
    param.BeginGesture();
    param.EndGesture();
    EXPECT_TRUE(ElementParamEnum().GetEnumName(0).isEmpty());
}

TEST_F(ElementDispatcherTest, A_control_write_travels_to_the_audio_side_in_the_next_block) {
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

TEST_F(ElementDispatcherTest, With_audio_stopped_a_control_write_arrives_at_once) {
    Parametric element(host);
    element.Gain().Set(ParamSide::control, 5.0F, {});
    EXPECT_EQ(element.gain, 5.0F);
}

TEST_F(ElementDispatcherTest, Values_outside_the_range_are_stored_and_observed_clamped) {
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

TEST_F(ElementDispatcherTest, A_value_that_stands_already_is_observed_but_posts_and_tells_nothing) {
    Parametric element(host);
    element.TakeLog();
    EXPECT_FALSE(element.Gain().Set(ParamSide::control, 1.0F, {}));
    EXPECT_FALSE(element.Gain().Set(ParamSide::audio, 1.0F, {}));
    EXPECT_EQ(host.posted, 0U);
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 1 1 (0,0)", "observed 0 1 (0,0)"));
}

TEST_F(ElementDispatcherTest, Before_its_command_ran_a_control_write_wins_over_a_change_of_the_audio_side) {
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

TEST_F(ElementDispatcherTest, Values_set_while_a_command_is_on_its_way_all_arrive_in_order) {
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

TEST_F(ElementDispatcherTest, What_the_DSP_changed_is_polled_told_to_the_element_and_then_delivered) {
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

TEST_F(ElementDispatcherTest, A_control_write_is_signalled_before_the_control_callback) {
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

TEST_F(ElementDispatcherTest, A_slot_for_an_unknown_name_is_not_connected) {
    Parametric element(host);
    Trackable listener;
    Connection connection;
    EXPECT_FALSE(element.ConnectParam("Nothing", {&listener, [](const ParamValue&) {}}, connection));
}

TEST_F(ElementDispatcherTest, A_source_of_one_silences_the_control_callback_in_both_directions) {
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

TEST_F(ElementDispatcherTest, A_dispatch_override_replaces_the_command) {
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

TEST_F(ElementDispatcherTest, SetParam_tags_with_the_source_or_with_the_value_last_given_for_it) {
    Parametric element(host);
    host.audioRunning = true;
    element.TakeLog();
    EXPECT_TRUE(element.SetParam(1, Parametric::gainIndex, 2.0F));
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 1 2 (0,1)", "control 2"));
    element.SetLastSource(1, 1U);
    EXPECT_TRUE(element.SetParam(1, Parametric::gainIndex, 3.0F));
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 1 3 (1,1)"));
    EXPECT_TRUE(element.SetParam(0, Parametric::gainIndex, 4.0F));
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 0 4 (0,0)", "audio 4 (0,0)"));
    EXPECT_EQ(element.gain, 4.0F);
    element.SetLastSource(0, 9U);
    EXPECT_TRUE(element.SetParam(2, Parametric::gainIndex, 5.0F));
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 2 5 (9,1)", "control 5"));
    element.SetLastSource(1, {});
    EXPECT_TRUE(element.SetParam(1, Parametric::gainIndex, 6.0F));
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 1 6 (0,1)", "control 6"));
}

TEST_F(ElementDispatcherTest, SetParam_ignores_an_index_past_the_end_and_a_value_of_another_kind) {
    Parametric element(host);
    EXPECT_FALSE(element.SetParam(1, 3, 2.0F));
    EXPECT_FALSE(element.SetParam(1, Parametric::gainIndex, true));
    EXPECT_TRUE(element.SetParam(1, Parametric::switchIndex, true));
    EXPECT_TRUE(element.SetParam(1, Parametric::modeIndex, 4U));
    EXPECT_TRUE(element.on);
    EXPECT_EQ(element.mode, 4U);
}

TEST_F(ElementDispatcherTest, A_command_without_callbacks_stores_the_clamped_target_alone) {
    Parametric element(host);
    host.audioRunning = true;
    element.TakeLog();
    element.SetParamWithoutCallbacks(Parametric::gainIndex, 99.0F);
    EXPECT_EQ(element.GainInfo().GetInFlight(), 1U);
    Block(element);
    EXPECT_EQ(element.gain, 12.0F);
    EXPECT_EQ(element.GainInfo().GetInFlight(), 0U);
    EXPECT_THAT(element.TakeLog(), IsEmpty());
    EXPECT_EQ(element.Gain().Get(ParamSide::control), 1.0F);
    element.SetParamWithoutCallbacks(17, 1.0F);
    element.SetParamWithoutCallbacks(Parametric::gainIndex, true);
    EXPECT_EQ(host.posted, 1U);
}

TEST_F(ElementDispatcherTest, An_empty_observer_throws_the_bad_call_error) {
    TestElement element(host);
    float target = 0.0F;
    ParamRegistration<float> param;
    param.name = "a";
    param.target = &target;
    param.observers.emplace_back();
    element.AddFloatParam(std::move(param));
    EXPECT_THROW(element.FinishParamRegistration(), std::bad_function_call);
}

TEST_F(ElementDispatcherTest, An_empty_follow_up_throws_the_bad_call_error) {
    TestElement element(host);
    float target = 0.0F;
    ParamRegistration<float> param;
    param.name = "a";
    param.target = &target;
    param.followUps.emplace_back();
    element.AddFloatParam(std::move(param));
    EXPECT_THROW(element.FinishParamRegistration(), std::bad_function_call);
}

TEST(RegistrationFaultsTest, Texts) {
    EXPECT_EQ(RegistrationFaults::NameTaken("Gain"), "Parameter \"Gain\" has already been registered");
    EXPECT_EQ(RegistrationFaults::NotRegistered(3), "Parameter index 3 has not been registered");
    EXPECT_EQ(
        RegistrationFaults::SameName(4), "Parameter registration for parameter index 4 failed. Was there "
                                         "already a parameter with the same ID?");
    EXPECT_EQ(
        RegistrationFaults::WrongIndex(5, 6),
        "Parameter registration for parameter index 5 returned in the wrong index: 6");
}

/// Float parameters with the given names and indices, each with a follow-up.
class Registered : public TestElement {
public:
    Registered(TestElementHost& host, const std::vector<std::pair<const char*, std::uint32_t>>& list)
        : TestElement(host), targets(list.size()) {
        for (std::size_t i = 0; i < list.size(); ++i) {
            targets[i] = static_cast<float>(i) / 10.0F;
            ParamRegistration<float> param;
            param.name = list[i].first;
            param.index = list[i].second;
            param.target = &targets[i];
            const std::string name = list[i].first;
            param.followUps.push_back([this, name] { followed.push_back(name); });
            AddFloatParam(std::move(param));
        }
        FinishParamRegistration();
    }
    std::vector<float> targets;
    Log followed;
};

TEST_F(ElementDispatcherTest, A_name_used_twice_stays_with_its_first_parameter) {
    const Registered element(host, {{"a", 0}, {"a", 1}, {"b", 2}});
    EXPECT_EQ(element.GetParamMap().at("a").index, 0U);
    EXPECT_EQ(element.GetParamMap().at("b").index, 2U);
    EXPECT_EQ(element.GetNumParams(), 3U);
    EXPECT_THAT(element.followed, ElementsAre("a", "b"));
    EXPECT_THAT(element.GetParamNames(), ElementsAre("a", "", "b"));
}

TEST_F(ElementDispatcherTest, An_index_left_out_shifts_those_behind_it_which_then_have_no_follow_ups) {
    const Registered element(host, {{"a", 0}, {"c", 2}});
    EXPECT_EQ(element.GetParamMap().at("c").index, 1U);
    EXPECT_EQ(std::get<ElementParam<float>>(element.GetParam("c")).Get(ParamSide::control), 0.1F);
    EXPECT_EQ(element.GetNumParams(), 2U);
    EXPECT_THAT(element.followed, ElementsAre("a"));
    EXPECT_THAT(element.GetParamNames(), ElementsAre("a", "", "c"));
}

TEST_F(ElementDispatcherTest, An_element_without_parameters_is_complete) {
    TestElement element(host);
    element.FinishParamRegistration();
    EXPECT_EQ(element.GetNumParams(), 0U);
    EXPECT_TRUE(element.GetParamMap().empty());
    element.DispatchParamChanges();
    EXPECT_THAT(element.paramsChanged, ElementsAre(false));
}

TEST_F(ElementDispatcherTest, The_flag_shows_at_the_end_of_the_registration) {
    TestElement element(host, mono, {.flag = true});
    EXPECT_FALSE(element.GetFlag());
    element.FinishParamRegistration();
    EXPECT_TRUE(element.GetFlag());
    TestElement plain(host);
    plain.FinishParamRegistration();
    EXPECT_FALSE(plain.GetFlag());
}

TEST_F(ElementDispatcherTest, Finishing_dispatches_to_children_and_reserves_scratch_memory) {
    TestElement child(host);
    child.FinishParamRegistration();
    child.paramsChanged.clear();
    TestElement element(host);
    element.ownScratch = 100;
    element.AddChild(&child);
    element.FinishParamRegistration();
    EXPECT_THAT(child.paramsChanged, ElementsAre(false));
    void* const block = host.AllocScratch(100);
    EXPECT_EQ(host.GetScratchUsed(), 100U);
    host.FreeScratch(block, 100);
}

TEST_F(ElementDispatcherTest, Children_dispatch_before_their_parent) {
    Log order;
    struct Ordered : TestElement {
        Ordered(TestElementHost& h, Log& l, const char* n) : TestElement(h), log(l), name(n) {}
        void OnParamsChanged(bool) override { log.push_back(name); }
        Log& log;
        const char* name;
    };
    Ordered parent(host, order, "parent");
    Ordered child(host, order, "child");
    parent.AddChild(&child);
    parent.DispatchParamChanges();
    EXPECT_THAT(order, ElementsAre("child", "parent"));
}

TEST_F(ElementDispatcherTest, When_OnParamsChanged_throws_the_changes_are_found_again) {
    struct Throwing : Parametric {
        using Parametric::Parametric;
        void OnParamsChanged(bool any) override {
            TestElement::OnParamsChanged(any);
            if (throws) {
                throw 1;
            }
        }
        bool throws = false;
    } element(host);
    element.TakeLog();
    element.gain = 8.0F;
    element.throws = true;
    EXPECT_THROW(element.DispatchParamChanges(), int);
    EXPECT_EQ(element.Gain().Get(ParamSide::control), 1.0F);
    element.throws = false;
    element.DispatchParamChanges();
    EXPECT_THAT(element.paramsChanged, ElementsAre(true, true));
    EXPECT_THAT(element.TakeLog(), ElementsAre("control 8"));
}

TEST_F(ElementDispatcherTest, A_handle_outlives_its_element) {
    ElementParam<float> gain;
    Trackable listener;
    float told = 0.0F;
    {
        Parametric element(host);
        gain = element.Gain();
        Connection connection;
        element.ConnectParam(
            "Gain", {&listener, [&](const ParamValue& value) { told = std::get<float>(value); }}, connection);
        host.audioRunning = true;
        gain.Set(ParamSide::control, 5.0F, {});
    }
    EXPECT_EQ(gain.Get(ParamSide::control), 5.0F);
    EXPECT_EQ(gain.Get(ParamSide::audio), 5.0F);
    EXPECT_EQ(gain.GetName(), "Gain");
    EXPECT_EQ(gain.GetOwner(), nullptr);
    EXPECT_EQ(gain.GetFormatter()->Format(1.0F), String::number(1.0F, 1U) + " dB");
    EXPECT_TRUE(gain.Set(ParamSide::control, 50.0F, {}));
    EXPECT_EQ(gain.Get(ParamSide::control), 12.0F);
    EXPECT_EQ(told, 12.0F);
    gain.BeginGesture();
    gain.EndGesture();
    EXPECT_EQ(host.posted, 1U);
}

TEST_F(ElementDispatcherTest, Gestures_are_batches_of_the_element) {
    Parametric element(host);
    element.Gain().BeginGesture();
    element.Mode().BeginGesture();
    element.Gain().EndGesture();
    EXPECT_EQ(element.begins, 2U) << "one of the registration, one of both gestures";
    EXPECT_EQ(element.ends, 1U);
    element.Mode().EndGesture();
    EXPECT_EQ(element.ends, 2U);
}

TEST_F(ElementDispatcherTest, Enumeration_values_have_names_inside_their_range) {
    const Parametric element(host);
    EXPECT_EQ(element.Mode().GetEnumName(3), "Low");
    EXPECT_EQ(element.Mode().GetEnumName(5), "High");
    EXPECT_EQ(element.Mode().GetEnumName(2), "");
    EXPECT_EQ(element.Mode().GetEnumName(6), "");
    EXPECT_EQ(element.Mode().GetFormatter()->Format(4), "Middle");
}

TEST_F(ElementDispatcherTest, An_enumeration_without_names_has_neither_names_nor_formatter) {
    TestElement element(host);
    std::uint32_t target = 1;
    ParamRegistration<std::uint32_t> param;
    param.name = "a";
    param.range = {0, 3};
    param.target = &target;
    element.AddEnumParam(std::move(param));
    element.FinishParamRegistration();
    const auto handle = std::get<ElementParamEnum>(element.GetParam("a"));
    EXPECT_EQ(handle.GetEnumName(1), "");
    EXPECT_EQ(handle.GetFormatter(), nullptr);
    HumanReadableParamVisitor visitor;
    element.VisitParams(visitor);
    EXPECT_EQ(std::get<String>(visitor.GetValues().at("a")), "");
}

TEST_F(ElementDispatcherTest, The_human_readable_visitor_notes_what_is_not_default) {
    Parametric element(host);
    element.SetParam(1, Parametric::modeIndex, 5U);
    HumanReadableParamVisitor visitor;
    element.VisitParams(visitor);
    ASSERT_EQ(visitor.GetValues().size(), 2U);
    EXPECT_EQ(std::get<float>(visitor.GetValues().at("Gain")), 1.0F);
    EXPECT_EQ(std::get<String>(visitor.GetValues().at("Mode")), "High");
    element.SetParam(1, Parametric::gainIndex, 0.0F);
    element.SetParam(1, Parametric::switchIndex, true);
    HumanReadableParamVisitor second;
    element.VisitParams(second);
    EXPECT_EQ(second.GetValues().count("Gain"), 0U);
    EXPECT_TRUE(std::get<bool>(second.GetValues().at("Switch")));
}

TEST_F(ElementDispatcherTest, Parameters_are_visited_in_the_order_of_names) {
    struct Names : Element::ParamVisitor {
        void VisitFloat(const String& name, const ElementParam<float>&) override { Add(name); }
        void VisitBool(const String& name, const ElementParam<bool>&) override { Add(name); }
        void VisitEnum(const String& name, const ElementParamEnum&) override { Add(name); }
        void Add(const String& name) { names.push_back(name.toStdString()); }
        Log names;
    };
    const Parametric element(host);
    Names all;
    element.VisitParams(all);
    EXPECT_THAT(all.names, ElementsAre("Gain", "Mode", "Switch"));
    Names one;
    element.VisitParams(one, 1, 1);
    EXPECT_THAT(one.names, ElementsAre("Mode"));
    Names none;
    element.VisitParams(none, 3, 5);
    EXPECT_THAT(none.names, IsEmpty());
    Element::ParamVisitor silent;
    element.VisitParams(silent);
}

TEST_F(ElementDispatcherTest, The_controller_set_is_made_once) {
    Parametric element(host);
    Controller::ControllerSet* const set = element.GetControllerSet();
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(element.GetControllerSet(), set);
}

TEST_F(ElementDispatcherTest, GetControllerSet_while_the_set_is_made_throws_and_works_again_after) {
    struct Recursive : Parametric {
        using Parametric::Parametric;
        std::unique_ptr<Controller::ControllerSet> CreateControllerSet() override {
            if (recurse) {
                GetControllerSet();
            }
            return Parametric::CreateControllerSet();
        }
        bool recurse = true;
    } element(host);
    try {
        element.GetControllerSet();
        FAIL() << "no exception";
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(
            error.what(), "Calling ElementDispatcher::GetControllerSet() recursively. Make sure your custom "
                          "controller set's "
                          "constructor does not call through to GetControllerSet()!");
    }
    element.recurse = false;
    EXPECT_NE(element.GetControllerSet(), nullptr);
}

TEST_F(ElementDispatcherTest, Controllers_are_found_by_name_and_kind_and_made_once) {
    Parametric element(host);
    Controller::ControllerSet& set = *element.GetControllerSet();
    const auto gain = set.floatController("Gain");
    ASSERT_NE(gain, nullptr);
    EXPECT_EQ(set.floatController("Gain"), gain);
    EXPECT_EQ(set.floatController("Switch"), nullptr);
    EXPECT_EQ(set.floatController("Nothing"), nullptr);
    EXPECT_EQ(set.boolController("Gain"), nullptr);
    EXPECT_NE(set.boolController("Switch"), nullptr);
    EXPECT_NE(set.enumController("Mode"), nullptr);
}

TEST_F(ElementDispatcherTest, A_controller_forwards_to_the_parameter) {
    Parametric element(host);
    const auto gain = element.GetControllerSet()->floatController("Gain");
    EXPECT_EQ(gain->name(), "Gain");
    EXPECT_EQ(gain->range(), (value_range<float>{-12.0F, 12.0F}));
    EXPECT_EQ(gain->defaultValue(), 0.0F);
    EXPECT_TRUE(gain->hasDefault());
    EXPECT_EQ(gain->value(), 1.0F);
    EXPECT_FALSE(gain->isLinked());
    EXPECT_EQ(
        std::static_pointer_cast<Controller::ElementDispatcherFloatController>(gain)->displayText(2.0F),
        String::number(2.0F, 1U) + " dB");
    const auto mode = element.GetControllerSet()->enumController("Mode");
    EXPECT_EQ(mode->name(), "Mode");
    EXPECT_EQ(mode->name(4), "Middle");
    const auto onOff = element.GetControllerSet()->boolController("Switch");
    EXPECT_EQ(
        std::static_pointer_cast<Controller::ElementDispatcherBoolController>(onOff)->displayText(true), "");
}

TEST_F(ElementDispatcherTest, A_controllers_write_is_a_control_write_with_its_own_tag) {
    Parametric element(host);
    const auto gain = element.GetControllerSet()->floatController("Gain");
    host.audioRunning = true;
    element.TakeLog();
    gain->setValue(100.0F);
    EXPECT_THAT(element.TakeLog(), ElementsAre("observed 1 12 (0,1)", "control 12"));
    EXPECT_EQ(gain->value(), 12.0F);
    EXPECT_EQ(element.begins, 2U) << "a change is a gesture of the element";
    EXPECT_EQ(element.ends, 2U);
    gain->resetToDefault();
    EXPECT_EQ(element.Gain().Get(ParamSide::control), 0.0F);
}

TEST_F(ElementDispatcherTest, A_controller_tells_changes_whoever_made_them) {
    Parametric element(host);
    const auto gain = element.GetControllerSet()->floatController("Gain");
    Trackable listener;
    std::vector<float> told;
    gain->valueChangedSignal().connect(listener, [&told](const float& value) { told.push_back(value); });
    element.Gain().Set(ParamSide::control, 2.0F, {});
    element.gain = 3.0F;
    element.DispatchParamChanges();
    gain->setValue(4.0F);
    EXPECT_THAT(told, ElementsAre(2.0F, 3.0F, 4.0F));
}

TEST_F(ElementDispatcherTest, A_controller_outlives_its_element) {
    std::shared_ptr<Controller::FloatParam> gain;
    {
        Parametric element(host);
        gain = element.GetControllerSet()->floatController("Gain");
    }
    gain->setValue(2.0F);
    EXPECT_EQ(gain->value(), 2.0F);
    EXPECT_EQ(gain->name(), "Gain");
}

} // namespace
} // namespace DSP::Testing
