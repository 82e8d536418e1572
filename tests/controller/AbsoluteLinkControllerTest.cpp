#include "controller/AbsoluteLinkController.h"

#include "controller/ParamMemory.h"

#include <cmath>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using Controller::AbsoluteLinkController;
using Controller::BoolParamMemory;
using Controller::FloatParam;
using Controller::FloatParamMemory;
using Controller::LinkedParam;
using testing::ElementsAre;

class LoggedParam final : public FloatParamMemory {
public:
    LoggedParam(const char* name, std::vector<std::string>& log)
        : FloatParamMemory(1.0f, {0.0f, 10.0f}, name), log_(log) {
        valueChangedSignal().connect(
            listener_, [this](const float& v) { tell(std::to_string(static_cast<int>(v))); });
    }
    bool isLinked() const override { return linkedAnswer; }

    bool linkedAnswer = false;
    /// At the end of the next change; may be empty.
    std::function<void()> atEnd;

protected:
    void beginChange() override { tell("begin"); }
    void endChange() override {
        tell("end");
        if (const auto once = std::exchange(atEnd, nullptr)) {
            once();
        }
    }

private:
    void tell(const std::string& what) { log_.push_back(name().toStdString() + " " + what); }

    std::vector<std::string>& log_;
    Trackable listener_;
};

class AbsoluteLinkControllerTest : public testing::Test {
protected:
    std::vector<std::string> log;
    LoggedParam a{"a", log};
    LoggedParam b{"b", log};
    LoggedParam c{"c", log};
    BoolParamMemory link{true, {false, true}, "link"};
    AbsoluteLinkController<FloatParam> controller{{&a, &b, &c}, &link};
};

TEST_F(AbsoluteLinkControllerTest, Is_an_object_of_its_name_with_one_parameter_for_each) {
    EXPECT_EQ(controller.objectName(), "AbsoluteLinkController");
    EXPECT_EQ(controller.size(), 3u);
    EXPECT_EQ(controller.linkedParam(1)->name(), "b");
}

TEST_F(AbsoluteLinkControllerTest, With_the_link_on_all_move_to_the_same_value_in_list_order) {
    controller.linkedParam(1)->setValue(4.0f);
    EXPECT_THAT(
        log, ElementsAre("a begin", "b begin", "c begin", "a 4", "b 4", "c 4", "a end", "b end", "c end"));
    EXPECT_EQ(a.value(), 4.0f);
    EXPECT_EQ(c.value(), 4.0f);
}

TEST_F(AbsoluteLinkControllerTest, With_the_link_off_one_moves) {
    link.setValue(false);
    controller.linkedParam(1)->setValue(4.0f);
    EXPECT_THAT(log, ElementsAre("b begin", "b 4", "b end"));
    EXPECT_EQ(a.value(), 1.0f);
}

TEST_F(AbsoluteLinkControllerTest, The_parameters_themselves_stay_unlinked) {
    b.setValue(4.0f);
    EXPECT_EQ(a.value(), 1.0f);
}

TEST_F(AbsoluteLinkControllerTest, Parameters_in_a_change_are_not_begun_again) {
    const auto held = b.grab();
    log.clear();
    controller.linkedParam(1)->setValue(4.0f);
    EXPECT_THAT(log, ElementsAre("a begin", "c begin", "a 4", "b 4", "c 4", "a end", "c end"));
    EXPECT_TRUE(b.isInChange()) << "the user's gesture goes on";
}

TEST_F(AbsoluteLinkControllerTest, With_all_in_a_change_none_is_begun) {
    const auto heldA = a.grab();
    const auto heldB = b.grab();
    const auto heldC = c.grab();
    log.clear();
    controller.linkedParam(0)->setValue(4.0f);
    EXPECT_THAT(log, ElementsAre("a 4", "b 4", "c 4"));
}

TEST_F(AbsoluteLinkControllerTest, Each_parameter_clamps_for_itself) {
    b.setRange({0.0f, 3.0f});
    controller.linkedParam(0)->setValue(7.0f);
    EXPECT_EQ(a.value(), 7.0f);
    EXPECT_EQ(b.value(), 3.0f);
    controller.linkedParam(1)->setValue(9.0f);
    EXPECT_EQ(a.value(), 3.0f) << "the one that is moved has clamped it before";
}

TEST_F(AbsoluteLinkControllerTest, A_gesture_through_a_linked_parameter_grabs_the_wrapped_one_alone) {
    auto handle = controller.linkedParam(1)->grab();
    EXPECT_THAT(log, ElementsAre("b begin"));
    EXPECT_TRUE(b.isInChange());
    EXPECT_FALSE(a.isInChange());
    handle.reset();
    EXPECT_THAT(log, ElementsAre("b begin", "b end"));
}

TEST_F(AbsoluteLinkControllerTest, A_switch_turned_within_a_gesture_counts_at_once) {
    Trackable listener;
    a.valueChangedSignal().connect(listener, [&](const float&) { link.setValue(false); });
    controller.linkedParam(0)->setValue(4.0f);
    EXPECT_EQ(c.value(), 4.0f) << "the set that has begun reaches all";
    controller.linkedParam(0)->setValue(5.0f);
    EXPECT_EQ(c.value(), 4.0f);
    EXPECT_FALSE(a.isInChange());
    EXPECT_FALSE(c.isInChange());
}

TEST_F(AbsoluteLinkControllerTest, A_linked_set_within_a_linked_change_settles_on_the_later_value) {
    Trackable listener;
    b.valueChangedSignal().connect(listener, [&](const float& v) {
        if (v == 4.0f) {
            controller.linkedParam(1)->setValue(5.0f);
        }
    });
    controller.linkedParam(0)->setValue(4.0f);
    EXPECT_EQ(a.value(), 5.0f);
    EXPECT_EQ(b.value(), 5.0f);
    EXPECT_EQ(c.value(), 4.0f) << "the outer set reaches the last one after the inner did";
    EXPECT_FALSE(a.isInChange());
    EXPECT_FALSE(b.isInChange());
    EXPECT_FALSE(c.isInChange());
}

TEST_F(AbsoluteLinkControllerTest, Parameters_end_in_list_order_also_when_one_ends_into_another_change) {
    a.atEnd = [this] { controller.linkedParam(2)->setValue(7.0f); };
    controller.linkedParam(0)->setValue(4.0f);
    EXPECT_THAT(
        log, ElementsAre(
                 "a begin", "b begin", "c begin", "a 4", "b 4", "c 4", "a end", "a 7", "b 7", "c 7", "b end",
                 "c end"));
    EXPECT_FALSE(a.isInChange());
    EXPECT_FALSE(b.isInChange());
    EXPECT_FALSE(c.isInChange());
}

TEST_F(AbsoluteLinkControllerTest, What_begins_while_the_last_one_ends_is_a_change_of_its_own) {
    c.atEnd = [this] { controller.linkedParam(1)->setValue(7.0f); };
    controller.linkedParam(0)->setValue(4.0f);
    EXPECT_THAT(
        log, ElementsAre(
                 "a begin", "b begin", "c begin", "a 4", "b 4", "c 4", "a end", "b end", "c end", "a begin",
                 "b begin", "a 7", "b 7", "c 7", "a end", "b end"));
    EXPECT_FALSE(a.isInChange());
    EXPECT_FALSE(b.isInChange());
    EXPECT_FALSE(c.isInChange());
}

TEST_F(AbsoluteLinkControllerTest, A_linked_parameter_shows_the_wrapped_one) {
    const auto linked = controller.linkedParam(0);
    Trackable listener;
    std::vector<float> values;
    std::vector<float> uppers;
    std::vector<float> defaults;
    linked->valueChangedSignal().connect(listener, [&](const float& v) { values.push_back(v); });
    linked->rangeChangedSignal().connect(
        listener, [&](const value_range<float>& range) { uppers.push_back(range.upper); });
    linked->defaultChangedSignal().connect(listener, [&](const float& v) { defaults.push_back(v); });
    a.setValue(2.0f);
    a.setRange({0.0f, 5.0f});
    linked->setRange({0.0f, 6.0f});
    a.setDefault(3.0f);
    linked->setDefault(4.0f);
    EXPECT_THAT(values, ElementsAre(2.0f));
    EXPECT_THAT(uppers, ElementsAre(5.0f, 6.0f));
    EXPECT_THAT(defaults, ElementsAre(3.0f, 4.0f));
    EXPECT_EQ(linked->value(), 2.0f);
    EXPECT_EQ(linked->range(), (value_range<float>{0.0f, 6.0f}));
    EXPECT_EQ(linked->defaultValue(), 4.0f);
    EXPECT_EQ(a.defaultValue(), 4.0f);
    EXPECT_TRUE(linked->hasDefault());
    EXPECT_FALSE(linked->isLinked());
    a.linkedAnswer = true;
    EXPECT_TRUE(linked->isLinked());
}

TEST_F(AbsoluteLinkControllerTest, Resetting_a_linked_parameter_moves_all) {
    a.setDefault(6.0f);
    controller.linkedParam(0)->resetToDefault();
    EXPECT_EQ(b.value(), 6.0f);
}

TEST_F(AbsoluteLinkControllerTest, A_NaN_reaches_all) {
    controller.linkedParam(2)->setValue(std::nanf(""));
    EXPECT_TRUE(std::isnan(a.value()));
    EXPECT_TRUE(std::isnan(c.value()));
}

TEST(LinkedParam, Calls_its_three_functions_in_turn) {
    std::vector<std::string> log;
    FloatParamMemory wrapped(1.0f, {0.0f, 10.0f}, "wrapped");
    LinkedParam<FloatParam> linked(
        wrapped, [&] { log.push_back("begin"); },
        [&](const float& v) { log.push_back("set " + std::to_string(static_cast<int>(v))); },
        [&] { log.push_back("end"); });
    linked.setValue(20.0f);
    EXPECT_THAT(log, ElementsAre("begin", "set 10", "end"));
    EXPECT_EQ(wrapped.value(), 1.0f) << "what is set is the function's matter";
}

} // namespace
