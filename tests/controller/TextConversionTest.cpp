#include "controller/TextConversion.h"

#include "controller/ParamMemory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using Controller::AppliedFunctionValueReporter;
using Controller::EnumParamMemory;
using Controller::TextConversion;
using testing::ElementsAre;

const TextConversion<std::uint32_t> percent{
    [](const std::uint32_t& value) { return String::number(value) + "%"; },
    [](const String& text) {
        return text.endsWith("%") ? text.left(text.length() - 1).toUnsigned()
                                  : checked_value<std::uint32_t>();
    }};

TEST(AppliedFunctionValueReporter, Follows_its_source_through_the_function) {
    EnumParamMemory param(1, {0, 100}, "p");
    AppliedFunctionValueReporter<int, std::uint32_t> doubled(
        param, [](const std::uint32_t& v) { return static_cast<int>(v) * 2; });
    Trackable listener;
    std::vector<int> seen;
    doubled.valueChangedSignal().connect(listener, [&](const int& v) { seen.push_back(v); });
    EXPECT_EQ(doubled.value(), 2);
    param.setValue(5);
    param.setValue(5);
    EXPECT_EQ(doubled.value(), 10);
    EXPECT_THAT(seen, ElementsAre(10));
    EXPECT_EQ(doubled.objectName(), "Param");
}

TEST(AppliedFunctionValueReporter, Keeps_the_last_value_after_its_sources_end) {
    auto param = std::make_unique<EnumParamMemory>(1, value_range<std::uint32_t>{0, 100}, "p");
    const auto reporter = makeTextReporter(*param, percent);
    param->setValue(7);
    param.reset();
    EXPECT_EQ(reporter->value(), "7%");
}

TEST(AppliedFunctionValueReporter, May_end_before_its_source) {
    EnumParamMemory param(1, {0, 100}, "p");
    makeTextReporter(param, percent).reset();
    param.setValue(7);
    EXPECT_EQ(param.value(), 7u);
}

TEST(AppliedFunctionValueReporter, Reporters_can_be_chained) {
    EnumParamMemory param(1, {0, 100}, "p");
    const auto shown = makeTextReporter(param, percent);
    AppliedFunctionValueReporter<std::uint32_t, String> length(
        *shown, [](const String& text) { return text.length(); });
    EXPECT_EQ(length.value(), 2u);
    param.setValue(100);
    EXPECT_EQ(length.value(), 4u);
}

TEST(TextConversion, A_text_that_parses_sets_the_parameter) {
    EnumParamMemory param(1, {0, 100}, "p");
    EXPECT_TRUE(setValueFromText(param, percent, "42%"));
    EXPECT_EQ(param.value(), 42u);
    EXPECT_TRUE(setValueFromText(param, percent, "500%"));
    EXPECT_EQ(param.value(), 100u) << "clamped like any other value";
}

TEST(TextConversion, A_text_that_does_not_parse_leaves_the_parameter_unchanged) {
    EnumParamMemory param(1, {0, 100}, "p");
    Trackable listener;
    int reports = 0;
    param.valueChangedSignal().connect(listener, [&](const std::uint32_t&) { ++reports; });
    for (const char* text : {"", "%", "42", "x%", "4 2%"}) {
        EXPECT_FALSE(setValueFromText(param, percent, text)) << text;
    }
    EXPECT_EQ(param.value(), 1u);
    EXPECT_EQ(reports, 0);
}

} // namespace
