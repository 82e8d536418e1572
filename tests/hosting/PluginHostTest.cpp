#include "hosting/PluginHost.h"

#include "hosting/ElementHostImpl.h"
#include "hosting/FakeEffect.h"
#include "hosting/TestProgram.h"
#include "hosting/vst/VSTPlugin.h"
#include "svbase/util/ByteStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <thread>

namespace Tarvik {
namespace {

/// Does the work at once on the calling thread, and tells a test of it.
class Instantiator final : public PluginInstantiator {
public:
    bool Instantiate(PluginInstantiatorHandler* handler) override {
        ++instantiations;
        if (meanwhile) {
            meanwhile();
        }
        handler->InstantiatePlugin(this);
        return true;
    }
    void Destroy(PluginInstantiatorHandler* handler) override {
        ++destructions;
        handler->DestroyPlugin(this);
    }
    void* GetTestableDSPHost() override { return nullptr; }

    int instantiations = 0;
    int destructions = 0;
    std::function<void()> meanwhile;
};

class Resolver final : public VSTPathResolver {
public:
    String ResolvePath(const PluginIdentifier& identifier) override {
        asked = identifier;
        return answer;
    }

    PluginIdentifier asked;
    String answer;
};

class PluginHostTest : public testing::Test {
protected:
    /// Makes the host hold this effect, turned on.
    void Hold(FakeEffect& fake, bool scanOnly = false) {
        host->SetIdentifier(PluginIdentifier::ForVST(LetLibraryCreate(fake), 0));
        host->ChangePlugin(scanOnly);
    }

    InstantiationStatus StatusOf(const String& path) {
        host->SetIdentifier(PluginIdentifier::ForVST(path, 0));
        host->ChangePlugin(true);
        EXPECT_EQ(host->GetPlugin(), nullptr);
        const auto status = host->GetInstantiationStatus();
        EXPECT_TRUE(status.valid);
        return status.value;
    }

    std::vector<std::uint8_t> State() const {
        std::vector<std::uint8_t> bytes(host->GetExtraBytesSize());
        host->GetExtraBytes(bytes);
        return bytes;
    }

    FakeEffect effect;
    ElementHostImpl elementHost;
    Instantiator instantiator;
    std::unique_ptr<PluginHost> host =
        std::make_unique<PluginHost>(&elementHost, 44100.0F, &instantiator, "Vendor", "Product");
};

TEST_F(PluginHostTest, An_identifier_without_a_format_leaves_no_plugin_and_no_status) {
    host->ChangePlugin(true);
    EXPECT_EQ(host->GetPlugin(), nullptr);
    EXPECT_FALSE(host->GetInstantiationStatus().valid);
    EXPECT_EQ(instantiator.instantiations, 1);
}

TEST_F(PluginHostTest, An_audio_unit_leaves_no_plugin_and_no_status) {
    PluginIdentifier identifier;
    ASSERT_TRUE(identifier.FromString("AU: 'abcd','efgh','ijkl'"));
    host->SetIdentifier(identifier);
    host->ChangePlugin(true);
    EXPECT_EQ(host->GetPlugin(), nullptr);
    EXPECT_FALSE(host->GetInstantiationStatus().valid);
}

TEST_F(PluginHostTest, An_empty_path_without_a_resolver_is_not_found) {
    EXPECT_EQ(StatusOf(""), InstantiationNotFound);
}

TEST_F(PluginHostTest, A_resolver_is_asked_for_an_empty_path_with_all_that_is_known) {
    Resolver resolver;
    resolver.answer = LetLibraryCreate(effect);
    host->SetPathResolver(&resolver);
    host->SetIdentifier(PluginIdentifier::ForVST("", 7));
    host->ChangePlugin(true);
    EXPECT_NE(host->GetPlugin(), nullptr);
    EXPECT_EQ(resolver.asked.vstId, 7U);
    EXPECT_EQ(host->GetInstantiationStatus(), checked_value<InstantiationStatus>(InstantiationOK));
}

TEST_F(PluginHostTest, A_resolver_that_finds_nothing_is_not_found) {
    Resolver resolver;
    host->SetPathResolver(&resolver);
    EXPECT_EQ(StatusOf(""), InstantiationNotFound);
}

TEST_F(PluginHostTest, A_resolver_is_not_asked_when_there_is_a_path) {
    Resolver resolver;
    host->SetPathResolver(&resolver);
    Hold(effect);
    EXPECT_NE(host->GetPlugin(), nullptr);
    EXPECT_EQ(resolver.asked.format, PluginFormat::None);
}

TEST_F(PluginHostTest, A_shell_asks_for_its_category_and_returns_nothing) {
    effect.entersWithNull = true;
    effect.atEntry = [this] {
        char text[] = "shellCategory";
        EXPECT_EQ(effect.host(nullptr, audioMasterCanDo, 0, 0, text, 0), 0);
    };
    EXPECT_EQ(StatusOf(LetLibraryCreate(effect)), InstantiationShell);
    EXPECT_TRUE(effect.calls.empty());
}

TEST_F(PluginHostTest, A_missing_editor_has_its_own_status) {
    effect.abi.flags &= ~effFlagsHasEditor;
    EXPECT_EQ(StatusOf(LetLibraryCreate(effect)), InstantiationNoEditor);
}

TEST_F(PluginHostTest, A_shell_without_an_editor_is_a_shell) {
    effect.abi.flags &= ~effFlagsHasEditor;
    effect.answers[effOpen] = [this](const FakeEffect::Call&) {
        char text[] = "shellCategory";
        return effect.AskHost(audioMasterCanDo, 0, 0, text);
    };
    EXPECT_EQ(StatusOf(LetLibraryCreate(effect)), InstantiationShell);
}

TEST_F(PluginHostTest, A_core_library_has_its_own_status) {
    EXPECT_EQ(StatusOf(EffectLibraryPath("core.dll")), InstantiationCoreLibrary);
}

TEST_F(PluginHostTest, A_file_for_no_processor_is_the_wrong_architecture) {
    const TestDirectory directory;
    const String path = directory.Write("text.dll", {'n', 'o', ' ', 'l', 'i', 'b', 'r', 'a', 'r', 'y'});
    EXPECT_EQ(StatusOf(path), InstantiationWrongArchitecture);
}

TEST_F(PluginHostTest, An_entry_point_that_returns_nothing_failed) {
    effect.entersWithNull = true;
    EXPECT_EQ(StatusOf(LetLibraryCreate(effect)), InstantiationFailed);
}

TEST_F(PluginHostTest, A_change_that_attempts_nothing_clears_the_status) {
    EXPECT_EQ(StatusOf(""), InstantiationNotFound);
    host->SetIdentifier({});
    host->ChangePlugin(true);
    EXPECT_FALSE(host->GetInstantiationStatus().valid);
}

TEST_F(PluginHostTest, Destroying_leaves_the_status) {
    Hold(effect);
    const auto before = host->GetInstantiationStatus();
    EXPECT_EQ(before, checked_value<InstantiationStatus>(InstantiationOK));
    EXPECT_EQ(instantiator.destructions, 0);
    host.reset();
    EXPECT_EQ(instantiator.destructions, 1);
    EXPECT_EQ(effect.CallsOf(effClose).size(), 1U);
}

TEST_F(PluginHostTest, A_scan_never_sets_a_rate_or_a_size_and_never_turns_the_effect_on) {
    Hold(effect, true);
    ASSERT_NE(host->GetPlugin(), nullptr);
    for (const VstInt32 opcode : {effSetSampleRate, effSetBlockSize, effMainsChanged, effSetProgram}) {
        EXPECT_TRUE(effect.CallsOf(opcode).empty()) << opcode;
    }
}

TEST_F(PluginHostTest, A_full_load_tells_the_rate_of_the_element_and_the_largest_block) {
    Hold(effect);
    ASSERT_EQ(effect.CallsOf(effSetSampleRate).size(), 1U);
    EXPECT_EQ(effect.CallsOf(effSetSampleRate)[0].opt, 44100.0F);
    EXPECT_EQ(effect.CallsOf(effSetBlockSize)[0].value, 8192);
}

TEST_F(PluginHostTest, The_element_is_mono_and_has_one_parameter) {
    EXPECT_EQ(host->GetChannelLayout(), 0U);
    EXPECT_EQ(host->GetNumChannels(), 1U);
    EXPECT_EQ(host->GetNumParams(), 1U);
    EXPECT_EQ(host->GetName(), String("PluginHost"));
    EXPECT_EQ(std::get<DSP::ElementParam<float>>(host->GetParam("Dirty Flag")).Get(1), 0.0F);
    EXPECT_TRUE(host->GetPluginDescription().isNull());
}

TEST_F(PluginHostTest, Each_change_tells_the_element_host) {
    const std::uint32_t before = elementHost.GetParamChangeCount();
    host->ChangePlugin(false);
    EXPECT_EQ(elementHost.GetParamChangeCount(), before + 1);
    EXPECT_FALSE(elementHost.IsFinishRequested());
}

TEST_F(PluginHostTest, Latency_and_delay_are_the_plugins_and_nothing_without_one) {
    EXPECT_EQ(host->GetLatency(0), 0U);
    EXPECT_FALSE(host->GetReportedDelay().valid);
    effect.abi.initialDelay = 321;
    Hold(effect);
    EXPECT_EQ(host->GetLatency(0), 321U);
    EXPECT_FALSE(host->GetReportedDelay().valid);
}

TEST_F(PluginHostTest, A_reset_reaches_the_plugin) {
    Hold(effect);
    effect.calls.clear();
    host->ForceReset();
    EXPECT_EQ(effect.Opcodes(), (std::vector<VstInt32>{effMainsChanged, effMainsChanged}));
}

TEST_F(PluginHostTest, Without_a_plugin_audio_passes_through) {
    float samples[] = {1, 2, 3};
    float* channels[] = {samples};
    host->Process(3, channels);
    EXPECT_EQ(samples[0], 1);
    EXPECT_EQ(samples[2], 3);
}

TEST_F(PluginHostTest, Audio_runs_through_the_plugin_after_the_transport_was_told) {
    std::vector<double> positions;
    effect.process = [&](float** inputs, float** outputs, VstInt32 frames) {
        const auto* time = reinterpret_cast<const VstTimeInfo*>(effect.AskHost(audioMasterGetTime));
        positions.push_back(time->samplePos);
        for (VstInt32 i = 0; i < frames; ++i) {
            outputs[0][i] = inputs[0][i] * 2;
        }
    };
    Hold(effect);
    DSP::TransportRecord transport;
    transport.mode = 1U;
    transport.position = std::int64_t{4711};
    elementHost.SetTransport(transport);
    float samples[] = {1, 2, 3};
    float* channels[] = {samples};
    host->Process(3, channels);
    EXPECT_EQ(samples[2], 6);
    EXPECT_EQ(positions, std::vector<double>{4711});
}

TEST_F(PluginHostTest, While_the_plugin_changes_audio_stays_as_it_is) {
    effect.process = [](float**, float** outputs, VstInt32) { outputs[0][0] = 99; };
    Hold(effect);
    float samples[] = {1};
    float* channels[] = {samples};
    instantiator.meanwhile = [&] {
        EXPECT_TRUE(host->IsChanging());
        std::thread audio([&] { host->Process(1, channels); });
        audio.join();
    };
    host->ChangePlugin(false);
    EXPECT_FALSE(host->IsChanging());
    EXPECT_EQ(samples[0], 1);
    host->Process(1, channels);
    EXPECT_EQ(samples[0], 99);
}

TEST_F(PluginHostTest, The_state_is_the_identifier_and_the_plugins_bytes) {
    effect.SetParameters({0.25F, 0.5F});
    Hold(effect);
    Util::ByteStream expected;
    expected.write(host->GetIdentifier().ToString());
    expected.write(0.25F);
    expected.write(0.5F);
    EXPECT_EQ(State(), expected.data());
}

TEST_F(PluginHostTest, Without_a_plugin_the_state_is_the_identifier) {
    Util::ByteStream expected;
    expected.write(String("None"));
    EXPECT_EQ(State(), expected.data());
}

TEST_F(PluginHostTest, A_buffer_of_the_wrong_size_stays_unchanged) {
    std::vector<std::uint8_t> bytes(host->GetExtraBytesSize() + 1, 0xAB);
    host->GetExtraBytes(bytes);
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(bytes.size(), 0xAB));
    host->GetDefaultExtraBytes(bytes);
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(bytes.size(), 0));
    EXPECT_TRUE(host->HasExtraBytes());
}

TEST_F(PluginHostTest, A_state_of_size_0_unloads_the_plugin) {
    Hold(effect);
    host->SetExtraBytes(nullptr, 0, false);
    EXPECT_EQ(host->GetPlugin(), nullptr);
    EXPECT_EQ(host->GetIdentifier().format, PluginFormat::None);
}

TEST_F(PluginHostTest, A_state_with_the_same_identifier_keeps_the_object_and_applies_the_bytes) {
    effect.SetParameters({0.25F, 0.5F});
    Hold(effect);
    const std::vector<std::uint8_t> saved = State();
    effect.SetParameters({0, 0});
    const Plugin* before = host->GetPlugin();
    const int instantiations = instantiator.instantiations;
    host->SetExtraBytes(saved.data(), static_cast<std::uint32_t>(saved.size()), false);
    EXPECT_EQ(host->GetPlugin(), before);
    EXPECT_EQ(instantiator.instantiations, instantiations);
    EXPECT_EQ(effect.parameters, (std::vector<float>{0.25F, 0.5F}));
}

TEST_F(PluginHostTest, A_state_with_another_identifier_loads_that_plugin_and_applies_the_bytes) {
    effect.SetParameters({0.25F});
    Hold(effect);
    const std::vector<std::uint8_t> saved = State();
    host->SetExtraBytes(nullptr, 0, false);
    effect.SetParameters({0});
    host->SetExtraBytes(saved.data(), static_cast<std::uint32_t>(saved.size()), false);
    ASSERT_NE(host->GetPlugin(), nullptr);
    EXPECT_EQ(effect.parameters, std::vector<float>{0.25F});
    // Turned on: a state belongs to a host that plays.
    EXPECT_FALSE(effect.CallsOf(effMainsChanged).empty());
}

TEST_F(PluginHostTest, A_state_that_begins_with_no_identifier_changes_nothing) {
    Hold(effect);
    const Plugin* before = host->GetPlugin();
    const int instantiations = instantiator.instantiations;
    Util::ByteStream bytes;
    bytes.write(String("nonsense"));
    host->SetExtraBytes(bytes.data().data(), static_cast<std::uint32_t>(bytes.data().size()), false);
    const std::uint8_t cut[] = {200, 0, 0};
    host->SetExtraBytes(cut, 3, false);
    EXPECT_EQ(host->GetPlugin(), before);
    EXPECT_EQ(instantiator.instantiations, instantiations);
}

TEST_F(PluginHostTest, A_changed_plugin_shows_as_a_changed_dirty_flag) {
    Hold(effect);
    std::vector<float> seen;
    Trackable listener;
    Connection connection;
    ASSERT_TRUE(host->ConnectParam(
        "Dirty Flag",
        {&listener, [&](const DSP::ParamValue& value) { seen.push_back(std::get<float>(value)); }},
        connection));
    host->Idle();
    EXPECT_TRUE(seen.empty());
    for (int i = 0; i < 3; ++i) {
        effect.AskHost(audioMasterAutomate);
        host->Idle();
    }
    ASSERT_EQ(seen.size(), 3U);
    EXPECT_NE(seen[0], seen[1]);
    EXPECT_NE(seen[1], seen[2]);
    for (const float value : seen) {
        // Fifteen bits over 32767, which is where the C library's generator ends.
        EXPECT_NEAR(value * 32767.0F, std::round(value * 32767.0F), 0.01F);
        EXPECT_GE(value, 0.0F);
        EXPECT_LE(value, 1.0F);
    }
    host->Idle();
    EXPECT_EQ(seen.size(), 3U);
}

TEST_F(PluginHostTest, Nothing_is_rendered_without_a_plugin) {
    EXPECT_FALSE(host->ProcessRandomAccess(nullptr));
}

} // namespace
} // namespace Tarvik
