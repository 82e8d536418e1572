#include "controller/ParamMemory.h"
#include "controller/StringParam.h"
#include "support/VirtualSlot.h"

#include <cmath>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Controller::BoolParamMemory;
using Controller::EnumParamMemory;
using Controller::FloatParam;
using Controller::FloatParamMemory;
using Controller::GrabbedParamHandle;
using Controller::ParamMemoryStorage;
using Controller::ParamStorage;
using testing::ElementsAre;
using testing::IsEmpty;

std::string text(float value) {
    return std::to_string(static_cast<int>(value));
}

/// Logs gestures and reported values.
class LoggedParam final : public FloatParamMemory {
public:
    explicit LoggedParam(float initial = 1.0f, value_range<float> allowed = {0.0f, 10.0f})
        : FloatParamMemory(initial, allowed, "logged") {
        valueChangedSignal().connect(listener_, [this](const float& v) { log.push_back(text(v)); });
    }

    std::vector<std::string> log;

protected:
    void beginChange() override { log.push_back("begin"); }
    void endChange() override { log.push_back("end"); }

private:
    Trackable listener_;
};

/// Every operation in reach, to look at their order.
struct Open : FloatParam {
    using FloatParam::applyValue;
    using FloatParam::beginChange;
    using FloatParam::endChange;
    using FloatParam::get;
};

TEST(Param, Its_operations_stand_in_their_published_order) {
    std::vector<std::ptrdiff_t> slots;
    const auto add = [&](auto member) { slots.push_back(virtualSlot(member)); };
    add(&FloatParam::valueChangedSignal);
    add(&FloatParam::value);
    add(&FloatParam::grab);
    add(&Open::applyValue);
    add(&Open::get);
    add(&Open::beginChange);
    add(&Open::endChange);
    add(&FloatParam::setRange);
    add(&FloatParam::range);
    add(&FloatParam::setDefault);
    add(&FloatParam::defaultValue);
    add(&FloatParam::resetToDefault);
    add(&FloatParam::name);
    add(&FloatParam::isLinked);
    EXPECT_EQ(slots, slotsFrom(destructorSlots, 14));
    EXPECT_EQ(
        virtualSlots(&ParamStorage<float>::set, &ParamStorage<float>::get), slotsFrom(destructorSlots, 2));
}

TEST(StringParam, Its_operations_stand_in_the_same_order_without_those_of_the_range) {
    struct OpenString : Controller::StringParam {
        using StringParam::endChange;
    };
    using Controller::StringParam;
    EXPECT_EQ(
        virtualSlots(&StringParam::setDefault, &StringParam::defaultValue, &StringParam::resetToDefault),
        slotsFrom(virtualSlot(&OpenString::endChange) + 1, 3));
}

TEST(EnumParam, The_text_of_a_value_stands_behind_the_name) {
    using Controller::EnumParam;
    EXPECT_EQ(
        virtualSlots(
            static_cast<String (EnumParam::*)() const>(&EnumParam::name),
            static_cast<String (EnumParam::*)(std::uint32_t) const>(&EnumParam::name), &EnumParam::isLinked),
        slotsFrom(virtualSlot(&EnumParam::resetToDefault) + 1, 3));
}

/// Notes at each end of a change whether the parameter is in one.
class MarkedParam final : public FloatParamMemory {
public:
    MarkedParam() : FloatParamMemory(1.0f, {0.0f, 10.0f}, "marked") {}

    std::vector<std::string> log;

protected:
    void beginChange() override { log.push_back(isInChange() ? "begins inside" : "begins outside"); }
    void endChange() override { log.push_back(isInChange() ? "ends inside" : "ends outside"); }
};

TEST(Param, A_change_is_open_from_before_its_begin_until_after_its_end) {
    MarkedParam param;
    param.setValue(2.0f);
    EXPECT_THAT(param.log, ElementsAre("begins inside", "ends inside"));
    EXPECT_FALSE(param.isInChange());
}

TEST(Param, A_grab_is_open_from_after_its_begin_until_after_its_end) {
    MarkedParam param;
    auto handle = param.grab();
    EXPECT_TRUE(param.isInChange());
    handle.reset();
    EXPECT_THAT(param.log, ElementsAre("begins outside", "ends inside"));
    EXPECT_FALSE(param.isInChange());
}

/// Notes what the constructor of a concrete class does to it.
class NotingFloat : public FloatParam {
public:
    using FloatParam::FloatParam;
    void setRange(const value_range<float>& range) override {
        log.push_back("range");
        FloatParam::setRange(range);
    }
    void setDefault(const float& value) override {
        log.push_back("default");
        FloatParam::setDefault(value);
    }

    std::vector<std::string> log;
};

TEST(Param, Memory_parameters_are_given_their_range_and_then_their_default) {
    const Controller::ParamMemory<float, NotingFloat> param(0.5f, {0.0f, 1.0f}, "noting");
    EXPECT_THAT(param.log, ElementsAre("range", "default"));
}

TEST(Param, Is_an_object_named_Param_and_may_end_a_key_path) {
    FloatParamMemory param(1.0f, {0.0f, 2.0f}, "gain");
    EXPECT_EQ(param.objectName(), "Param");
    EXPECT_NE(dynamic_cast<Controller::KVCObject*>(&param), nullptr);
    EXPECT_EQ(param.name(), "gain");
    EXPECT_FALSE(param.isLinked());
}

TEST(Param, Memory_parameters_start_with_value_range_and_default) {
    const FloatParamMemory f(0.5f, {0.0f, 1.0f}, "f");
    EXPECT_EQ(f.value(), 0.5f);
    EXPECT_EQ(f.range(), (value_range<float>{0.0f, 1.0f}));
    EXPECT_EQ(f.defaultValue(), 0.5f);
    EXPECT_TRUE(f.hasDefault());
    const BoolParamMemory b(true, {false, true}, "b");
    EXPECT_TRUE(b.value());
    EXPECT_EQ(b.range(), (value_range<bool>{false, true}));
    const EnumParamMemory e(2, {1, 3}, "e");
    EXPECT_EQ(e.value(), 2u);
    EXPECT_EQ(e.name(), "e");
}

TEST(Param, The_initial_value_is_not_clamped) {
    FloatParamMemory param(5.0f, {0.0f, 1.0f}, "p");
    EXPECT_EQ(param.value(), 5.0f);
    param.resetToDefault();
    EXPECT_EQ(param.value(), 1.0f) << "the way back goes through the filters";
}

TEST(Param, A_range_is_1_to_0_until_a_concrete_class_sets_it) {
    const FloatParam param(std::make_unique<ParamMemoryStorage<float>>(0.0f));
    EXPECT_EQ(param.range(), (value_range<float>{1.0f, 0.0f}));
    EXPECT_FALSE(param.hasDefault());
    EXPECT_EQ(param.defaultValue(), 0.0f);
    EXPECT_TRUE(param.name().isEmpty());
}

TEST(Param, A_change_begins_reports_and_ends) {
    LoggedParam param;
    param.setValue(3.0f);
    EXPECT_EQ(param.value(), 3.0f);
    EXPECT_THAT(param.log, ElementsAre("begin", "3", "end"));
    EXPECT_FALSE(param.isInChange());
}

TEST(Param, The_reported_value_is_stored_already) {
    FloatParamMemory param(1.0f, {0.0f, 10.0f}, "p");
    Trackable listener;
    float stored = 0;
    param.valueChangedSignal().connect(listener, [&](const float&) { stored = param.value(); });
    param.setValue(4.0f);
    EXPECT_EQ(stored, 4.0f);
}

TEST(Param, Setting_the_current_value_emits_nothing) {
    LoggedParam param;
    param.setValue(1.0f);
    EXPECT_THAT(param.log, ElementsAre("begin", "end"));
}

TEST(Param, A_NaN_is_stored_and_always_reported) {
    FloatParamMemory param(1.0f, {0.0f, 10.0f}, "p");
    Trackable listener;
    int reports = 0;
    param.valueChangedSignal().connect(listener, [&](const float& v) { reports += std::isnan(v) ? 1 : 0; });
    param.setValue(std::nanf(""));
    param.setValue(std::nanf(""));
    EXPECT_TRUE(std::isnan(param.value()));
    EXPECT_EQ(reports, 2);
}

TEST(Param, Values_outside_the_range_are_stored_and_reported_clamped) {
    LoggedParam param(5.0f, {2.0f, 8.0f});
    param.setValue(9.0f);
    param.setValue(-std::numeric_limits<float>::infinity());
    param.setValue(std::numeric_limits<float>::infinity());
    EXPECT_EQ(param.value(), 8.0f);
    EXPECT_THAT(param.log, ElementsAre("begin", "8", "end", "begin", "2", "end", "begin", "8", "end"));
}

TEST(Param, Of_an_empty_range_the_lower_bound_is_tested_first) {
    LoggedParam param(5.0f, {1.0f, 0.0f});
    param.setValue(0.5f);
    EXPECT_EQ(param.value(), 1.0f);
    param.setValue(2.0f);
    EXPECT_EQ(param.value(), 0.0f);
}

TEST(Param, Narrowing_the_range_leaves_the_stored_value_until_the_next_one_is_set) {
    LoggedParam param(5.0f);
    Trackable listener;
    std::vector<value_range<float>> ranges;
    param.rangeChangedSignal().connect(
        listener, [&](const value_range<float>& range) { ranges.push_back(range); });
    param.setRange({0.0f, 3.0f});
    EXPECT_EQ(param.value(), 5.0f);
    EXPECT_THAT(param.log, IsEmpty());
    EXPECT_THAT(ranges, ElementsAre(value_range<float>{0.0f, 3.0f}));
    param.setValue(5.0f);
    EXPECT_EQ(param.value(), 3.0f);
}

TEST(Param, Bools_and_enums_are_clamped_too) {
    BoolParamMemory b(false, {false, false}, "off");
    b.setValue(true);
    EXPECT_FALSE(b.value());
    BoolParamMemory on(true, {true, true}, "on");
    on.setValue(false);
    EXPECT_TRUE(on.value());
    EnumParamMemory e(2, {1, 3}, "e");
    e.setValue(0);
    EXPECT_EQ(e.value(), 1u);
    e.setValue(0xFFFFFFFFu);
    EXPECT_EQ(e.value(), 3u);
}

TEST(Param, The_clamp_asks_the_virtual_range_twice) {
    class Moving final : public FloatParamMemory {
    public:
        Moving() : FloatParamMemory(0.0f, {0.0f, 1.0f}, "moving") {}
        value_range<float> range() const override {
            ++asked;
            return {0.0f, limit};
        }
        mutable int asked = 0;
        float limit = 1.0f;
    };
    Moving param;
    param.limit = 4.0f;
    param.setValue(9.0f);
    EXPECT_EQ(param.value(), 4.0f);
    EXPECT_EQ(param.asked, 2);
}

TEST(Param, The_range_filter_tells_whether_the_value_was_inside) {
    const FloatParamMemory param(1.0f, {0.0f, 2.0f}, "p");
    ASSERT_EQ(param.filters().size(), 1u);
    const auto filter = [&](float value) { return param.filters()[0](value); };
    EXPECT_TRUE(filter(0.0f));
    EXPECT_TRUE(filter(2.0f));
    EXPECT_FALSE(filter(2.5f));
    EXPECT_FALSE(filter(-1.0f));
    EXPECT_FALSE(filter(std::nanf("")));
}

TEST(Param, Filters_run_in_their_order_whatever_they_return) {
    LoggedParam param(1.0f, {0.0f, 10.0f});
    param.addFilter([](float& v) {
        v += 1.0f;
        return false;
    });
    param.addFilter([](float& v) {
        v *= 10.0f;
        return true;
    });
    param.setValue(20.0f);
    EXPECT_EQ(param.value(), 110.0f) << "clamped first, as the range's filter is the oldest";
}

TEST(Param, An_empty_filter_fails_as_a_call_of_an_empty_function_and_ends_the_change) {
    LoggedParam param;
    param.addFilter(nullptr);
    EXPECT_THROW(param.setValue(3.0f), std::bad_function_call);
    EXPECT_EQ(param.value(), 1.0f);
    EXPECT_FALSE(param.isInChange());
    EXPECT_THAT(param.log, ElementsAre("begin", "end"));
}

TEST(Param, An_exception_of_a_listener_passes_out_and_ends_the_change) {
    LoggedParam param;
    Trackable listener;
    param.valueChangedSignal().connect(listener, [](const float&) { throw std::runtime_error("listener"); });
    EXPECT_THROW(param.setValue(3.0f), std::runtime_error);
    EXPECT_FALSE(param.isInChange());
    EXPECT_EQ(param.log.back(), "end");
}

TEST(Param, A_set_within_a_report_is_part_of_the_change_and_reported_after_the_round) {
    LoggedParam param;
    Trackable listener;
    std::vector<std::string> rounds;
    param.valueChangedSignal().connect(listener, [&](const float& v) {
        rounds.push_back("first " + text(v));
        if (v == 3.0f) {
            param.setValue(4.0f);
            rounds.push_back("stored " + text(param.value()));
        }
    });
    param.valueChangedSignal().connect(
        listener, [&](const float& v) { rounds.push_back("second " + text(v)); });
    param.setValue(3.0f);
    EXPECT_THAT(rounds, ElementsAre("first 3", "stored 4", "second 3", "first 4", "second 4"));
    EXPECT_THAT(param.log, ElementsAre("begin", "3", "4", "end"));
}

TEST(Param, Reset_to_default_goes_through_the_filters) {
    LoggedParam param(1.0f, {0.0f, 10.0f});
    param.setDefault(50.0f);
    EXPECT_EQ(param.defaultValue(), 50.0f);
    param.resetToDefault();
    EXPECT_EQ(param.value(), 10.0f);
    EXPECT_THAT(param.log, ElementsAre("begin", "10", "end"));
}

TEST(Param, A_new_default_is_reported_and_changes_no_value) {
    FloatParamMemory param(1.0f, {0.0f, 10.0f}, "p");
    Trackable listener;
    std::vector<float> defaults;
    param.defaultChangedSignal().connect(listener, [&](const float& v) { defaults.push_back(v); });
    param.setDefault(2.0f);
    param.setDefault(2.0f);
    EXPECT_THAT(defaults, ElementsAre(2.0f, 2.0f));
    EXPECT_EQ(param.value(), 1.0f);
}

TEST(Param, Changes_during_a_grab_are_one_gesture) {
    LoggedParam param;
    auto handle = param.grab();
    EXPECT_TRUE(param.isInChange());
    param.setValue(2.0f);
    param.setValue(3.0f);
    handle.reset();
    EXPECT_FALSE(param.isInChange());
    EXPECT_THAT(param.log, ElementsAre("begin", "2", "3", "end"));
}

TEST(Param, A_grab_during_a_grab_or_a_change_gives_nothing) {
    LoggedParam param;
    Trackable listener;
    bool grabbed = true;
    param.valueChangedSignal().connect(listener, [&](const float&) { grabbed = param.grab() != nullptr; });
    param.setValue(2.0f);
    EXPECT_FALSE(grabbed);
    const auto handle = param.grab();
    EXPECT_NE(handle, nullptr);
    EXPECT_EQ(param.grab(), nullptr);
    EXPECT_TRUE(param.isInChange()) << "the one that is open stays so";
}

TEST(Param, A_handle_may_outlive_its_parameter) {
    std::shared_ptr<GrabbedParamHandle<float>> handle;
    {
        LoggedParam param;
        handle = param.grab();
    }
    handle.reset();
}

TEST(Param, May_be_destroyed_by_a_listener_of_its_own_change) {
    auto param = std::make_unique<LoggedParam>();
    Trackable listener;
    std::vector<float> seen;
    param->valueChangedSignal().connect(listener, [&](const float&) { param.reset(); });
    param->valueChangedSignal().connect(listener, [&](const float& v) { seen.push_back(v); });
    param->setValue(3.0f);
    EXPECT_EQ(param, nullptr);
    EXPECT_THAT(seen, ElementsAre(3.0f)) << "the round is finished";
}

TEST(Param, Tells_its_end) {
    Trackable listener;
    int ends = 0;
    {
        LoggedParam param;
        param.destroyed().connect(listener, [&] { ++ends; });
    }
    EXPECT_EQ(ends, 1);
}

TEST(Param, Without_a_storage_swallows_what_is_set) {
    FloatParam param(nullptr);
    param.setRange({0.0f, 1.0f});
    param.setValue(0.5f);
    EXPECT_FALSE(param.isInChange());
}

TEST(Param, Reports_what_the_storage_changes_by_itself) {
    auto storage = std::make_unique<ParamMemoryStorage<float>>(0.0f);
    ParamMemoryStorage<float>& inside = *storage;
    FloatParam param(std::move(storage));
    Trackable listener;
    std::vector<float> seen;
    param.valueChangedSignal().connect(listener, [&](const float& v) { seen.push_back(v); });
    inside.set(7.0f);
    EXPECT_THAT(seen, ElementsAre(7.0f)) << "as it is, since it is the storage's own";
    EXPECT_EQ(param.value(), 7.0f);
}

TEST(ParamMemoryStorage, Reports_changes_alone) {
    ParamMemoryStorage<std::uint32_t> storage(1);
    Trackable listener;
    std::vector<std::uint32_t> seen;
    storage.changed().connect(listener, [&](const std::uint32_t& v) { seen.push_back(v); });
    storage.set(1);
    storage.set(2);
    storage.set(2);
    EXPECT_THAT(seen, ElementsAre(2u));
}

TEST(EnumParam, The_text_of_a_value_is_its_decimal) {
    const EnumParamMemory param(1, {0, 3}, "mode");
    EXPECT_EQ(param.name(2), "2");
    EXPECT_EQ(param.name(4294967295u), "4294967295");
    EXPECT_EQ(param.name(), "mode");
}

TEST(StringParam, Holds_a_text_with_a_default_and_no_range) {
    Controller::StringParam param(std::make_unique<ParamMemoryStorage<String>>("one"));
    EXPECT_TRUE(param.filters().empty());
    Trackable listener;
    std::vector<std::string> seen;
    param.valueChangedSignal().connect(listener, [&](const String& v) { seen.push_back(v.toStdString()); });
    param.setDefault("default");
    param.setValue("one");
    param.setValue("two");
    param.resetToDefault();
    EXPECT_THAT(seen, ElementsAre("two", "default"));
    EXPECT_EQ(param.defaultValue(), "default");
}

} // namespace
