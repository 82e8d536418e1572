#include "hosting/PluginHostFixture.h"

#include <string>
#include <vector>

namespace Tarvik {
namespace {

class PluginHostStateTest : public PluginHostFixture {};

TEST_F(PluginHostStateTest, The_state_is_the_identifier_and_the_plugins_bytes) {
    effect.SetParameters({0.25F, 0.5F});
    Hold(effect);
    const std::string text = host->GetIdentifier().ToString().toStdString();
    ASSERT_LT(text.size(), 65536U);
    // The text's length in 32 bits, the text, two numbers; the lowest byte first.
    std::vector<std::uint8_t> expected{
        static_cast<std::uint8_t>(text.size()), static_cast<std::uint8_t>(text.size() >> 8), 0, 0};
    expected.insert(expected.end(), text.begin(), text.end());
    expected.insert(expected.end(), {0, 0, 0x80, 0x3E, 0, 0, 0, 0x3F});
    EXPECT_EQ(State(), expected);
}

TEST_F(PluginHostStateTest, Without_a_plugin_the_state_is_the_identifier) {
    EXPECT_EQ(State(), (std::vector<std::uint8_t>{4, 0, 0, 0, 'N', 'o', 'n', 'e'}));
}

TEST_F(PluginHostStateTest, A_buffer_of_the_wrong_size_stays_unchanged) {
    std::vector<std::uint8_t> bytes(host->GetExtraBytesSize() + 1, 0xAB);
    host->GetExtraBytes(bytes);
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(bytes.size(), 0xAB));
    host->GetDefaultExtraBytes(bytes);
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(bytes.size(), 0));
    EXPECT_TRUE(host->HasExtraBytes());
}

TEST_F(PluginHostStateTest, A_state_of_size_0_unloads_the_plugin) {
    Hold(effect);
    host->SetExtraBytes(nullptr, 0, false);
    EXPECT_EQ(host->GetPlugin(), nullptr);
    EXPECT_EQ(host->GetIdentifier().format, PluginFormat::None);
}

TEST_F(PluginHostStateTest, A_state_with_the_same_identifier_keeps_the_object_and_applies_the_bytes) {
    effect.SetParameters({0.25F, 0.5F});
    Hold(effect);
    const std::vector<std::uint8_t> saved = State();
    effect.SetParameters({0, 0});
    const Plugin* before = host->GetPlugin();
    const int instantiations = instantiator.instantiations;
    SetState(saved);
    EXPECT_EQ(host->GetPlugin(), before);
    EXPECT_EQ(instantiator.instantiations, instantiations);
    EXPECT_EQ(effect.parameters, (std::vector<float>{0.25F, 0.5F}));
}

TEST_F(PluginHostStateTest, A_state_with_another_identifier_loads_that_plugin_and_applies_the_bytes) {
    effect.SetParameters({0.25F});
    Hold(effect);
    const std::vector<std::uint8_t> saved = State();
    host->SetExtraBytes(nullptr, 0, false);
    effect.SetParameters({0});
    SetState(saved);
    ASSERT_NE(host->GetPlugin(), nullptr);
    EXPECT_EQ(effect.parameters, std::vector<float>{0.25F});
    // Turned on: a state belongs to a host that plays.
    EXPECT_FALSE(effect.CallsOf(effMainsChanged).empty());
}

TEST_F(PluginHostStateTest, A_state_cut_off_inside_the_plugins_bytes_still_names_the_plugin) {
    effect.SetParameters({0.25F, 0.5F});
    Hold(effect);
    std::vector<std::uint8_t> saved = State();
    saved.pop_back();
    host->SetExtraBytes(nullptr, 0, false);
    effect.SetParameters({0, 0});
    SetState(saved);
    EXPECT_NE(host->GetPlugin(), nullptr);
    EXPECT_EQ(effect.parameters, (std::vector<float>{0, 0})) << "what is left is no state of this effect";
}

TEST_F(PluginHostStateTest, A_state_cut_off_behind_the_identifier_leaves_the_plugin_as_it_starts) {
    effect.SetParameters({0.25F});
    Hold(effect);
    std::vector<std::uint8_t> saved = State();
    saved.resize(saved.size() - sizeof(float));
    effect.changes.clear();
    SetState(saved);
    EXPECT_NE(host->GetPlugin(), nullptr);
    EXPECT_TRUE(effect.changes.empty());
}

TEST_F(PluginHostStateTest, A_state_that_begins_with_no_identifier_changes_nothing) {
    Hold(effect);
    const Plugin* before = host->GetPlugin();
    const int instantiations = instantiator.instantiations;
    SetState({3, 0, 0, 0, 'n', 'o', 't'});
    SetState({200, 0, 0});
    SetState({200, 0, 0, 0, 'V'});
    EXPECT_EQ(host->GetPlugin(), before);
    EXPECT_EQ(instantiator.instantiations, instantiations);
}

} // namespace
} // namespace Tarvik
