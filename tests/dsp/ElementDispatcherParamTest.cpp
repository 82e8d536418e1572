#include "dsp/ElementDispatcherParam.h"
#include "Parametric.h"
#include "dsp/HumanReadableParamVisitor.h"
#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <memory>
#include <variant>

namespace DSP::Testing {
namespace {

class ElementDispatcherParamTest : public ParametricTest {};

TEST_F(ElementDispatcherParamTest, An_unknown_name_gives_an_empty_float_handle_that_answers_zero) {
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

TEST_F(ElementDispatcherParamTest, A_handle_outlives_its_element) {
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

TEST_F(ElementDispatcherParamTest, A_slot_may_end_the_element_and_the_last_handle_that_is_set) {
    auto element = std::make_unique<Parametric>(host);
    auto gain = std::make_unique<ElementParam<float>>(element->Gain());
    Trackable listener;
    Connection connection;
    element->ConnectParam(
        "Gain",
        {&listener,
         [&](const ParamValue&) {
             element.reset();
             gain.reset();
         }},
        connection);
    EXPECT_TRUE(gain->Set(ParamSide::control, 5.0F, {}));
    EXPECT_EQ(gain, nullptr);
}

TEST_F(ElementDispatcherParamTest, Gestures_are_batches_of_the_element) {
    Parametric element(host);
    element.Gain().BeginGesture();
    element.Mode().BeginGesture();
    element.Gain().EndGesture();
    EXPECT_EQ(element.begins, 2U) << "one of the registration, one of both gestures";
    EXPECT_EQ(element.ends, 1U);
    element.Mode().EndGesture();
    EXPECT_EQ(element.ends, 2U);
}

TEST_F(ElementDispatcherParamTest, Enumeration_values_have_names_inside_their_range) {
    const Parametric element(host);
    EXPECT_EQ(element.Mode().GetEnumName(3), "Low");
    EXPECT_EQ(element.Mode().GetEnumName(5), "High");
    EXPECT_EQ(element.Mode().GetEnumName(2), "");
    EXPECT_EQ(element.Mode().GetEnumName(6), "");
    EXPECT_EQ(element.Mode().GetFormatter()->Format(4), "Middle");
}

TEST_F(ElementDispatcherParamTest, An_enumeration_without_names_has_neither_names_nor_formatter) {
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

TEST(ElementDispatcherParam, Past_the_end_of_the_table_it_reads_as_the_default_and_ignores_what_is_set) {
    const auto table = std::make_shared<DispatchTable>();
    ElementDispatcherParam<float> past("a", table, 7, {-1.0F, 1.0F}, 0.5F, nullptr);
    EXPECT_EQ(past.Get(ParamSide::audio), 0.5F);
    EXPECT_EQ(past.Get(ParamSide::control), 0.5F);
    EXPECT_FALSE(past.Set(ParamSide::control, 1.0F, {}));
    EXPECT_EQ(past.Get(ParamSide::control), 0.5F);
    EXPECT_EQ(past.GetRange(), (value_range<float>{-1.0F, 1.0F}));
    past.BeginGesture();
    past.EndGesture();
}

TEST(ElementParamImplBase, Its_operations_stand_in_their_published_order) {
    using Impl = ElementParamImplBase<float>;
    EXPECT_EQ(
        virtualSlots(
            &Impl::Get, &Impl::Set, &Impl::GetRange, &Impl::GetDefault, &Impl::GetFormatter,
            &Impl::BeginGesture, &Impl::EndGesture, &Impl::GetOwner, &Impl::GetName),
        slotsFrom(destructorSlots, 9));
}

TEST(ElementParam, A_handle_ends_through_its_virtual_destructor) {
    EXPECT_TRUE(std::has_virtual_destructor_v<ElementParam<float>>);
    EXPECT_TRUE((std::is_base_of_v<ElementParam<std::uint32_t>, ElementParamEnum>));
}

} // namespace
} // namespace DSP::Testing
