#include "hosting/ThreeKinds.h"

#include <algorithm>
#include <random>
#include <vector>

namespace Tarvik {
namespace {

class ElementPluginStateTest : public ThreeKindsTest {
protected:
    std::vector<std::uint8_t> StateOf(std::int32_t stream) const {
        std::vector<std::uint8_t> state;
        plugin->GetState(stream, state);
        return state;
    }
};

TEST_F(ElementPluginStateTest, The_state_is_values_extra_size_and_extra_bytes) {
    plugin->SetParameterValue(1, gain, 3.5F);
    plugin->SetParameterValue(1, mode, 4.0F);
    element->extra = {9, 8, 7};
    // "Active", "Gain", "Mode", the size, the bytes; of numbers the lowest byte first.
    const std::vector<std::uint8_t> expected{0, 0, 0, 0x60, 0x40, 4, 0, 0, 0, 3, 0, 0, 0, 9, 8, 7};
    EXPECT_EQ(StateOf(1), expected);
}

TEST_F(ElementPluginStateTest, A_state_is_that_of_its_stream) {
    const std::vector<std::uint8_t> old{0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0};
    const std::vector<std::uint8_t> changed{1, 0, 0, 0x60, 0x40, 4, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(StateOf(0), old);
    EXPECT_EQ(StateOf(1), old);
    host.SetAudioRunning(true);
    plugin->SetParameterValue(1, gain, 3.5F);
    plugin->SetParameterValue(1, active, 1.0F);
    plugin->SetParameterValue(1, mode, 4.0F);
    EXPECT_EQ(StateOf(0), old);
    EXPECT_EQ(StateOf(1), changed);
    Block();
    EXPECT_EQ(StateOf(0), changed);
}

TEST_F(ElementPluginStateTest, A_state_is_set_on_its_stream) {
    const std::vector<std::uint8_t> state{1, 0, 0, 0x60, 0x40, 4, 0, 0, 0, 0, 0, 0, 0};
    const auto size = static_cast<std::uint32_t>(state.size());
    host.SetAudioRunning(true);
    EXPECT_TRUE(plugin->SetState(0, size, state.data()));
    EXPECT_EQ(plugin->GetParameterValue(0, gain), 3.5F);
    EXPECT_EQ(plugin->GetParameterValue(0, active), 1.0F);
    EXPECT_EQ(plugin->GetParameterValue(0, mode), 4.0F);
    EXPECT_EQ(plugin->GetParameterValue(1, gain), 0.0F);
    EXPECT_EQ(plugin->GetParameterValue(1, active), 0.0F);
    EXPECT_EQ(plugin->GetParameterValue(1, mode), 2.0F);
}

TEST_F(ElementPluginStateTest, Extra_bytes_beyond_the_limit_yield_an_empty_state) {
    element->claimedSize = 100000001;
    std::vector<std::uint8_t> state{1, 2, 3};
    plugin->GetState(1, state);
    EXPECT_TRUE(state.empty());
}

TEST_F(ElementPluginStateTest, Extra_bytes_up_to_the_limit_are_kept) {
    element->extra = {7};
    element->claimedSize = 100000000;
    std::vector<std::uint8_t> state;
    plugin->GetState(1, state);
    ASSERT_EQ(state.size(), 13U + 100000000U);
    EXPECT_EQ(state[13], 7);
    EXPECT_EQ(state[9] | state[10] << 8 | state[11] << 16 | state[12] << 24, 100000000);
}

TEST_F(ElementPluginStateTest, A_stream_that_fails_in_the_element_yields_an_empty_state) {
    element->extra = {1, 2, 3};
    element->failing = true;
    std::vector<std::uint8_t> state{1, 2, 3};
    plugin->GetState(1, state);
    EXPECT_TRUE(state.empty());
}

TEST_F(ElementPluginStateTest, A_stream_that_fails_in_the_element_refuses_a_state) {
    element->extra = {1, 2, 3};
    const std::vector<std::uint8_t> state = StateOf(1);
    element->failing = true;
    EXPECT_FALSE(plugin->SetState(1, static_cast<std::uint32_t>(state.size()), state.data()));
    element->failing = false;
    EXPECT_TRUE(plugin->SetState(1, static_cast<std::uint32_t>(state.size()), state.data()));
}

TEST_F(ElementPluginStateTest, A_state_comes_back) {
    plugin->SetParameterValue(1, gain, -7.25F);
    plugin->SetParameterValue(1, active, 1.0F);
    plugin->SetParameterValue(1, mode, 5.0F);
    element->extra = {1, 2};
    std::vector<std::uint8_t> state;
    plugin->GetState(1, state);
    plugin->SetParameterValue(1, gain, 0.0F);
    plugin->SetParameterValue(1, active, 0.0F);
    plugin->SetParameterValue(1, mode, 2.0F);
    element->extra.clear();
    EXPECT_TRUE(plugin->SetState(1, static_cast<std::uint32_t>(state.size()), state.data()));
    EXPECT_EQ(plugin->GetParameterValue(1, gain), -7.25F);
    EXPECT_EQ(plugin->GetParameterValue(1, active), 1.0F);
    EXPECT_EQ(plugin->GetParameterValue(1, mode), 5.0F);
    EXPECT_EQ(element->extra, (std::vector<std::uint8_t>{1, 2}));
}

TEST_F(ElementPluginStateTest, A_state_cut_short_anywhere_is_refused_and_changes_nothing) {
    plugin->SetParameterValue(1, gain, 1.0F);
    element->extra = {1, 2, 3};
    std::vector<std::uint8_t> state;
    plugin->GetState(1, state);
    plugin->SetParameterValue(1, gain, 2.0F);
    for (std::uint32_t size = 0; size < state.size(); ++size) {
        EXPECT_FALSE(plugin->SetState(1, size, state.data())) << size;
        EXPECT_EQ(plugin->GetParameterValue(1, gain), 2.0F) << size;
    }
}

TEST_F(ElementPluginStateTest, Any_bytes_are_accepted_or_refused_and_leave_values_in_range) {
    std::mt19937 random(5);
    for (int round = 0; round < 2000; ++round) {
        std::vector<std::uint8_t> bytes(random() % 40);
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
        plugin->SetState(1, static_cast<std::uint32_t>(bytes.size()), bytes.data());
        EXPECT_GE(plugin->GetParameterValue(1, mode), 2.0F);
        EXPECT_LE(plugin->GetParameterValue(1, mode), 5.0F);
    }
}

} // namespace
} // namespace Tarvik
