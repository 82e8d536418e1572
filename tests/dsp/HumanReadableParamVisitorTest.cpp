#include "dsp/HumanReadableParamVisitor.h"
#include "Parametric.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <variant>

namespace DSP::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HumanReadableParamVisitorTest : public ParametricTest {};

TEST_F(HumanReadableParamVisitorTest, The_human_readable_visitor_notes_what_is_not_default) {
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

TEST_F(HumanReadableParamVisitorTest, Parameters_are_visited_in_the_order_of_names) {
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

} // namespace
} // namespace DSP::Testing
