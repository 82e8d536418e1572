#include "dsp/ElementDispatcherControllerSet.h"
#include "Parametric.h"
#include "controller/BoolParam.h"
#include "controller/ControllerSet.h"
#include "controller/EnumParam.h"
#include "controller/FloatParam.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

namespace DSP::Testing {
namespace {

using ::testing::ElementsAre;

class ElementDispatcherControllerSetTest : public ParametricTest {};

TEST_F(ElementDispatcherControllerSetTest, The_controller_set_is_made_once) {
    Parametric element(host);
    Controller::ControllerSet* const set = element.GetControllerSet();
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(element.GetControllerSet(), set);
}

TEST_F(
    ElementDispatcherControllerSetTest, GetControllerSet_while_the_set_is_made_throws_and_works_again_after) {
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

TEST_F(ElementDispatcherControllerSetTest, Controllers_are_found_by_name_and_kind_and_made_once) {
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

TEST_F(ElementDispatcherControllerSetTest, A_controller_forwards_to_the_parameter) {
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

TEST_F(ElementDispatcherControllerSetTest, A_controllers_write_is_a_control_write_with_its_own_tag) {
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

TEST_F(ElementDispatcherControllerSetTest, A_controller_tells_changes_whoever_made_them) {
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

TEST_F(ElementDispatcherControllerSetTest, A_controller_outlives_its_element) {
    std::shared_ptr<Controller::FloatParam> gain;
    {
        Parametric element(host);
        gain = element.GetControllerSet()->floatController("Gain");
    }
    gain->setValue(2.0F);
    EXPECT_EQ(gain->value(), 2.0F);
    EXPECT_EQ(gain->name(), "Gain");
}

TEST_F(ElementDispatcherControllerSetTest, A_listener_may_end_the_element_and_the_controller_that_is_set) {
    auto element = std::make_unique<Parametric>(host);
    auto gain = element->GetControllerSet()->floatController("Gain");
    Trackable listener;
    float told = 0.0F;
    gain->valueChangedSignal().connect(listener, [&](const float& value) {
        told = value;
        element.reset();
        gain.reset();
    });
    const std::weak_ptr<Controller::FloatParam> alive = gain;
    gain->setValue(5.0F);
    EXPECT_EQ(told, 5.0F);
    EXPECT_TRUE(alive.expired());
}

} // namespace
} // namespace DSP::Testing
