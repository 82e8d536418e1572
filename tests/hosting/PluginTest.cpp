#include "hosting/Plugin.h"

#include "protocol/PluginIdentifier.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using DSP::TransportRecord;
using Tarvik::OptionalBool;
using Tarvik::ParameterInfo;
using Tarvik::Plugin;
using Tarvik::PluginIdentifier;

/// Answers nothing, and notes in order what the transport makes of it.
class BarePlugin final : public Plugin {
public:
    explicit BarePlugin(std::uint32_t layout = 1) : Plugin(44100.0f, layout) {}

    std::vector<std::string> notes;

    void SetDirty() { dirty = true; }

    bool IsValid() const override { return true; }
    std::uint32_t GetFormat() const override { return 0; }
    PluginIdentifier GetIdentifier() const override { return {}; }
    String GetName() const override { return ""; }
    std::uint32_t GetLatency() const override { return 0; }
    OptionalBool HasEditor() const override { return {}; }
    void GetEditorSize(std::uint32_t&, std::uint32_t&) override {}
    bool OpenEditor(Tarvik::NativeWindow, std::int32_t, std::int32_t) override { return false; }
    void CloseEditor() override {}
    std::uint32_t GetNumParameters() const override { return 0; }
    String GetParameterName(std::uint32_t) const override { return ""; }
    ParameterInfo GetParameterInfo(std::uint32_t) const override { return {}; }
    String GetParameterUnits(std::uint32_t) const override { return ""; }
    bool IsParameterQuantised(std::uint32_t) const override { return false; }
    String GetParameterDisplay(std::uint32_t, std::uint32_t) const override { return ""; }
    float GetParameterValue(std::uint32_t, std::uint32_t) const override { return 0.0f; }
    void SetParameterValue(std::uint32_t, std::uint32_t, float) override {}
    void GetState(std::int32_t, std::vector<std::uint8_t>&) const override {}
    bool SetState(std::uint32_t, std::uint32_t, const void*) override { return false; }
    void Reset() override { notes.emplace_back("reset"); }
    bool SupportsRealTime() const override { return true; }
    void Process(std::uint32_t, std::uint32_t, float**) override {}

private:
    void UpdateTransport(const TransportRecord&) override { notes.emplace_back("update"); }
};

TransportRecord mode(std::uint32_t value) {
    TransportRecord transport;
    transport.mode = value;
    return transport;
}

using Notes = std::vector<std::string>;

TEST(Plugin, Its_channel_count_comes_from_its_layout) {
    EXPECT_EQ(BarePlugin(0).GetNumChannels(), 1u);
    EXPECT_EQ(BarePlugin(11).GetNumChannels(), 9u);
    EXPECT_EQ(BarePlugin(37).GetNumChannels(), 0u);
    EXPECT_EQ(BarePlugin(0xFFFFFFFFu).GetNumChannels(), 0u);
    EXPECT_EQ(BarePlugin(11).GetChannelLayout(), 11u);
    EXPECT_EQ(BarePlugin().GetSampleRate(), 44100.0f);
}

TEST(Plugin, Has_no_programs_editor_or_random_access_by_default) {
    BarePlugin plugin;
    EXPECT_EQ(plugin.GetNumPrograms(), 0u);
    EXPECT_TRUE(plugin.GetProgramName(0).isEmpty());
    EXPECT_FALSE(plugin.SelectProgram(0));
    EXPECT_TRUE(plugin.IsArchitectureSupported());
    EXPECT_FALSE(plugin.IsEditorOpen());
    EXPECT_FALSE(plugin.HasEditorResizeCallback());
    EXPECT_FALSE(plugin.GetReportedDelay().valid);
    EXPECT_FALSE(plugin.SupportsRandomAccess(nullptr));
    EXPECT_FALSE(plugin.ProcessRandomAccess(nullptr));
    plugin.SetEditorResizeCallback(nullptr, nullptr);
    plugin.ProcessEvents(0, nullptr);
    plugin.Idle();
    plugin.Reserved();
    EXPECT_TRUE(plugin.notes.empty());
}

TEST(Plugin, The_same_mode_twice_resets_once) {
    BarePlugin plugin;
    plugin.SetTransport(mode(1));
    plugin.SetTransport(mode(1));
    EXPECT_EQ(plugin.notes, (Notes{"reset", "update", "update"}));
}

TEST(Plugin, The_first_transport_without_a_mode_changes_nothing) {
    BarePlugin plugin;
    plugin.SetTransport({});
    EXPECT_EQ(plugin.notes, (Notes{"update"}));
}

TEST(Plugin, A_first_mode_of_0_is_a_change_from_none) {
    BarePlugin plugin;
    plugin.SetTransport(mode(0));
    EXPECT_EQ(plugin.notes, (Notes{"reset", "update"}));
}

TEST(Plugin, A_mode_that_vanishes_is_a_change) {
    BarePlugin plugin;
    plugin.SetTransport(mode(0));
    plugin.SetTransport({});
    plugin.SetTransport({});
    EXPECT_EQ(plugin.notes, (Notes{"reset", "update", "reset", "update", "update"}));
}

TEST(Plugin, A_stop_after_play_resets_unless_told_not_to) {
    BarePlugin resets;
    resets.SetTransport(mode(1));
    resets.notes.clear();
    resets.SetTransport(mode(0));
    EXPECT_EQ(resets.notes, (Notes{"reset", "update"}));

    BarePlugin keeps;
    keeps.SetResetOnStop(false);
    keeps.SetTransport(mode(1));
    keeps.notes.clear();
    keeps.SetTransport(mode(0));
    EXPECT_EQ(keeps.notes, (Notes{"update"}));
}

TEST(Plugin, Without_reset_on_stop_every_other_change_still_resets) {
    const auto resetsFromTo = [](checked_value<std::uint32_t> from, checked_value<std::uint32_t> to) {
        BarePlugin plugin;
        plugin.SetResetOnStop(false);
        TransportRecord transport;
        transport.mode = from;
        plugin.SetTransport(transport);
        plugin.notes.clear();
        transport.mode = to;
        plugin.SetTransport(transport);
        return plugin.notes == Notes{"reset", "update"};
    };
    EXPECT_TRUE(resetsFromTo(0u, 1u));
    EXPECT_TRUE(resetsFromTo(2u, 0u));
    EXPECT_TRUE(resetsFromTo(1u, 2u));
    EXPECT_TRUE(resetsFromTo(1u, {}));
    EXPECT_TRUE(resetsFromTo({}, 0u));
    EXPECT_FALSE(resetsFromTo(1u, 0u));
}

TEST(Plugin, Is_dirty_from_a_change_of_its_own_until_cleared) {
    BarePlugin plugin;
    EXPECT_FALSE(plugin.IsDirty());
    plugin.SetDirty();
    EXPECT_TRUE(plugin.IsDirty());
    plugin.ClearDirty();
    EXPECT_FALSE(plugin.IsDirty());
}

} // namespace
