#include "hosting/ClosingParent_win32.h"
#include "hosting/FakeEffect.h"
#include "hosting/ParentWindow_win32.h"
#include "hosting/vst/VSTEditorWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace {

using Tarvik::VSTEditorWindow;
using testing::ElementsAre;

using Size = std::pair<std::uint32_t, std::uint32_t>;

struct EditorEffect : FakeEffect {
    ERect rectangle{0, 0, 200, 320};
    bool denies = false;

    EditorEffect() {
        answers[effEditGetRect] = [this](const Call& call) {
            *static_cast<ERect**>(call.ptr) = &rectangle;
            return VstIntPtr{denies ? 0 : 1};
        };
        AnswersText(effGetEffectName, "Editor \xC3\xA4");
    }
};

bool classExists() {
    WNDCLASSEXW description{};
    description.cbSize = sizeof description;
    return GetClassInfoExW(
               GetModuleHandleW(nullptr), VSTEditorWindow::ClassName().toNativeWide().c_str(),
               &description) != 0;
}

TEST(VSTPluginEditorWindow, Opens_as_a_child_of_its_size_and_place) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    effect.calls.clear();
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 30, 40));
    EXPECT_TRUE(plugin->IsEditorOpen());
    EXPECT_THAT(effect.Opcodes(), ElementsAre(effEditGetRect, effGetEffectName, effEditOpen));

    const HWND child = parent.Child();
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(effect.CallsOf(effEditOpen)[0].ptr, child);
    EXPECT_EQ(static_cast<DWORD>(GetWindowLongPtrW(child, GWL_STYLE)), 0x52000000u);
    EXPECT_EQ(GetWindowLongPtrW(child, GWLP_USERDATA), reinterpret_cast<LONG_PTR>(plugin.get()));
    const RECT place = placeInParent(child);
    EXPECT_EQ(place.left, 30);
    EXPECT_EQ(place.top, 40);
    EXPECT_EQ(place.right - place.left, 320);
    EXPECT_EQ(place.bottom - place.top, 200);

    wchar_t text[64];
    GetWindowTextW(child, text, 64);
    EXPECT_EQ(std::wstring(text), L"Editor \u00E4");
    GetClassNameW(child, text, 64);
    EXPECT_EQ(String::fromWide(text).toStdString(), VSTEditorWindow::ClassName().toStdString());
    EXPECT_TRUE(VSTEditorWindow::ClassName().startsWith("Sv_Tarvik_Win32VSTPluginUI"));
    EXPECT_EQ(GetClassLongPtrW(child, GCL_STYLE), static_cast<ULONG_PTR>(CS_DBLCLKS));
}

TEST(VSTPluginEditorWindow, Opening_twice_is_opening_once) {
    ParentWindow parent;
    ParentWindow other;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    EXPECT_TRUE(plugin->OpenEditor(other.Get(), 5, 5));
    EXPECT_EQ(effect.CallsOf(effEditOpen).size(), 1u);
    EXPECT_EQ(other.Child(), nullptr);
}

TEST(VSTPluginEditorWindow, The_class_lives_from_the_first_editor_to_the_last) {
    ParentWindow parent;
    EditorEffect first;
    EditorEffect second;
    auto one = HostEffect(first);
    auto two = HostEffect(second);
    EXPECT_FALSE(classExists());
    ASSERT_TRUE(one->OpenEditor(parent.Get(), 0, 0));
    ASSERT_TRUE(two->OpenEditor(parent.Get(), 0, 0));
    EXPECT_TRUE(classExists());
    one->CloseEditor();
    EXPECT_TRUE(classExists());
    two->CloseEditor();
    EXPECT_FALSE(classExists());
    ASSERT_TRUE(one->OpenEditor(parent.Get(), 0, 0));
    EXPECT_TRUE(classExists());
    one.reset();
    EXPECT_FALSE(classExists());
}

TEST(VSTPluginEditorWindow, Closing_asks_the_effect_first_and_takes_the_window_away) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    const HWND child = parent.Child();
    bool windowWasThere = false;
    effect.answers[effEditClose] = [&](const FakeEffect::Call&) {
        windowWasThere = IsWindow(child) != 0;
        return VstIntPtr{0};
    };
    plugin->CloseEditor();
    EXPECT_TRUE(windowWasThere);
    EXPECT_FALSE(IsWindow(child));
    EXPECT_FALSE(plugin->IsEditorOpen());
    plugin->CloseEditor();
    EXPECT_EQ(effect.CallsOf(effEditClose).size(), 1u);
}

TEST(VSTPluginEditorWindow, The_destructor_closes_the_editor_before_the_effect) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    effect.calls.clear();
    plugin.reset();
    EXPECT_THAT(effect.Opcodes(), ElementsAre(effEditClose, effClose));
    EXPECT_EQ(parent.Child(), nullptr);
}

TEST(VSTPluginEditorWindow, A_parent_that_is_none_opens_nothing) {
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ParentWindow gone;
    const HWND handle = gone.Get();
    gone.Destroy();
    EXPECT_FALSE(plugin->OpenEditor(handle, 0, 0));
    EXPECT_FALSE(plugin->IsEditorOpen());
    EXPECT_TRUE(effect.CallsOf(effEditOpen).empty());
}

TEST(VSTPluginEditorWindow, A_parent_that_goes_first_leaves_an_editor_that_closes) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    parent.Destroy();
    EXPECT_TRUE(plugin->IsEditorOpen());
    plugin->CloseEditor();
    EXPECT_FALSE(plugin->IsEditorOpen());
    EXPECT_FALSE(classExists());
}

TEST(VSTPluginEditorWindow, Idle_reaches_the_open_editor_alone) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    effect.calls.clear();
    plugin->Idle();
    EXPECT_THAT(effect.Opcodes(), ElementsAre(effEditIdle));
    EXPECT_EQ(effect.AskHost(audioMasterIdle), 0);
    EXPECT_THAT(effect.Opcodes(), ElementsAre(effEditIdle, effEditIdle));
    plugin->CloseEditor();
    effect.calls.clear();
    plugin->Idle();
    EXPECT_EQ(effect.AskHost(audioMasterIdle), 0);
    EXPECT_TRUE(effect.calls.empty());
}

TEST(VSTPluginEditorWindow, An_editor_that_resizes_itself_takes_its_window_along_and_tells) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 30, 40));
    std::vector<Size> told;
    plugin->SetEditorResizeCallback(
        [](void* context, std::uint32_t width, std::uint32_t height) {
            static_cast<std::vector<Size>*>(context)->emplace_back(width, height);
        },
        &told);
    plugin->Idle();
    EXPECT_TRUE(told.empty());
    effect.rectangle = {0, 0, 300, 400};
    plugin->Idle();
    plugin->Idle();
    EXPECT_THAT(told, ElementsAre(Size(400, 300)));
    const RECT place = placeInParent(parent.Child());
    EXPECT_EQ(place.left, 30);
    EXPECT_EQ(place.top, 40);
    EXPECT_EQ(place.right - place.left, 400);
    EXPECT_EQ(place.bottom - place.top, 300);
}

TEST(VSTPluginEditorWindow, Without_a_callback_a_resize_is_not_looked_for) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    effect.calls.clear();
    effect.rectangle = {0, 0, 300, 400};
    plugin->Idle();
    EXPECT_TRUE(effect.CallsOf(effEditGetRect).empty());
    const RECT place = placeInParent(parent.Child());
    EXPECT_EQ(place.right - place.left, 320);
}

TEST(VSTPluginEditorWindow, A_resize_stands_before_it_is_told_and_is_told_once) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    struct Told {
        Tarvik::VSTPlugin& plugin;
        HWND window;
        std::vector<LONG> widths;
    } told{*plugin, parent.Child(), {}};
    plugin->SetEditorResizeCallback(
        [](void* context, std::uint32_t, std::uint32_t) {
            auto& here = *static_cast<Told*>(context);
            const RECT place = placeInParent(here.window);
            here.widths.push_back(place.right - place.left);
            // What was not stored yet would be found, and told, again.
            if (here.widths.size() == 1) {
                here.plugin.Idle();
            }
        },
        &told);
    effect.rectangle = {0, 0, 300, 400};
    plugin->Idle();
    EXPECT_THAT(told.widths, ElementsAre(400));
}

/// What is about to happen to a window, as the system asks it beforehand.
std::vector<UINT> positionFlags;
WNDPROC formerProcedure = nullptr;

LRESULT CALLBACK noteFlags(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_WINDOWPOSCHANGING) {
        positionFlags.push_back(reinterpret_cast<const WINDOWPOS*>(lParam)->flags);
    }
    return CallWindowProcW(formerProcedure, window, message, wParam, lParam);
}

TEST(VSTPluginEditorWindow, A_resize_neither_moves_nor_raises_nor_activates_the_window) {
    ParentWindow parent;
    EditorEffect effect;
    EditorEffect onTop;
    auto plugin = HostEffect(effect);
    auto other = HostEffect(onTop);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    const HWND child = parent.Child();
    ASSERT_TRUE(other->OpenEditor(parent.Get(), 0, 0));
    const HWND sibling = GetWindow(child, GW_HWNDNEXT) != nullptr ? GetWindow(child, GW_HWNDNEXT)
                                                                  : GetWindow(child, GW_HWNDPREV);
    SetWindowPos(sibling, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    ASSERT_EQ(parent.Child(), sibling);
    plugin->SetEditorResizeCallback([](void*, std::uint32_t, std::uint32_t) {}, nullptr);
    effect.rectangle = {0, 0, 300, 400};
    positionFlags.clear();
    formerProcedure = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrW(child, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&noteFlags)));
    plugin->Idle();
    ASSERT_EQ(positionFlags.size(), 1u);
    EXPECT_EQ(positionFlags[0] & 0x17u, 0x16u);
    EXPECT_EQ(parent.Child(), sibling);
}

TEST(VSTPluginEditorWindow, A_size_that_is_not_believed_leaves_the_window_as_it_is) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    std::vector<Size> told;
    plugin->SetEditorResizeCallback(
        [](void* context, std::uint32_t width, std::uint32_t height) {
            static_cast<std::vector<Size>*>(context)->emplace_back(width, height);
        },
        &told);
    effect.denies = true;
    effect.rectangle = {0, 0, 1500, 1500};
    plugin->Idle();
    EXPECT_TRUE(told.empty());
    const RECT place = placeInParent(parent.Child());
    EXPECT_EQ(place.right - place.left, 320);
    EXPECT_EQ(place.bottom - place.top, 200);
}

TEST(VSTPluginEditorWindow, An_editor_of_no_believable_size_opens_empty_and_grows_with_the_first_that_is) {
    ParentWindow parent;
    EditorEffect effect;
    effect.denies = true;
    effect.rectangle = {0, 0, 1500, 1500};
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    RECT place = placeInParent(parent.Child());
    EXPECT_EQ(place.right - place.left, 0);
    EXPECT_EQ(place.bottom - place.top, 0);
    effect.rectangle = {0, 0, 300, 400};
    plugin->SetEditorResizeCallback([](void*, std::uint32_t, std::uint32_t) {}, nullptr);
    plugin->Idle();
    place = placeInParent(parent.Child());
    EXPECT_EQ(place.right - place.left, 400);
    EXPECT_EQ(place.bottom - place.top, 300);
}

TEST(VSTPluginEditorWindow, An_editor_is_not_open_before_the_effect_has_opened_it) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    bool openAlready = true;
    VstIntPtr answer = -1;
    effect.answers[effEditOpen] = [&](const FakeEffect::Call&) {
        openAlready = plugin->IsEditorOpen();
        answer = effect.AskHost(audioMasterIdle);
        return VstIntPtr{1};
    };
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    EXPECT_FALSE(openAlready);
    EXPECT_EQ(answer, 0);
    EXPECT_TRUE(effect.CallsOf(effEditIdle).empty());
}

TEST(VSTPluginEditorWindow, An_effect_that_throws_while_opening_leaves_nothing_behind_and_may_open_later) {
    ParentWindow parent;
    for (const VstInt32 opcode : {effEditGetRect, effGetEffectName, effEditOpen}) {
        EditorEffect effect;
        auto plugin = HostEffect(effect);
        const FakeEffect::Answer works = effect.answers[opcode];
        effect.answers[opcode] = [](const FakeEffect::Call&) -> VstIntPtr { throw 1; };
        EXPECT_FALSE(plugin->OpenEditor(parent.Get(), 0, 0)) << opcode;
        EXPECT_FALSE(plugin->IsEditorOpen());
        EXPECT_EQ(parent.Child(), nullptr) << opcode;
        EXPECT_FALSE(classExists()) << opcode;
        plugin->CloseEditor();
        EXPECT_TRUE(effect.CallsOf(effEditClose).empty());
        effect.answers[opcode] = works ? works : [](const FakeEffect::Call&) { return VstIntPtr{1}; };
        EXPECT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0)) << opcode;
        EXPECT_NE(parent.Child(), nullptr) << opcode;
    }
}

TEST(VSTPluginEditorWindow, An_effect_that_throws_while_closing_is_closed_all_the_same) {
    ParentWindow parent;
    EditorEffect effect;
    effect.answers[effEditClose] = [](const FakeEffect::Call&) -> VstIntPtr { throw 1; };
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    plugin->CloseEditor();
    EXPECT_FALSE(plugin->IsEditorOpen());
    EXPECT_EQ(parent.Child(), nullptr);
    EXPECT_FALSE(classExists());
}

TEST(VSTPluginEditorWindow, A_parent_that_closes_the_editor_again_while_it_closes_changes_nothing) {
    EditorEffect otherEffect;
    EditorEffect effect;
    const auto other = HostEffect(otherEffect);
    const auto plugin = HostEffect(effect);
    const ParentWindow plainParent;
    ClosingParent parent(*plugin);
    ASSERT_TRUE(other->OpenEditor(plainParent.Get(), 0, 0));
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    plugin->CloseEditor();
    EXPECT_GT(parent.closings, 0);
    EXPECT_EQ(effect.CallsOf(effEditClose).size(), 1u);
    EXPECT_EQ(parent.Child(), nullptr);
    EXPECT_FALSE(plugin->IsEditorOpen());
    // Each window counts once: the class lives as long as the other one does, and goes with it.
    EXPECT_TRUE(classExists());
    other->CloseEditor();
    EXPECT_FALSE(classExists());
}

TEST(VSTPluginEditorWindow, An_effect_that_closes_the_editor_while_it_closes_changes_nothing) {
    ParentWindow parent;
    EditorEffect effect;
    const auto plugin = HostEffect(effect);
    bool windowWasThere = false;
    effect.answers[effEditClose] = [&](const FakeEffect::Call&) {
        plugin->CloseEditor();
        windowWasThere = parent.Child() != nullptr;
        return VstIntPtr{0};
    };
    for (std::size_t round = 1; round <= 2; ++round) {
        ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
        plugin->CloseEditor();
        EXPECT_EQ(effect.CallsOf(effEditClose).size(), round);
        EXPECT_TRUE(windowWasThere) << "until the effect has closed its editor";
        EXPECT_EQ(parent.Child(), nullptr);
        EXPECT_FALSE(classExists());
    }
}

TEST(VSTPluginEditorWindow, Until_the_effect_has_closed_its_editor_the_editor_is_open) {
    ParentWindow parent;
    EditorEffect effect;
    const auto plugin = HostEffect(effect);
    VstIntPtr answer = -1;
    effect.answers[effEditClose] = [&](const FakeEffect::Call&) {
        answer = effect.AskHost(audioMasterIdle);
        EXPECT_TRUE(plugin->IsEditorOpen());
        return VstIntPtr{0};
    };
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    plugin->CloseEditor();
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(effect.CallsOf(effEditIdle).size(), 1u);
    EXPECT_FALSE(plugin->IsEditorOpen());
}

TEST(VSTPluginEditorWindow, Messages_go_to_the_systems_default) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    EXPECT_EQ(SendMessageW(parent.Child(), WM_GETTEXTLENGTH, 0, 0), 8);
    EXPECT_EQ(SendMessageW(parent.Child(), WM_USER + 1, 0, 0), 0);
}

} // namespace
