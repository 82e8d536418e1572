#include "hosting/PluginHost.h"

#include "hosting/PluginHostFixture.h"
#include "hosting/TestProgram.h"
#include "support/VirtualSlot.h"

namespace Tarvik {
namespace {

class Resolver final : public VSTPathResolver {
public:
    String ResolvePath(const PluginIdentifier& identifier) override {
        asked = identifier;
        return answer;
    }

    PluginIdentifier asked;
    String answer;
};

class PluginHostTest : public PluginHostFixture {
protected:
    InstantiationStatus StatusOf(const String& path) {
        host->SetIdentifier(PluginIdentifier::ForVST(path, 0));
        host->ChangePlugin(true);
        EXPECT_EQ(host->GetPlugin(), nullptr);
        const auto status = host->GetInstantiationStatus();
        EXPECT_TRUE(status.valid);
        return status.value;
    }
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
    instantiator.handler->DestroyPlugin(&instantiator);
    EXPECT_EQ(host->GetPlugin(), nullptr);
    EXPECT_EQ(effect.CallsOf(effClose).size(), 1U);
    EXPECT_EQ(host->GetInstantiationStatus(), checked_value<InstantiationStatus>(InstantiationOK));
}

TEST_F(PluginHostTest, A_plugin_that_goes_is_no_longer_there_for_those_who_ask) {
    Hold(effect);
    Plugin* asked = host->GetPlugin();
    effect.answers[effClose] = [&](const FakeEffect::Call&) {
        asked = host->GetPlugin();
        return VstIntPtr{0};
    };
    instantiator.handler->DestroyPlugin(&instantiator);
    EXPECT_EQ(effect.CallsOf(effClose).size(), 1U);
    EXPECT_EQ(asked, nullptr);
}

TEST_F(PluginHostTest, A_change_ends_the_earlier_plugin_before_it_makes_the_next) {
    Hold(effect);
    FakeEffect next;
    std::size_t closed = 0;
    next.atEntry = [&] { closed = effect.CallsOf(effClose).size(); };
    Hold(next);
    EXPECT_EQ(closed, 1U);
    EXPECT_EQ(effect.CallsOf(effClose).size(), 1U);
    EXPECT_TRUE(next.CallsOf(effClose).empty());
    host.reset();
    EXPECT_EQ(next.CallsOf(effClose).size(), 1U);
}

TEST_F(PluginHostTest, What_is_made_without_a_destruction_takes_the_earlier_ones_place) {
    Hold(effect);
    FakeEffect next;
    host->SetIdentifier(PluginIdentifier::ForVST(LetLibraryCreate(next), 0));
    instantiator.handler->InstantiatePlugin(&instantiator);
    EXPECT_EQ(effect.CallsOf(effClose).size(), 1U);
    EXPECT_TRUE(next.CallsOf(effClose).empty());
    EXPECT_NE(host->GetPlugin(), nullptr);
    host.reset();
}

TEST_F(PluginHostTest, A_failure_leaves_no_earlier_plugin) {
    Hold(effect);
    host->SetIdentifier(PluginIdentifier::ForVST(EffectLibraryPath("core.dll"), 0));
    // Without the destruction that ChangePlugin has done first.
    instantiator.handler->InstantiatePlugin(&instantiator);
    EXPECT_EQ(host->GetInstantiationStatus(), checked_value<InstantiationStatus>(InstantiationCoreLibrary));
    EXPECT_EQ(host->GetPlugin(), nullptr);
    EXPECT_EQ(effect.CallsOf(effClose).size(), 1U);
}

TEST_F(PluginHostTest, A_change_that_throws_is_over_and_the_next_load_is_no_scan) {
    const PluginIdentifier identifier = PluginIdentifier::ForVST(LetLibraryCreate(effect), 0);
    host->SetIdentifier(identifier);
    instantiator.meanwhile = [this] {
        EXPECT_TRUE(host->IsChanging());
        throw 1;
    };
    EXPECT_THROW(host->ChangePlugin(true), int);
    EXPECT_FALSE(host->IsChanging());
    EXPECT_FALSE(host->GetInstantiationStatus().valid);
    instantiator.handler->InstantiatePlugin(&instantiator);
    ASSERT_NE(host->GetPlugin(), nullptr);
    EXPECT_FALSE(effect.CallsOf(effMainsChanged).empty()) << "turned on";
}

TEST_F(PluginHostTest, The_end_of_the_host_destroys_the_plugin_through_the_instantiator) {
    Hold(effect);
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

// Its lock, which only an explicit instantiation may name.
const Util::CriticalSection& lockOf(const PluginHost& host);
template<auto Lock>
struct PrivateLock {
    friend const Util::CriticalSection& lockOf(const PluginHost& host) { return host.*Lock; }
};
template struct PrivateLock<&PluginHost::pluginLock>;

TEST_F(PluginHostTest, The_lock_around_the_plugin_is_named) {
    EXPECT_EQ(lockOf(*host).name(), String("PluginHost Plugin Critical Section"));
}

TEST(PluginHost, Its_own_operation_stands_behind_those_of_all_elements_with_parameters) {
    struct Open : DSP::ElementDispatcher {
        using ElementDispatcher::CreateControllerSet;
    };
    EXPECT_EQ(virtualSlot(&PluginHost::GetReportedDelay), virtualSlot(&Open::CreateControllerSet) + 1);
}

} // namespace
} // namespace Tarvik
