#include "dsp/ElementDispatcher.h"
#include "Parametric.h"
#include "support/VirtualSlot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace DSP::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ElementDispatcherTest : public ParametricTest {};

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

TEST_F(ElementDispatcherTest, A_slot_for_an_unknown_name_is_not_connected) {
    Parametric element(host);
    Trackable listener;
    Connection connection;
    EXPECT_FALSE(element.ConnectParam("Nothing", {&listener, [](const ParamValue&) {}}, connection));
}

TEST_F(ElementDispatcherTest, A_connection_stays_what_it_was_when_the_name_is_unknown) {
    Parametric element(host);
    Trackable listener;
    Connection connection;
    int told = 0;
    const auto count = [&told](const ParamValue&) { ++told; };
    ASSERT_TRUE(element.ConnectParam("Gain", {&listener, count}, connection));
    ASSERT_FALSE(element.ConnectParam("Nothing", {&listener, count}, connection));
    element.SetParam(1, Parametric::gainIndex, 2.0F);
    EXPECT_EQ(told, 1);
    element.GainInfo().GetSignal().disconnect(connection);
    element.SetParam(1, Parametric::gainIndex, 3.0F);
    EXPECT_EQ(told, 1) << "it still ends the first slot";
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

TEST_F(ElementDispatcherTest, A_slot_may_end_the_element_that_SetParam_is_called_on) {
    for (const bool running : {false, true}) {
        auto element = std::make_unique<Parametric>(host);
        Trackable listener;
        Connection connection;
        element->ConnectParam("Gain", {&listener, [&](const ParamValue&) { element.reset(); }}, connection);
        host.audioRunning = running;
        EXPECT_TRUE(element->SetParam(1, Parametric::gainIndex, 5.0F));
        EXPECT_EQ(element, nullptr);
    }
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
            param.info = String::number(static_cast<std::uint32_t>(i));
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

TEST_F(ElementDispatcherTest, A_name_used_again_at_a_lower_index_stays_with_its_first_parameter) {
    const Registered element(host, {{"a", 1}, {"a", 0}, {"b", 2}});
    EXPECT_EQ(element.GetParamMap().at("a").index, 1U);
    EXPECT_EQ(std::get<ElementParam<float>>(element.GetParam("a")).Get(ParamSide::audio), 0.0F);
    EXPECT_EQ(element.GetNumParams(), 3U) << "the second is in the table, under no name";
    EXPECT_THAT(element.followed, ElementsAre("a", "b"));
    EXPECT_THAT(element.GetParamNames(), ElementsAre("", "a", "b"));
}

TEST_F(ElementDispatcherTest, A_name_used_again_at_the_same_index_stays_with_its_first_parameter) {
    const Registered element(host, {{"a", 0}, {"a", 0}});
    EXPECT_EQ(std::get<ElementParam<float>>(element.GetParam("a")).Get(ParamSide::audio), 0.0F);
    EXPECT_EQ(element.GetNumParams(), 1U);
    EXPECT_EQ(element.GetParamInfo("a").info, "0");
    EXPECT_THAT(element.followed, ElementsAre("a"));
}

TEST_F(ElementDispatcherTest, A_parameter_whose_index_another_takes_gives_its_name_free) {
    const Registered element(host, {{"b", 0}, {"a", 0}, {"b", 1}});
    EXPECT_EQ(element.GetParamMap().at("a").index, 0U);
    EXPECT_EQ(element.GetParamMap().at("b").index, 1U);
    EXPECT_EQ(element.GetParamInfo("b").info, "2");
    EXPECT_THAT(element.GetParamNames(), ElementsAre("a", "b"));
    const Registered orphaned(host, {{"b", 0}, {"b", 1}, {"a", 0}});
    EXPECT_EQ(orphaned.GetParamMap().count("b"), 0U) << "the second b was none when it came";
    EXPECT_EQ(orphaned.GetNumParams(), 2U);
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

/// Notes in the parent's log what happens while a registration ends.
class Noting : public TestElement {
public:
    Noting(TestElementHost& host, Log& notes, std::string text)
        : TestElement(host, mono, {.flag = true}), log(notes), name(std::move(text)) {
        ParamRegistration<float> param;
        param.name = "a";
        param.target = &target;
        param.audioCallback = [this](float, SourceTag) { Note("announces"); };
        AddFloatParam(std::move(param));
    }

protected:
    void OnParamChangeBegin() override { Note("begins"); }
    void OnParamChangeEnd() override { Note("ends"); }
    void OnParamsChanged(bool) override { Note("dispatches"); }
    std::uint32_t GetOwnScratchBytes() const override {
        Note(GetFlag() ? "reserves, flagged" : "reserves");
        return 0;
    }

private:
    void Note(const char* what) const { log.push_back(name + " " + what); }

    Log& log;
    std::string name;
    float target = 0.0F;
};

TEST_F(ElementDispatcherTest, The_end_of_a_registration_has_its_order) {
    Log log;
    Noting child(host, log, "child");
    child.FinishParamRegistration();
    Noting parent(host, log, "parent");
    parent.AddChild(&child);
    log.clear();
    parent.FinishParamRegistration();
    EXPECT_THAT(
        log, ElementsAre(
                 "parent begins", "child begins", "parent announces", "parent ends", "child ends",
                 "child dispatches", "child reserves, flagged", "parent reserves"));
    EXPECT_TRUE(parent.GetFlag());
}

struct OpenDispatcher : ElementDispatcher {
    using ElementDispatcher::CreateControllerSet;
    using ElementDispatcher::GetOwnScratchBytes;
};

TEST(ElementDispatcher, Its_own_operation_stands_behind_those_of_all_elements) {
    EXPECT_EQ(
        virtualSlot(&OpenDispatcher::CreateControllerSet),
        virtualSlot(&OpenDispatcher::GetOwnScratchBytes) + 1);
}

TEST(ParamVisitor, Its_operations_stand_in_their_published_order) {
    using Visitor = Element::ParamVisitor;
    EXPECT_EQ(
        virtualSlots(&Visitor::VisitFloat, &Visitor::VisitBool, &Visitor::VisitEnum),
        slotsFrom(destructorSlots, 3));
}

} // namespace
} // namespace DSP::Testing
