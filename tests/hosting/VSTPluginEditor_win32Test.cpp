#include "hosting/FakeEffect.h"
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

/// A top-level window for editors to stand in.
class ParentWindow : private noncopyable {
public:
    ParentWindow()
        : window_(CreateWindowExW(
              0, L"STATIC", L"Parent", WS_OVERLAPPEDWINDOW, 0, 0, 800, 600, nullptr, nullptr,
              GetModuleHandleW(nullptr), nullptr)) {}
    ~ParentWindow() { Destroy(); }

    void Destroy() {
        if (window_ != nullptr) {
            DestroyWindow(window_);
        }
        window_ = nullptr;
    }

    HWND Get() const { return window_; }
    HWND Child() const { return GetWindow(window_, GW_CHILD); }

private:
    HWND window_;
};

struct EditorEffect : FakeEffect {
    ERect rectangle{0, 0, 200, 320};

    EditorEffect() {
        answers[effEditGetRect] = [this](const Call& call) {
            *static_cast<ERect**>(call.ptr) = &rectangle;
            return VstIntPtr{1};
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

RECT placeInParent(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    MapWindowPoints(nullptr, GetParent(window), reinterpret_cast<POINT*>(&place), 2);
    return place;
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

TEST(VSTPluginEditorWindow, Messages_go_to_the_systems_default) {
    ParentWindow parent;
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    EXPECT_EQ(SendMessageW(parent.Child(), WM_GETTEXTLENGTH, 0, 0), 8);
    EXPECT_EQ(SendMessageW(parent.Child(), WM_USER + 1, 0, 0), 0);
}

} // namespace
