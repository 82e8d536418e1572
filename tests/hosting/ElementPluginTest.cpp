#include "hosting/ElementPlugin.h"

#include "dsp/ElementDispatcher.h"
#include "hosting/ElementHostImpl.h"
#include "protocol/PluginIdentifier.h"
#include "svbase/util/ByteStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace Tarvik {
namespace {

class Percent final : public DSP::ParamFormatter<float> {
public:
    String Format(float value) const override { return String("%1 %").arg(value, 0U); }
};

/// Three parameters, one of each kind, and extra bytes.
class ThreeKinds final : public DSP::ElementDispatcher {
public:
    ThreeKinds(DSP::ElementHost* host, bool* gone = nullptr)
        : ElementDispatcher(host, "Three Kinds", 48000.0F, 1), gone_(gone) {
        DSP::ParamRegistration<float> gain;
        gain.name = "Gain";
        gain.index = 0;
        gain.range = {-10.0F, 10.0F};
        gain.target = &gain_;
        gain.units = "dB";
        gain.formatter = std::make_unique<Percent>();
        AddFloatParam(std::move(gain));
        DSP::ParamRegistration<bool> active;
        active.name = "Active";
        active.index = 1;
        active.target = &active_;
        active.quantised = true;
        AddBoolParam(std::move(active));
        DSP::ParamRegistration<std::uint32_t> mode;
        mode.name = "Mode";
        mode.index = 2;
        mode.range = {2, 5};
        mode.defaultValue = 2;
        mode.target = &mode_;
        mode.valueNames = {"two", "three", "four", "five"};
        AddEnumParam(std::move(mode));
        FinishParamRegistration();
    }
    ~ThreeKinds() override {
        if (gone_ != nullptr) {
            *gone_ = true;
        }
    }

    bool HasExtraBytes() const override { return true; }
    std::uint32_t GetExtraBytesSize() const override {
        return claimedSize != 0 ? claimedSize : static_cast<std::uint32_t>(extra.size());
    }
    void GetExtraBytes(std::span<std::uint8_t> buffer) const override {
        std::copy(extra.begin(), extra.end(), buffer.begin());
    }
    void SetExtraBytes(const void* bytes, std::uint32_t size, bool) override {
        const auto* first = static_cast<const std::uint8_t*>(bytes);
        extra.assign(first, first + size);
    }

    std::vector<std::uint8_t> extra;
    std::uint32_t claimedSize = 0;
    int idles = 0;

protected:
    std::uint32_t DoGetLatency(std::uint32_t) const override { return 12; }
    void OnIdle() override { ++idles; }
    void ProcessAudio(std::uint32_t frames, float** channels) override {
        for (std::uint32_t i = 0; i < frames; ++i) {
            channels[1][i] = -channels[0][i];
        }
    }

private:
    bool* gone_;
    float gain_ = 0.0F;
    bool active_ = false;
    std::uint32_t mode_ = 2;
};

class ThreeKindsPlugin final : public ElementPlugin {
public:
    explicit ThreeKindsPlugin(ElementHostImpl* host) : ElementPlugin(48000.0F, 1, host) {}

    using ElementPlugin::SetElement;
};

class ElementPluginTest : public testing::Test {
protected:
    void SetUp() override {
        element = new ThreeKinds(&host, &gone);
        plugin->SetElement(element, true);
    }

    // In the order of names: "Active", "Gain", "Mode".
    static constexpr std::uint32_t active = 0;
    static constexpr std::uint32_t gain = 1;
    static constexpr std::uint32_t mode = 2;

    ElementHostImpl host;
    bool gone = false;
    ThreeKinds* element = nullptr;
    std::unique_ptr<ThreeKindsPlugin> plugin = std::make_unique<ThreeKindsPlugin>(&host);
};

TEST_F(ElementPluginTest, Without_an_element_it_is_not_valid) {
    EXPECT_FALSE(ThreeKindsPlugin(&host).IsValid());
    EXPECT_TRUE(plugin->IsValid());
}

TEST_F(ElementPluginTest, It_has_no_format_no_identifier_and_no_editor) {
    EXPECT_EQ(plugin->GetFormat(), 0U);
    EXPECT_EQ(plugin->GetIdentifier().format, PluginFormat::None);
    EXPECT_TRUE(plugin->HasEditor().known);
    EXPECT_FALSE(plugin->HasEditor().value);
    EXPECT_FALSE(plugin->OpenEditor(nullptr, 0, 0));
}

TEST_F(ElementPluginTest, Name_latency_idle_and_audio_are_the_elements) {
    EXPECT_EQ(plugin->GetName(), String("Three Kinds"));
    EXPECT_EQ(plugin->GetLatency(), 12U);
    plugin->Idle();
    EXPECT_EQ(element->idles, 1);
    EXPECT_EQ(plugin->GetElement(), element);
    EXPECT_TRUE(plugin->SupportsRealTime());
    float left[] = {1, 2};
    float right[] = {0, 0};
    float* channels[] = {left, right};
    plugin->Process(2, 99, channels);
    EXPECT_EQ(right[1], -2);
}

TEST_F(ElementPluginTest, Parameters_stand_in_the_order_of_their_names) {
    ASSERT_EQ(plugin->GetNumParameters(), 3U);
    EXPECT_EQ(plugin->GetParameterName(active), String("Active"));
    EXPECT_EQ(plugin->GetParameterName(gain), String("Gain"));
    EXPECT_EQ(plugin->GetParameterName(mode), String("Mode"));
    EXPECT_EQ(plugin->GetParameterUnits(gain), String("dB"));
    EXPECT_EQ(plugin->GetParameterUnits(mode), String(""));
    EXPECT_TRUE(plugin->IsParameterQuantised(active));
    EXPECT_FALSE(plugin->IsParameterQuantised(gain));
    EXPECT_EQ(plugin->GetParameterDisplay(gain, 7), String("7 %"));
    EXPECT_EQ(plugin->GetParameterDisplay(mode, 4), String("four"));
}

TEST_F(ElementPluginTest, Past_the_end_there_are_no_parameters) {
    EXPECT_EQ(plugin->GetParameterName(3), String(""));
    EXPECT_FALSE(plugin->GetParameterName(3).isNull());
    const ParameterInfo info = plugin->GetParameterInfo(3);
    EXPECT_EQ(info.kind, 0U);
    EXPECT_EQ(info.minimum, 1.0F);
    EXPECT_EQ(info.maximum, 0.0F);
    EXPECT_EQ(info.steps, 0U);
    EXPECT_EQ(plugin->GetParameterUnits(3), String(""));
    EXPECT_FALSE(plugin->IsParameterQuantised(3));
    EXPECT_EQ(plugin->GetParameterDisplay(3, 1), String(""));
    EXPECT_EQ(plugin->GetParameterValue(1, 3), 0.0F);
    plugin->SetParameterValue(1, 3, 1.0F);
}

TEST_F(ElementPluginTest, Ranges_are_the_elements) {
    EXPECT_EQ(plugin->GetParameterInfo(gain).minimum, -10.0F);
    EXPECT_EQ(plugin->GetParameterInfo(gain).maximum, 10.0F);
    EXPECT_EQ(plugin->GetParameterInfo(mode).minimum, 2.0F);
    EXPECT_EQ(plugin->GetParameterInfo(mode).maximum, 5.0F);
    EXPECT_EQ(plugin->GetParameterInfo(mode).steps, 3U);
    EXPECT_EQ(plugin->GetParameterInfo(active).steps, 1U);
}

TEST_F(ElementPluginTest, Values_are_set_and_read_by_stream) {
    plugin->SetParameterValue(1, gain, 3.5F);
    plugin->SetParameterValue(1, active, 1.0F);
    plugin->SetParameterValue(1, mode, 4.0F);
    for (const std::uint32_t stream : {0U, 1U}) {
        EXPECT_EQ(plugin->GetParameterValue(stream, gain), 3.5F) << stream;
        EXPECT_EQ(plugin->GetParameterValue(stream, active), 1.0F) << stream;
        EXPECT_EQ(plugin->GetParameterValue(stream, mode), 4.0F) << stream;
    }
}

TEST_F(ElementPluginTest, Values_beyond_a_range_are_brought_into_it) {
    for (const float wild : {1e30F, -1e30F, std::numeric_limits<float>::quiet_NaN()}) {
        plugin->SetParameterValue(1, mode, wild);
        const float value = plugin->GetParameterValue(1, mode);
        EXPECT_GE(value, 2.0F);
        EXPECT_LE(value, 5.0F);
    }
}

TEST_F(ElementPluginTest, The_state_is_values_extra_size_and_extra_bytes) {
    plugin->SetParameterValue(1, gain, 3.5F);
    plugin->SetParameterValue(1, mode, 4.0F);
    element->extra = {9, 8, 7};
    Util::ByteStream expected;
    expected.write(false);
    expected.write(3.5F);
    expected.write(std::uint32_t{4});
    expected.write(std::uint32_t{3});
    expected.write(std::vector<std::uint8_t>{9, 8, 7});
    std::vector<std::uint8_t> state;
    plugin->GetState(1, state);
    EXPECT_EQ(state, expected.data());
}

TEST_F(ElementPluginTest, Extra_bytes_beyond_the_limit_yield_an_empty_state) {
    element->claimedSize = 100000001;
    std::vector<std::uint8_t> state{1, 2, 3};
    plugin->GetState(1, state);
    EXPECT_TRUE(state.empty());
}

TEST_F(ElementPluginTest, A_state_comes_back) {
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

TEST_F(ElementPluginTest, A_state_cut_short_anywhere_is_refused_and_changes_nothing) {
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

TEST_F(ElementPluginTest, Any_bytes_are_accepted_or_refused_and_leave_values_in_range) {
    std::mt19937 random(5);
    for (int round = 0; round < 2000; ++round) {
        std::vector<std::uint8_t> bytes(random() % 40);
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
        plugin->SetState(1, static_cast<std::uint32_t>(bytes.size()), bytes.data());
        EXPECT_GE(plugin->GetParameterValue(1, mode), 2.0F);
        EXPECT_LE(plugin->GetParameterValue(1, mode), 5.0F);
    }
}

TEST_F(ElementPluginTest, The_transport_goes_to_the_element_host) {
    DSP::TransportRecord record;
    record.position = std::int64_t{99};
    plugin->SetTransport(record);
    EXPECT_EQ(host.GetTransportPosition(), checked_value<std::int64_t>(99));
}

TEST_F(ElementPluginTest, An_owned_element_goes_with_the_plugin) {
    plugin.reset();
    EXPECT_TRUE(gone);
}

TEST_F(ElementPluginTest, A_deleter_ends_an_owned_element) {
    static DSP::Element* deleted = nullptr;
    {
        ThreeKindsPlugin other(&host);
        other.SetElement(element, true, [](DSP::Element* which) { deleted = which; });
    }
    EXPECT_EQ(deleted, element);
    EXPECT_FALSE(gone);
}

TEST_F(ElementPluginTest, A_borrowed_element_stays) {
    {
        ThreeKindsPlugin other(&host);
        other.SetElement(element, false);
    }
    EXPECT_FALSE(gone);
}

} // namespace
} // namespace Tarvik
