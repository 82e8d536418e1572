#include "hosting/FakeEffect.h"
#include "hosting/TestProgram.h"
#include "protocol/PluginIdentifier.h"
#include "svbase/util/Path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using Tarvik::PluginFormat;
using Tarvik::VSTPlugin;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

std::unique_ptr<VSTPlugin> hostFile(const String& path) {
    return std::make_unique<VSTPlugin>(path, 48000.0f, 1u, true, checked_value<std::int32_t>{}, "", "");
}

TEST(VSTPluginLoad, A_scan_dispatches_exactly_what_it_needs) {
    FakeEffect effect;
    effect.Answers(effGetPlugCategory, kPlugCategEffect);
    effect.abi.numPrograms = 5;
    auto plugin = HostEffect(effect, {.scanOnly = true});
    EXPECT_TRUE(plugin->IsValid());
    EXPECT_THAT(
        effect.Opcodes(), ElementsAre(effOpen, effGetVstVersion, effGetPlugCategory, effGetPlugCategory));
    effect.calls.clear();
    plugin->GetName();
    plugin->GetIdentifier();
    plugin->IsInstrument();
    plugin->GetNumOutputs();
    plugin.reset();
    EXPECT_THAT(effect.Opcodes(), ElementsAre(effGetEffectName, effClose));
}

TEST(VSTPluginLoad, A_scan_never_configures_nor_starts_the_effect) {
    FakeEffect effect;
    effect.abi.numPrograms = 5;
    HostEffect(effect, {.scanOnly = true, .blockSize = 512}).reset();
    for (const VstInt32 opcode :
         {effSetSampleRate, effSetBlockSize, effMainsChanged, effSetProgram, effConnectOutput}) {
        EXPECT_THAT(effect.Opcodes(), Not(Contains(opcode)));
    }
}

TEST(VSTPluginLoad, A_scan_of_a_declared_synth_asks_its_category_once) {
    FakeEffect effect;
    effect.abi.flags |= effFlagsIsSynth;
    auto plugin = HostEffect(effect, {.scanOnly = true});
    EXPECT_TRUE(plugin->IsInstrument());
    EXPECT_THAT(effect.Opcodes(), ElementsAre(effOpen, effGetVstVersion, effGetPlugCategory));
}

TEST(VSTPluginLoad, A_full_load_configures_and_starts_the_effect_in_order) {
    FakeEffect effect;
    auto plugin = HostEffect(effect, {.sampleRate = 96000.0f, .blockSize = 512});
    EXPECT_TRUE(plugin->IsValid());
    EXPECT_THAT(
        effect.Opcodes(),
        ElementsAre(
            effOpen, effGetVstVersion, effGetPlugCategory, effSetBlockSize, effSetSampleRate,
            effConnectOutput, effConnectOutput, effMainsChanged, effGetPlugCategory));
    EXPECT_EQ(effect.CallsOf(effSetBlockSize)[0].value, 512);
    EXPECT_EQ(effect.CallsOf(effSetSampleRate)[0].opt, 96000.0f);
    EXPECT_EQ(effect.CallsOf(effConnectOutput)[0].index, 0);
    EXPECT_EQ(effect.CallsOf(effConnectOutput)[0].value, 1);
    EXPECT_EQ(effect.CallsOf(effConnectOutput)[1].index, 1);
    EXPECT_EQ(effect.CallsOf(effConnectOutput)[1].value, 1);
    EXPECT_EQ(effect.CallsOf(effMainsChanged)[0].value, 1);
}

TEST(VSTPluginLoad, Without_a_block_size_the_effect_is_told_65536) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    EXPECT_EQ(effect.CallsOf(effSetBlockSize)[0].value, 65536);
}

TEST(VSTPluginLoad, Outputs_are_connected_up_to_the_smaller_of_the_two_counts) {
    const auto connected = [](VstInt32 outputs, std::uint32_t layout) {
        FakeEffect effect;
        effect.abi.numOutputs = outputs;
        auto plugin = HostEffect(effect, {.layout = layout});
        return effect.CallsOf(effConnectOutput).size();
    };
    EXPECT_EQ(connected(8, 1), 2u);
    EXPECT_EQ(connected(1, 1), 1u);
    EXPECT_EQ(connected(0, 1), 0u);
    EXPECT_EQ(connected(-3, 1), 0u);
    EXPECT_EQ(connected(64, 36), 24u);
    EXPECT_EQ(connected(64, 37), 0u);
}

TEST(VSTPluginLoad, The_effect_leads_back_to_its_plugin) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    EXPECT_EQ(effect.abi.resvd1, reinterpret_cast<VstIntPtr>(plugin.get()));
}

TEST(VSTPluginLoad, An_effect_without_an_editor_is_rejected_before_its_category_is_asked) {
    FakeEffect effect;
    effect.abi.flags = effFlagsCanReplacing;
    auto plugin = HostEffect(effect);
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_TRUE(plugin->HasEditor().known);
    EXPECT_FALSE(plugin->HasEditor().value);
    EXPECT_THAT(effect.Opcodes(), ElementsAre(effOpen, effGetVstVersion, effClose));
    plugin.reset();
    EXPECT_EQ(effect.calls.size(), 3u);
}

TEST(VSTPluginLoad, An_effect_that_lacks_an_operation_is_rejected_before_its_category_is_asked) {
    const auto rejected = [](auto remove) {
        FakeEffect effect;
        remove(effect.abi);
        auto plugin = HostEffect(effect);
        return !plugin->IsValid() && plugin->HasEditor().value &&
               effect.Opcodes() == std::vector<VstInt32>{effOpen, effGetVstVersion, effClose};
    };
    EXPECT_TRUE(rejected([](AEffect& abi) { abi.processReplacing = nullptr; }));
    EXPECT_TRUE(rejected([](AEffect& abi) { abi.setParameter = nullptr; }));
    EXPECT_TRUE(rejected([](AEffect& abi) { abi.getParameter = nullptr; }));
}

TEST(VSTPluginLoad, A_shell_by_category_is_rejected) {
    FakeEffect effect;
    effect.Answers(effGetPlugCategory, kPlugCategShell);
    auto plugin = HostEffect(effect);
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_FALSE(plugin->AskedForShellCategory());
    EXPECT_THAT(effect.Opcodes(), ElementsAre(effOpen, effGetVstVersion, effGetPlugCategory, effClose));
}

TEST(VSTPluginLoad, A_shell_that_asks_in_its_entry_point_is_known_by_that) {
    for (const bool hasEffect : {true, false}) {
        FakeEffect effect;
        effect.entersWithNull = true;
        VstIntPtr answer = -1;
        effect.atEntry = [&] {
            char question[] = "shellCategory";
            answer = effect.host(hasEffect ? &effect.abi : nullptr, audioMasterCanDo, 0, 0, question, 0.0f);
        };
        auto plugin = HostEffect(effect, {.scanOnly = true});
        EXPECT_FALSE(plugin->IsValid());
        EXPECT_TRUE(plugin->AskedForShellCategory()) << hasEffect;
        EXPECT_EQ(answer, 0);
        EXPECT_FALSE(plugin->HasEditor().known);
        EXPECT_TRUE(effect.calls.empty());
    }
}

TEST(VSTPluginLoad, A_null_effect_is_invalid_and_asked_nothing) {
    FakeEffect effect;
    effect.entersWithNull = true;
    auto plugin = HostEffect(effect);
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_FALSE(plugin->IsCoreLibrary());
    EXPECT_FALSE(plugin->HasEditor().known);
    EXPECT_TRUE(plugin->IsArchitectureSupported());
    EXPECT_EQ(plugin->GetIdentifier().vstId, 0u);
}

TEST(VSTPluginLoad, An_instrument_is_one_by_flag_or_by_category) {
    const auto instrument = [](VstInt32 flags, VstIntPtr category) {
        FakeEffect effect;
        effect.abi.flags |= flags;
        effect.Answers(effGetPlugCategory, category);
        return HostEffect(effect, {.scanOnly = true})->IsInstrument();
    };
    EXPECT_TRUE(instrument(effFlagsIsSynth, kPlugCategEffect));
    EXPECT_TRUE(instrument(0, kPlugCategSynth));
    EXPECT_TRUE(instrument(0, kPlugCategGenerator));
    EXPECT_FALSE(instrument(0, kPlugCategEffect));
    EXPECT_FALSE(instrument(0, kPlugCategUnknown));
    EXPECT_FALSE(instrument(0, 12));
}

TEST(VSTPluginLoad, A_library_with_main_alone_loads) {
    FakeEffect effect;
    auto plugin = HostEffect(effect, {.library = "forwarding_old.dll"});
    EXPECT_TRUE(plugin->IsValid());
    EXPECT_FALSE(plugin->IsCoreLibrary());
}

TEST(VSTPluginLoad, The_entry_point_of_its_own_name_comes_before_main) {
    FakeEffect effect;
    auto plugin = HostEffect(effect, {.library = "forwarding_both.dll"});
    EXPECT_TRUE(plugin->IsValid());
}

TEST(VSTPluginLoad, A_core_library_is_known_by_its_export) {
    const auto plugin = hostFile(EffectLibraryPath("core.dll"));
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_TRUE(plugin->IsCoreLibrary());
    EXPECT_TRUE(plugin->IsArchitectureSupported());
}

TEST(VSTPluginLoad, An_entry_point_beside_a_core_makes_it_a_plugin) {
    FakeEffect effect;
    auto plugin = HostEffect(effect, {.library = "core_with_old.dll"});
    EXPECT_TRUE(plugin->IsValid());
    EXPECT_FALSE(plugin->IsCoreLibrary());
}

TEST(VSTPluginLoad, A_library_without_any_entry_point_is_invalid) {
    const auto plugin = hostFile(EffectLibraryPath("no_entry.dll"));
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_FALSE(plugin->IsCoreLibrary());
    EXPECT_TRUE(plugin->IsArchitectureSupported());
}

TEST(VSTPluginLoad, A_missing_file_is_invalid_and_of_no_architecture) {
    const auto plugin = hostFile(EffectLibraryPath("absent.dll"));
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_FALSE(plugin->IsArchitectureSupported());
    EXPECT_FALSE(plugin->HasEditor().known);
}

TEST(VSTPluginLoad, Files_that_are_no_library_are_invalid_and_of_no_architecture) {
    const TestDirectory directory;
    const std::string text = "This is a text and no library at all; nothing in it is a header.\n";
    for (const std::vector<std::uint8_t>& bytes :
         {std::vector<std::uint8_t>{}, std::vector<std::uint8_t>(text.begin(), text.end()),
          std::vector<std::uint8_t>{'M', 'Z'}, std::vector<std::uint8_t>{0x7F, 'E', 'L', 'F'}}) {
        const auto plugin = hostFile(directory.Write("Odd.dll", bytes));
        EXPECT_FALSE(plugin->IsValid());
        EXPECT_FALSE(plugin->IsArchitectureSupported());
        EXPECT_EQ(plugin->GetName().toStdString(), "Odd");
    }
}

TEST(VSTPluginLoad, An_empty_path_is_invalid) {
    const auto plugin = hostFile("");
    EXPECT_FALSE(plugin->IsValid());
    EXPECT_FALSE(plugin->IsArchitectureSupported());
}

TEST(VSTPluginLoad, A_library_loads_from_a_path_of_spaces_foreign_letters_and_commas) {
    const TestDirectory directory;
    for (const char* name : {
             "with spaces.dll",
             "\xC3\xA4\xC3\xB6\xC3\xBC \xE6\x97\xA5\xE6\x9C\xAC.dll",
             "with,comma.dll",
         }) {
        const auto plugin = hostFile(directory.Copy(EffectLibraryPath("core.dll"), name));
        EXPECT_TRUE(plugin->IsCoreLibrary()) << name;
        EXPECT_TRUE(plugin->IsArchitectureSupported()) << name;
        EXPECT_EQ(plugin->GetName().toStdString() + ".dll", name);
    }
}

TEST(VSTPluginLoad, The_effect_is_closed_once_and_at_the_end) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    EXPECT_TRUE(effect.CallsOf(effClose).empty());
    plugin.reset();
    EXPECT_EQ(effect.CallsOf(effClose).size(), 1u);
    EXPECT_EQ(effect.Opcodes().back(), effClose);
}

TEST(VSTPluginLoad, An_effect_without_a_dispatcher_is_asked_nothing) {
    FakeEffect effect;
    effect.abi.dispatcher = nullptr;
    auto plugin = HostEffect(effect);
    EXPECT_TRUE(plugin->IsValid());
    EXPECT_EQ(plugin->GetName().toStdString(), "forwarding");
}

TEST(VSTPluginLoad, The_identifier_is_of_the_library_and_of_what_the_effect_says) {
    FakeEffect effect;
    effect.abi.uniqueID = static_cast<VstInt32>(0xFEDCBA98u);
    effect.Answers(effGetVstVersion, 2400);
    auto plugin = HostEffect(effect);
    const Tarvik::PluginIdentifier identifier = plugin->GetIdentifier();
    EXPECT_EQ(identifier.format, PluginFormat::VST);
    EXPECT_EQ(identifier.vstId, 0xFEDCBA98u);
    EXPECT_EQ(
        identifier.vstPath.toStdString(),
        Util::Path::normalise(EffectLibraryPath("forwarding.dll")).toStdString());
    EXPECT_EQ(identifier.vstKey.toStdString(), identifier.vstPath.toStdString());
    EXPECT_EQ(plugin->GetFormat(), 2u);
    EXPECT_EQ(plugin->GetVstVersion(), 2400);
}

TEST(VSTPluginLoad, The_name_is_the_effects_own_when_it_answers) {
    FakeEffect effect;
    effect.AnswersText(effGetEffectName, "A Name");
    EXPECT_EQ(HostEffect(effect)->GetName().toStdString(), "A Name");
    effect.AnswersText(effGetEffectName, "");
    EXPECT_EQ(HostEffect(effect)->GetName().toStdString(), "");
}

TEST(VSTPluginLoad, The_name_is_the_files_when_the_effect_answers_zero) {
    FakeEffect effect;
    effect.AnswersText(effGetEffectName, "Ignored", 0);
    EXPECT_EQ(HostEffect(effect)->GetName().toStdString(), "forwarding");
}

TEST(VSTPluginLoad, Only_a_lower_case_extension_is_cut_from_the_file_name) {
    EXPECT_EQ(hostFile("/nowhere/Some.Name.dll")->GetName().toStdString(), "Some.Name");
    EXPECT_EQ(hostFile("/nowhere/Some.DLL")->GetName().toStdString(), "Some.DLL");
    EXPECT_EQ(hostFile("/nowhere/Some.so")->GetName().toStdString(), "Some.so");
    EXPECT_EQ(hostFile("/nowhere/.dll")->GetName().toStdString(), "");
}

TEST(VSTPluginLoad, Names_beyond_their_published_size_and_not_UTF_8_are_kept_byte_for_byte) {
    const std::string bytes = std::string(700, 'n') + "\xFF\xC3(";
    FakeEffect effect;
    effect.AnswersText(effGetEffectName, bytes);
    EXPECT_EQ(HostEffect(effect)->GetName().toStdString(), bytes);
}

TEST(VSTPluginLoad, A_text_without_an_end_is_cut_at_1023_bytes) {
    FakeEffect effect;
    effect.answers[effGetEffectName] = [](const FakeEffect::Call& call) -> VstIntPtr {
        std::fill_n(static_cast<char*>(call.ptr), 1024, 'x');
        return 1;
    };
    EXPECT_EQ(HostEffect(effect)->GetName().toStdString(), std::string(1023, 'x'));
}

TEST(VSTPluginLoad, Latency_is_the_initial_delay_within_its_bound) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    effect.abi.initialDelay = 64;
    EXPECT_EQ(plugin->GetLatency(), 64u);
    effect.abi.initialDelay = 100000000;
    EXPECT_EQ(plugin->GetLatency(), 100000000u);
    effect.abi.initialDelay = 100000001;
    EXPECT_EQ(plugin->GetLatency(), 0u);
    effect.abi.initialDelay = -1;
    EXPECT_EQ(plugin->GetLatency(), 0u);
}

TEST(VSTPluginLoad, Outputs_below_zero_are_none) {
    FakeEffect effect;
    effect.abi.numOutputs = -1;
    EXPECT_EQ(HostEffect(effect)->GetNumOutputs(), 0u);
}

TEST(VSTPluginLoad, An_invalid_object_answers_everything) {
    const auto plugin = hostFile(EffectLibraryPath("absent.dll"));
    std::vector<std::uint8_t> state{1, 2, 3};
    plugin->GetState(1, state);
    EXPECT_TRUE(state.empty());
    EXPECT_TRUE(plugin->SetState(1, 0, nullptr));
    EXPECT_FALSE(plugin->SetState(1, 4, "abc"));
    EXPECT_EQ(plugin->GetLatency(), 0u);
    EXPECT_EQ(plugin->GetNumParameters(), 0u);
    EXPECT_EQ(plugin->GetParameterValue(0, 0), 0.0f);
    EXPECT_EQ(plugin->GetNumPrograms(), 0u);
    EXPECT_FALSE(plugin->SelectProgram(0));
    EXPECT_FALSE(plugin->OpenEditor(nullptr, 0, 0));
    EXPECT_EQ(plugin->GetNumOutputs(), 0u);
    plugin->SetParameterValue(0, 0, 1.0f);
    plugin->Reset();
    plugin->Idle();
    plugin->SetTransport({});
    float sample = 0.5f;
    float* channels[] = {&sample};
    plugin->Process(1, 1, channels);
    EXPECT_EQ(sample, 0.5f);
    const Tarvik::ProcessEvent event{};
    plugin->ProcessEvents(1, &event);
    plugin->CloseEditor();
}

} // namespace
