#include "hosting/dx/DXPlugin.h"

#include "hosting/dx/ComTest_win32.h"
#include "hosting/dx/DXFilterGraph_win32.h"
#include "support/AllocationCount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

namespace Tarvik {
namespace {

using Bytes = std::vector<std::uint8_t>;
using TestFilters::Behaviour;
using TestFilters::Deed;
using TestFilters::Place;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t stereo = 1;

class DXPluginTest : public testing::Test {
protected:
    static std::unique_ptr<DXPlugin> Load(const RegisteredFilter& filter, std::uint32_t layout = stereo) {
        return std::make_unique<DXPlugin>(filter.Text(), 44100.0f, layout);
    }

    static Behaviour Doing(Place place, Deed deed, HRESULT code = E_FAIL) {
        Behaviour behaviour;
        behaviour.acts[place] = {deed, code};
        return behaviour;
    }

    ComApartment com;
};

TEST_F(DXPluginTest, A_gain_filter_is_valid_and_says_who_it_is) {
    const RegisteredFilter filter;
    const auto plugin = Load(filter);
    EXPECT_TRUE(plugin->IsValid());
    EXPECT_FALSE(plugin->IsClassNotFound());
    EXPECT_EQ(plugin->GetFormat(), 3U);
    EXPECT_STREQ(plugin->GetName().c_str(), "Test filter");
    const PluginIdentifier identifier = plugin->GetIdentifier();
    EXPECT_EQ(identifier.format, PluginFormat::DirectX);
    EXPECT_EQ(identifier.ToString(), String("DX: %1").arg(filter.Text()));
    EXPECT_EQ(plugin->GetLatency(), 0U);
    EXPECT_TRUE(plugin->IsArchitectureSupported());
    EXPECT_TRUE(plugin->SupportsRealTime());
}

TEST_F(DXPluginTest, The_letters_of_a_class_identifier_may_be_small) {
    const RegisteredFilter filter;
    const DXPlugin plugin(filter.Text().toLower(), 44100.0f, stereo);
    EXPECT_TRUE(plugin.IsValid());
    EXPECT_EQ(plugin.GetIdentifier().ToString(), String("DX: %1").arg(filter.Text()));
}

TEST_F(DXPluginTest, It_has_no_parameters_and_no_programs) {
    const RegisteredFilter filter;
    const auto plugin = Load(filter);
    EXPECT_EQ(plugin->GetNumParameters(), 0U);
    const ParameterInfo info = plugin->GetParameterInfo(0);
    EXPECT_EQ(info.kind, 0U);
    EXPECT_EQ(info.minimum, 1.0f);
    EXPECT_EQ(info.maximum, 0.0f);
    EXPECT_EQ(info.steps, 0U);
    plugin->SetParameterValue(1, 0, 0.5f);
    EXPECT_EQ(plugin->GetParameterValue(1, 0), 0.0f);
    EXPECT_TRUE(plugin->GetParameterName(0).isEmpty());
    EXPECT_TRUE(plugin->GetParameterUnits(0).isEmpty());
    EXPECT_TRUE(plugin->GetParameterDisplay(0, 0).isEmpty());
    EXPECT_FALSE(plugin->IsParameterQuantised(0));
    EXPECT_EQ(plugin->GetNumPrograms(), 0U);
    EXPECT_FALSE(plugin->SelectProgram(0));
}

TEST_F(DXPluginTest, A_class_that_nobody_has_is_told_apart_from_one_that_fails) {
    const DXPlugin missing(classIdText(newClassId()), 44100.0f, stereo);
    EXPECT_FALSE(missing.IsValid());
    EXPECT_TRUE(missing.IsClassNotFound());
    const RegisteredFilter failing(Doing(Place::enumPins, Deed::answer));
    const auto plugin = Load(failing);
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_FALSE(plugin->IsClassNotFound());
    const DXPlugin nonsense("nonsense", 44100.0f, stereo);
    EXPECT_FALSE(nonsense.IsValid());
    EXPECT_FALSE(nonsense.IsClassNotFound());
}

TEST_F(DXPluginTest, A_filter_without_an_entry_is_not_valid_though_it_was_created) {
    bool created = false;
    Behaviour behaviour;
    behaviour.onArrival = [&](Place place) { created = created || place == Place::creation; };
    const RegisteredFilter filter(behaviour, std::nullopt);
    const auto plugin = Load(filter);
    EXPECT_TRUE(created);
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_FALSE(plugin->IsClassNotFound());
}

TEST_F(DXPluginTest, A_filter_that_answers_the_type_with_S_FALSE_is_not_valid) {
    const RegisteredFilter filter(Doing(Place::queryAccept, Deed::answer, S_FALSE));
    EXPECT_FALSE(Load(filter)->IsValid());
}

TEST_F(DXPluginTest, A_layout_of_three_channels_or_none_is_not_valid) {
    const RegisteredFilter filter;
    EXPECT_TRUE(Load(filter, 0)->IsValid());
    EXPECT_TRUE(Load(filter, 2)->IsValid());
    for (const std::uint32_t layout : {3U, 8U, 15U, 36U, 37U, 47U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(Load(filter, layout)->IsValid()) << layout;
    }
}

TEST_F(DXPluginTest, What_a_filter_throws_makes_the_object_invalid) {
    for (const Deed deed : {Deed::throwOwn, Deed::throwOfAnother}) {
        for (const Place place :
             {Place::creation, Place::queryFilter, Place::joinFilterGraph, Place::enumPins, Place::nextPin,
              Place::queryDirection, Place::queryMemInputPin, Place::queryAccept, Place::receiveConnection,
              Place::notifyAllocator, Place::connectOutput, Place::run, Place::queryPersistStream}) {
            const RegisteredFilter filter(Doing(place, deed));
            EXPECT_NO_THROW(EXPECT_FALSE(Load(filter)->IsValid())) << static_cast<int>(place);
        }
    }
}

TEST_F(DXPluginTest, The_state_are_the_bytes_that_the_filter_writes) {
    const RegisteredFilter filter;
    const auto plugin = Load(filter);
    Bytes state = {1, 2, 3};
    plugin->GetState(1, state);
    EXPECT_THAT(state, ElementsAre('G', 'A', 'I', 'N', 0x00, 0x00, 0x00, 0x3F));
    filter.SetGain(2.0f);
    plugin->GetState(1, state);
    EXPECT_THAT(state, ElementsAre('G', 'A', 'I', 'N', 0x00, 0x00, 0x00, 0x40));
}

TEST_F(DXPluginTest, Writing_the_state_leaves_the_filter_clean) {
    const RegisteredFilter filter;
    const auto plugin = Load(filter);
    filter.SetGain(2.0f);
    ComPointer<IPersistStream> persist;
    ASSERT_EQ(queryInterface(filter.Last(), IID_IPersistStream, persist), S_OK);
    EXPECT_EQ(persist->IsDirty(), S_OK);
    Bytes state;
    plugin->GetState(1, state);
    EXPECT_EQ(persist->IsDirty(), S_FALSE);
}

TEST_F(DXPluginTest, A_state_that_was_written_comes_back) {
    const RegisteredFilter filter;
    const auto plugin = Load(filter);
    const Bytes quarter = {'G', 'A', 'I', 'N', 0x00, 0x00, 0x80, 0x3E};
    EXPECT_TRUE(plugin->SetState(1, static_cast<std::uint32_t>(quarter.size()), quarter.data()));
    float gain = 0.0f;
    filter.Last()->GetGain(&gain);
    EXPECT_EQ(gain, 0.25f);
    Bytes state;
    plugin->GetState(1, state);
    EXPECT_EQ(state, quarter);
}

TEST_F(DXPluginTest, Bytes_that_the_filter_does_not_take_change_nothing) {
    const RegisteredFilter filter;
    const auto plugin = Load(filter);
    const Bytes wrong = {'L', 'O', 'S', 'S', 0x00, 0x00, 0x80, 0x3E};
    EXPECT_FALSE(plugin->SetState(1, 8, wrong.data()));
    EXPECT_FALSE(plugin->SetState(1, 3, wrong.data()));
    EXPECT_FALSE(plugin->SetState(1, 0, nullptr));
    float gain = 0.0f;
    filter.Last()->GetGain(&gain);
    EXPECT_EQ(gain, 0.5f);
}

TEST_F(DXPluginTest, Only_the_control_side_has_a_state) {
    const RegisteredFilter filter;
    const auto plugin = Load(filter);
    const Bytes quarter = {'G', 'A', 'I', 'N', 0x00, 0x00, 0x80, 0x3E};
    for (const int stream : {0, 2, -1}) {
        Bytes state = {1, 2, 3};
        plugin->GetState(stream, state);
        EXPECT_THAT(state, IsEmpty());
        EXPECT_FALSE(plugin->SetState(static_cast<std::uint32_t>(stream), 8, quarter.data()));
    }
}

TEST_F(DXPluginTest, Without_persistence_the_state_is_empty) {
    Behaviour behaviour;
    behaviour.persists = false;
    const RegisteredFilter filter(behaviour);
    const auto plugin = Load(filter);
    ASSERT_TRUE(plugin->IsValid());
    Bytes state = {1, 2, 3};
    plugin->GetState(1, state);
    EXPECT_THAT(state, IsEmpty());
    const Bytes bytes(8);
    EXPECT_FALSE(plugin->SetState(1, 8, bytes.data()));
}

TEST_F(DXPluginTest, A_filter_that_fails_to_write_leaves_the_bytes_as_they_were) {
    for (const Deed deed : {Deed::answer, Deed::throwOwn, Deed::throwOfAnother}) {
        Behaviour behaviour = Doing(Place::save, deed);
        behaviour.acts[Place::load] = {deed, E_FAIL};
        const RegisteredFilter filter(behaviour);
        const auto plugin = Load(filter);
        Bytes state = {1, 2, 3};
        plugin->GetState(1, state);
        EXPECT_THAT(state, ElementsAre(1, 2, 3));
        EXPECT_FALSE(plugin->SetState(1, 3, state.data()));
    }
}

TEST_F(DXPluginTest, An_object_that_is_not_valid_does_nothing_whatever_it_is_asked) {
    DXPlugin plugin(classIdText(newClassId()), 44100.0f, stereo);
    float audio[4] = {1.0f, 2.0f, 3.0f, 4.0f};
    float* channels[] = {audio, audio + 2};
    plugin.Process(2, 2, channels);
    EXPECT_THAT(audio, ElementsAre(1.0f, 2.0f, 3.0f, 4.0f));
    plugin.Reset();
    EXPECT_FALSE(plugin.GetReportedDelay().valid);
    Bytes state = {1};
    plugin.GetState(1, state);
    EXPECT_THAT(state, IsEmpty());
    EXPECT_FALSE(plugin.SetState(1, 1, audio));
    EXPECT_TRUE(plugin.HasEditor().known);
    EXPECT_FALSE(plugin.HasEditor().value);
    std::uint32_t width = 7;
    std::uint32_t height = 8;
    plugin.GetEditorSize(width, height);
    EXPECT_EQ(width, 7U);
    EXPECT_EQ(height, 8U);
    EXPECT_FALSE(plugin.OpenEditor(GetDesktopWindow(), 0, 0));
    plugin.CloseEditor();
    EXPECT_FALSE(plugin.IsEditorOpen());
    EXPECT_TRUE(plugin.GetName().isEmpty());
}

TEST_F(DXPluginTest, Without_memory_for_a_graph_it_does_nothing_and_does_not_know_of_an_editor) {
    const RegisteredFilter filter;
    const String text = filter.Text();
    std::optional<WithoutMemory> none(sizeof(DXFilterGraph));
    DXPlugin plugin(text, 44100.0f, stereo);
    none.reset();
    EXPECT_FALSE(plugin.IsValid());
    EXPECT_FALSE(plugin.IsClassNotFound());
    EXPECT_FALSE(plugin.HasEditor().known);
    EXPECT_FALSE(plugin.HasEditor().value);
    std::uint32_t width = 7;
    std::uint32_t height = 8;
    plugin.GetEditorSize(width, height);
    EXPECT_EQ(width, 7U);
    EXPECT_EQ(height, 8U);
    EXPECT_FALSE(plugin.OpenEditor(GetDesktopWindow(), 0, 0));
    plugin.CloseEditor();
    EXPECT_FALSE(plugin.IsEditorOpen());
    float audio[4] = {1.0f, 2.0f, 3.0f, 4.0f};
    float* channels[] = {audio, audio + 2};
    plugin.Process(2, 2, channels);
    EXPECT_THAT(audio, ElementsAre(1.0f, 2.0f, 3.0f, 4.0f));
    plugin.Reset();
    EXPECT_FALSE(plugin.GetReportedDelay().valid);
    Bytes state = {1};
    plugin.GetState(1, state);
    EXPECT_THAT(state, IsEmpty());
    EXPECT_FALSE(plugin.SetState(1, 1, audio));
    EXPECT_TRUE(plugin.GetName().isEmpty());
    EXPECT_EQ(plugin.GetIdentifier().format, PluginFormat::DirectX);
    EXPECT_EQ(plugin.GetIdentifier().ToString(), "DX: 00000000-0000-0000-0000-000000000000");
}

} // namespace
} // namespace Tarvik
