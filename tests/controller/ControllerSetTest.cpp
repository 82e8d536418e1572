#include "controller/ControllerSet.h"

#include "controller/KeyValueCoding.h"
#include "controller/ParamMemory.h"
#include "support/VirtualSlot.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

using Controller::ControllerSet;
using Controller::KeyValueCoding;

class GainSet final : public ControllerSet {
public:
    std::shared_ptr<Controller::FloatParam> floatController(const String& name) override {
        return name == "gain" ? gain_ : nullptr;
    }
    std::shared_ptr<Controller::BoolParam> boolController(const String&) override { return nullptr; }
    std::shared_ptr<Controller::EnumParam> enumController(const String&) override { return nullptr; }

private:
    std::shared_ptr<Controller::FloatParam> gain_ =
        std::make_shared<Controller::FloatParamMemory>(1.0f, value_range<float>{0.0f, 2.0f}, "gain");
};

TEST(ControllerSet, What_it_hands_out_may_outlive_it) {
    std::unique_ptr<ControllerSet> set = std::make_unique<GainSet>();
    const auto gain = set->floatController("gain");
    EXPECT_EQ(set->floatController("other"), nullptr);
    set.reset();
    gain->setValue(1.5f);
    EXPECT_EQ(gain->value(), 1.5f);
}

TEST(ControllerSet, Its_operations_stand_in_their_published_order) {
    EXPECT_EQ(virtualSlot(&ControllerSet::floatController), 0);
    EXPECT_EQ(virtualSlot(&ControllerSet::boolController), 1);
    EXPECT_EQ(virtualSlot(&ControllerSet::enumController), 2);
}

TEST(KeyValueCoding, Its_operations_stand_in_their_published_order) {
    // Two entries of the table are the destructor's.
    EXPECT_EQ(virtualSlot(&KeyValueCoding::valueForKey), 2);
    EXPECT_EQ(virtualSlot(&KeyValueCoding::objectForKey), 3);
    EXPECT_EQ(virtualSlot(&KeyValueCoding::valueForKeyPath), 4);
    EXPECT_EQ(virtualSlot(&KeyValueCoding::objectForKeyPath), 5);
    EXPECT_EQ(virtualSlot(&KeyValueCoding::allKeys), 6);
}

} // namespace
