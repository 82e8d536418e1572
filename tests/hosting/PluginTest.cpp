#include "hosting/Plugin.h"

#include "protocol/PluginIdentifier.h"
#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <numeric>
#include <string>
#include <vector>

namespace {

using DSP::TransportRecord;
using Tarvik::OptionalBool;
using Tarvik::ParameterInfo;
using Tarvik::Plugin;
using Tarvik::PluginIdentifier;
using Tarvik::ProcessEvent;

/// Answers nothing, and notes in order what the transport makes of it.
class BarePlugin final : public Plugin {
public:
    explicit BarePlugin(std::uint32_t layout = 1) : Plugin(44100.0f, layout) {}

    std::vector<std::string> notes;
    /// The mode that the plug-in held when it was reset, and when it was told the position.
    checked_value<std::uint32_t> modeAtReset;
    checked_value<std::uint32_t> modeAtUpdate;

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
    void Reset() override {
        notes.emplace_back("reset");
        modeAtReset = Mode();
    }
    bool SupportsRealTime() const override { return true; }
    void Process(std::uint32_t, std::uint32_t, float**) override {}

private:
    void UpdateTransport(const TransportRecord&) override {
        notes.emplace_back("update");
        modeAtUpdate = Mode();
    }

    checked_value<std::uint32_t> Mode() const {
        return transportModeSet ? checked_value(transportMode) : checked_value<std::uint32_t>();
    }
};

// The two private operations, which only an explicit instantiation may name.
std::ptrdiff_t slotOfOnTransportChanged();
std::ptrdiff_t slotOfUpdateTransport();

template<auto OnTransportChanged, auto UpdateTransport>
struct PrivateSlots {
    friend std::ptrdiff_t slotOfOnTransportChanged() { return virtualSlot(OnTransportChanged); }
    friend std::ptrdiff_t slotOfUpdateTransport() { return virtualSlot(UpdateTransport); }
};
template struct PrivateSlots<&Plugin::OnTransportChanged, &Plugin::UpdateTransport>;

TEST(Plugin, Its_operations_keep_their_slots) {
    const std::vector<std::ptrdiff_t> slots{
        virtualSlot(&Plugin::IsValid),
        virtualSlot(&Plugin::GetFormat),
        virtualSlot(&Plugin::GetIdentifier),
        virtualSlot(&Plugin::GetName),
        virtualSlot(&Plugin::GetNumPrograms),
        virtualSlot(&Plugin::GetProgramName),
        virtualSlot(&Plugin::SelectProgram),
        virtualSlot(&Plugin::GetLatency),
        virtualSlot(&Plugin::Idle),
        virtualSlot(&Plugin::IsArchitectureSupported),
        virtualSlot(&Plugin::HasEditor),
        virtualSlot(&Plugin::GetEditorSize),
        virtualSlot(&Plugin::IsEditorOpen),
        virtualSlot(&Plugin::OpenEditor),
        virtualSlot(&Plugin::CloseEditor),
        virtualSlot(&Plugin::HasEditorResizeCallback),
        virtualSlot(&Plugin::SetEditorResizeCallback),
        virtualSlot(&Plugin::Reserved),
        virtualSlot(&Plugin::GetNumParameters),
        virtualSlot(&Plugin::GetParameterName),
        virtualSlot(&Plugin::GetParameterInfo),
        virtualSlot(&Plugin::GetParameterUnits),
        virtualSlot(&Plugin::IsParameterQuantised),
        virtualSlot(&Plugin::GetParameterDisplay),
        virtualSlot(&Plugin::GetParameterValue),
        virtualSlot(&Plugin::SetParameterValue),
        virtualSlot(&Plugin::GetState),
        virtualSlot(&Plugin::SetState),
        virtualSlot(&Plugin::Reset),
        virtualSlot(&Plugin::SupportsRealTime),
        virtualSlot(&Plugin::Process),
        virtualSlot(&Plugin::GetReportedDelay),
        virtualSlot(&Plugin::ProcessEvents),
        virtualSlot(&Plugin::SetTransport),
        virtualSlot(&Plugin::SupportsRandomAccess),
        virtualSlot(&Plugin::ProcessRandomAccess),
    };
    std::vector<std::ptrdiff_t> inOrder(36);
    std::iota(inOrder.begin(), inOrder.end(), 0);
    EXPECT_EQ(slots, inOrder);
    // Between them stands the destructor, whose deleting form has a place of its own.
    EXPECT_EQ(slotOfOnTransportChanged(), 38);
    EXPECT_EQ(slotOfUpdateTransport(), 39);
}

TEST(Plugin, Its_records_hold_their_fields_in_order) {
    EXPECT_EQ(offsetof(ParameterInfo, kind), 0u);
    EXPECT_EQ(offsetof(ParameterInfo, minimum), 4u);
    EXPECT_EQ(offsetof(ParameterInfo, maximum), 8u);
    EXPECT_EQ(offsetof(ParameterInfo, steps), 12u);
    EXPECT_EQ(sizeof(ParameterInfo), 16u);
    EXPECT_EQ(offsetof(OptionalBool, value), 0u);
    EXPECT_EQ(offsetof(OptionalBool, known), 1u);
    EXPECT_EQ(offsetof(ProcessEvent, timeMs), 0u);
    EXPECT_EQ(offsetof(ProcessEvent, status), 8u);
    EXPECT_EQ(offsetof(ProcessEvent, channel), 9u);
    EXPECT_EQ(offsetof(ProcessEvent, data1), 10u);
    EXPECT_EQ(offsetof(ProcessEvent, data2), 11u);
    EXPECT_EQ(offsetof(ProcessEvent, realtime), 12u);
}

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

TEST(Plugin, A_new_mode_is_stored_after_the_reset_and_before_the_position_is_passed_on) {
    BarePlugin plugin;
    plugin.SetTransport(mode(1));
    EXPECT_FALSE(plugin.modeAtReset.valid);
    EXPECT_EQ(plugin.modeAtUpdate, checked_value(1u));
    plugin.SetTransport(mode(2));
    EXPECT_EQ(plugin.modeAtReset, checked_value(1u));
    EXPECT_EQ(plugin.modeAtUpdate, checked_value(2u));
    plugin.SetTransport({});
    EXPECT_EQ(plugin.modeAtReset, checked_value(2u));
    EXPECT_FALSE(plugin.modeAtUpdate.valid);
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
