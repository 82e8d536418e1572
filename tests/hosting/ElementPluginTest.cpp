#include "hosting/ElementPlugin.h"

#include "dsp/TestElementHost.h"
#include "hosting/FakeEffect.h"
#include "hosting/TestProgram.h"
#include "hosting/ThreeKinds.h"
#include "protocol/PluginIdentifier.h"
#include "support/VirtualSlot.h"
#include "svbase/util/Module.h"

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tarvik {
namespace {

class ElementPluginTest : public ThreeKindsTest {};

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
    EXPECT_FALSE(plugin->IsEditorOpen());
    std::uint32_t width = 12;
    std::uint32_t height = 34;
    plugin->GetEditorSize(width, height);
    EXPECT_EQ(width, 12U);
    EXPECT_EQ(height, 34U);
    plugin->CloseEditor();
}

TEST_F(ElementPluginTest, Name_latency_idle_and_audio_are_the_elements) {
    EXPECT_EQ(plugin->GetName(), String("Three Kinds"));
    EXPECT_EQ(plugin->GetLatency(), 12U);
    plugin->Idle();
    EXPECT_EQ(element->idles, 1);
    EXPECT_EQ(plugin->GetElement(), element);
    float left[] = {1, 2};
    float right[] = {0, 0};
    float* channels[] = {left, right};
    plugin->Process(2, 99, channels);
    EXPECT_EQ(right[1], -2);
}

TEST_F(ElementPluginTest, Reset_is_the_elements) {
    Block();
    const int before = element->resets;
    plugin->Reset();
    EXPECT_EQ(element->resets, before + 1);
}

TEST_F(ElementPluginTest, What_it_can_do_is_what_the_element_can_do) {
    int place = 0;
    auto* const renderer = reinterpret_cast<DSP::RandomAccessHost*>(&place);
    for (const bool can : {false, true}) {
        element->realTime = can;
        element->randomAccess = can;
        element->renderedBy = nullptr;
        EXPECT_EQ(plugin->SupportsRealTime(), can);
        EXPECT_EQ(plugin->SupportsRandomAccess(renderer), can);
        EXPECT_EQ(plugin->ProcessRandomAccess(renderer), can);
        EXPECT_EQ(element->renderedBy, renderer);
    }
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
    EXPECT_EQ(plugin->GetParameterInfo(gain).steps, 0U);
    EXPECT_EQ(plugin->GetParameterInfo(gain).kind, 0U);
    EXPECT_EQ(plugin->GetParameterInfo(active).kind, 1U);
    EXPECT_EQ(plugin->GetParameterInfo(mode).kind, 2U);
}

TEST_F(ElementPluginTest, While_audio_runs_each_stream_has_values_of_its_own) {
    host.SetAudioRunning(true);
    plugin->SetParameterValue(1, gain, 3.5F);
    plugin->SetParameterValue(1, active, 1.0F);
    plugin->SetParameterValue(1, mode, 4.0F);
    EXPECT_EQ(plugin->GetParameterValue(1, gain), 3.5F);
    EXPECT_EQ(plugin->GetParameterValue(1, active), 1.0F);
    EXPECT_EQ(plugin->GetParameterValue(1, mode), 4.0F);
    EXPECT_EQ(plugin->GetParameterValue(0, gain), 0.0F);
    EXPECT_EQ(plugin->GetParameterValue(0, active), 0.0F);
    EXPECT_EQ(plugin->GetParameterValue(0, mode), 2.0F);
    Block();
    EXPECT_EQ(plugin->GetParameterValue(0, gain), 3.5F);
    EXPECT_EQ(plugin->GetParameterValue(0, active), 1.0F);
    EXPECT_EQ(plugin->GetParameterValue(0, mode), 4.0F);
    plugin->SetParameterValue(0, gain, -1.0F);
    EXPECT_EQ(plugin->GetParameterValue(0, gain), -1.0F);
    EXPECT_EQ(plugin->GetParameterValue(1, gain), 3.5F);
}

TEST_F(ElementPluginTest, With_audio_stopped_both_streams_follow_at_once) {
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

TEST_F(ElementPluginTest, The_transport_goes_to_the_element_host) {
    DSP::TransportRecord record;
    record.position = std::int64_t{99};
    plugin->SetTransport(record);
    EXPECT_EQ(host.GetTransportPosition(), checked_value<std::int64_t>(99));
}

TEST_F(ElementPluginTest, The_transport_stays_with_an_element_host_of_another_kind) {
    DSP::Testing::TestElementHost other;
    ThreeKindsPlugin elsewhere(&other);
    elsewhere.SetElement(new ThreeKinds(&other), true);
    DSP::TransportRecord record;
    record.position = std::int64_t{99};
    elsewhere.SetTransport(record);
    EXPECT_FALSE(other.GetTransportPosition().valid);
}

/// Calls a function when it ends.
class EndingText final : public DSP::ParamFormatter<float> {
public:
    explicit EndingText(std::function<void()> end) : atEnd(std::move(end)) {}
    ~EndingText() override { atEnd(); }
    String Format(float) const override { return ""; }

private:
    std::function<void()> atEnd;
};

/// Calls a function when it ends, and another one when its parameter does.
class EndingElement final : public DSP::ElementDispatcher {
public:
    EndingElement(DSP::ElementHost* host, std::function<void()> end, std::function<void()> parameterEnd)
        : ElementDispatcher(host, "Ending", 48000.0F, 1), atEnd(std::move(end)) {
        DSP::ParamRegistration<float> value;
        value.name = "Value";
        value.target = &target;
        value.formatter = std::make_unique<EndingText>(std::move(parameterEnd));
        AddFloatParam(std::move(value));
        FinishParamRegistration();
    }
    ~EndingElement() override { atEnd(); }

private:
    std::function<void()> atEnd;
    float target = 0.0F;
};

TEST_F(ElementPluginTest, The_library_goes_after_the_element_and_its_parameters) {
    const TestDirectory directory;
    // A copy: other tests keep the library itself loaded.
    const String path = directory.Copy(EffectLibraryPath("forwarding.dll"), "elements.dll");
    static AEffect effect;
    const auto load = [&path] {
        auto library = std::make_unique<Util::Module>(path);
        EXPECT_TRUE(library->load());
        return library;
    };
    auto library = load();
    // What the library answers with once it has been told what to make: one that was loaded anew has not.
    const auto enter = library->function<VstEntryPoint>("VSTPluginMain");
    ASSERT_NE(enter, nullptr);
    library->function<void (*)(VstEntryPoint)>("SetEffectFactory")(
        [](audioMasterCallback) { return &effect; });

    std::vector<std::string> log;
    auto ending = std::make_unique<ThreeKindsPlugin>(&host);
    ending->SetLibrary(std::move(library));
    ending->SetElement(
        new EndingElement(
            &host,
            [&] { log.push_back(enter(nullptr) == &effect ? "element" : "element, without its library"); },
            [&] {
                log.push_back(enter(nullptr) == &effect ? "parameter" : "parameter, without its library");
            }),
        true);
    ending.reset();
    EXPECT_EQ(log, (std::vector<std::string>{"element", "parameter"}));
    EXPECT_EQ(load()->function<VstEntryPoint>("VSTPluginMain")(nullptr), nullptr) << "it was freed";
}

TEST(ElementPlugin, Its_own_operations_stand_behind_those_of_all_plugins) {
    // Behind random access come the destructor, what follows the transport's mode, and what follows its
    // place.
    EXPECT_EQ(
        virtualSlots(&ElementPlugin::GetElement, &ElementPlugin::OnElementChanged),
        slotsFrom(virtualSlot(&Plugin::ProcessRandomAccess) + 1 + destructorSlots + 2, 2));
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
