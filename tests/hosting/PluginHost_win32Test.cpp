#include "hosting/PluginHostFixture.h"
#include "hosting/dx/ComTest_win32.h"
#include "hosting/dx/DXPlugin.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tarvik {
namespace {

using TestFilters::Behaviour;
using TestFilters::Deed;
using TestFilters::Place;

PluginIdentifier identifierOf(const String& classId) {
    PluginIdentifier identifier;
    EXPECT_TRUE(identifier.FromString(String("DX: %1").arg(classId)));
    return identifier;
}

class PluginHostDirectXTest : public PluginHostFixture {
protected:
    checked_value<InstantiationStatus> Change(const PluginIdentifier& identifier) {
        host->SetIdentifier(identifier);
        host->ChangePlugin(true);
        return host->GetInstantiationStatus();
    }

    /// A filter that notes its beginning and its end.
    Behaviour Noting(const std::string& name) {
        Behaviour behaviour;
        behaviour.onArrival = [this, name](Place place) {
            if (place == Place::creation) {
                notes.push_back(name + " is made");
            } else if (place == Place::destruction) {
                notes.push_back(name + " goes");
            }
        };
        return behaviour;
    }

    ComApartment com;
    std::vector<std::string> notes;
};

TEST_F(PluginHostDirectXTest, A_filter_is_held_as_the_plug_in_of_a_mono_element) {
    const RegisteredFilter filter;
    EXPECT_EQ(Change(identifierOf(filter.Text())), checked_value(InstantiationOK));
    const auto* plugin = dynamic_cast<DXPlugin*>(host->GetPlugin());
    ASSERT_NE(plugin, nullptr);
    EXPECT_TRUE(plugin->IsValid());
    EXPECT_EQ(plugin->GetNumChannels(), 1U);
    EXPECT_EQ(plugin->GetSampleRate(), 44100.0f);
    EXPECT_EQ(plugin->GetIdentifier(), host->GetIdentifier());
}

TEST_F(PluginHostDirectXTest, A_class_that_nobody_has_is_not_found) {
    EXPECT_EQ(Change(identifierOf(classIdText(newClassId()))), checked_value(InstantiationNotFound));
    EXPECT_EQ(host->GetPlugin(), nullptr);
}

TEST_F(PluginHostDirectXTest, Sixteen_zeros_are_not_found) {
    EXPECT_EQ(Change(identifierOf("nonsense")), checked_value(InstantiationNotFound));
}

TEST_F(PluginHostDirectXTest, Any_other_failure_is_one) {
    Behaviour fails;
    fails.acts[Place::enumPins] = {Deed::answer, E_FAIL};
    const RegisteredFilter failing(fails);
    EXPECT_EQ(Change(identifierOf(failing.Text())), checked_value(InstantiationFailed));
    EXPECT_EQ(host->GetPlugin(), nullptr);
    Behaviour throws;
    throws.acts[Place::creation] = {Deed::throwOwn, E_FAIL};
    const RegisteredFilter throwing(throws);
    EXPECT_EQ(Change(identifierOf(throwing.Text())), checked_value(InstantiationFailed));
    const RegisteredFilter nameless({}, std::nullopt);
    EXPECT_EQ(Change(identifierOf(nameless.Text())), checked_value(InstantiationFailed));
    EXPECT_EQ(host->GetPlugin(), nullptr);
}

TEST_F(PluginHostDirectXTest, A_failure_leaves_no_earlier_plug_in) {
    const RegisteredFilter filter;
    EXPECT_EQ(Change(identifierOf(filter.Text())), checked_value(InstantiationOK));
    EXPECT_EQ(Change(identifierOf(classIdText(newClassId()))), checked_value(InstantiationNotFound));
    EXPECT_EQ(host->GetPlugin(), nullptr);
}

TEST_F(PluginHostDirectXTest, What_is_made_without_a_destruction_takes_the_earlier_ones_place) {
    const RegisteredFilter first(Noting("first"), L"First");
    const RegisteredFilter second(Noting("second"), L"Second");
    ASSERT_EQ(Change(identifierOf(first.Text())), checked_value(InstantiationOK));
    notes.clear();
    host->SetIdentifier(identifierOf(second.Text()));
    instantiator.handler->InstantiatePlugin(&instantiator);
    EXPECT_EQ(host->GetInstantiationStatus(), checked_value(InstantiationOK));
    ASSERT_NE(host->GetPlugin(), nullptr);
    EXPECT_EQ(host->GetPlugin()->GetName(), "Second");
    EXPECT_EQ(notes, (std::vector<std::string>{"second is made", "first goes"}));
    host.reset();
}

TEST_F(PluginHostDirectXTest, A_failure_without_a_destruction_leaves_no_earlier_plug_in_either) {
    const RegisteredFilter filter(Noting("filter"));
    Behaviour fails;
    fails.acts[Place::enumPins] = {Deed::answer, E_FAIL};
    const RegisteredFilter failing(fails);
    for (const auto& [text, status] :
         {std::pair(classIdText(newClassId()), InstantiationNotFound),
          {failing.Text(), InstantiationFailed}}) {
        ASSERT_EQ(Change(identifierOf(filter.Text())), checked_value(InstantiationOK));
        notes.clear();
        host->SetIdentifier(identifierOf(text));
        // Without the destruction that ChangePlugin has done first.
        instantiator.handler->InstantiatePlugin(&instantiator);
        EXPECT_EQ(host->GetInstantiationStatus(), checked_value(status));
        EXPECT_EQ(host->GetPlugin(), nullptr);
        EXPECT_EQ(notes, std::vector<std::string>{"filter goes"});
    }
}

TEST_F(PluginHostDirectXTest, While_the_next_one_is_made_the_status_says_nothing) {
    const RegisteredFilter first;
    ASSERT_EQ(Change(identifierOf(first.Text())), checked_value(InstantiationOK));
    std::optional<bool> validMeanwhile;
    Behaviour behaviour;
    behaviour.onArrival = [&](Place place) {
        if (place == Place::creation) {
            validMeanwhile = host->GetInstantiationStatus().valid;
        }
    };
    const RegisteredFilter second(behaviour);
    host->SetIdentifier(identifierOf(second.Text()));
    instantiator.handler->InstantiatePlugin(&instantiator);
    EXPECT_EQ(validMeanwhile, std::optional(false));
    EXPECT_EQ(host->GetInstantiationStatus(), checked_value(InstantiationOK));
    host.reset();
}

TEST_F(PluginHostDirectXTest, Its_state_is_the_identifier_and_the_filters_bytes) {
    const RegisteredFilter filter;
    ASSERT_EQ(Change(identifierOf(filter.Text())), checked_value(InstantiationOK));
    filter.SetGain(2.0f);
    const std::vector<std::uint8_t> state = State();

    PluginHost second(&elementHost, 44100.0F, &instantiator, "Vendor", "Product");
    second.SetExtraBytes(state.data(), static_cast<std::uint32_t>(state.size()), false);
    ASSERT_NE(second.GetPlugin(), nullptr);
    EXPECT_EQ(second.GetIdentifier(), host->GetIdentifier());
    float gain = 0.0f;
    filter.Last()->GetGain(&gain);
    EXPECT_EQ(gain, 2.0f);
}

TEST_F(PluginHostDirectXTest, Without_a_block_there_is_no_delay_to_report) {
    const RegisteredFilter filter;
    ASSERT_EQ(Change(identifierOf(filter.Text())), checked_value(InstantiationOK));
    EXPECT_FALSE(host->GetReportedDelay().valid);
    float audio[4] = {1.0f, 2.0f, 3.0f, 4.0f};
    float* channel = audio;
    host->GetPlugin()->Process(4, 1, &channel);
    EXPECT_EQ(host->GetReportedDelay(), checked_value(4U));
    EXPECT_EQ(audio[3], 2.0f);
}

} // namespace
} // namespace Tarvik
