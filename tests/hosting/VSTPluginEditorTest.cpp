#include "hosting/FakeEffect.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <utility>

namespace {

using Size = std::pair<std::uint32_t, std::uint32_t>;

constexpr Size untouched{11, 22};

struct EditorEffect : FakeEffect {
    ERect rectangle{};
    ERect* told = &rectangle;
    VstIntPtr answer = 1;

    EditorEffect() {
        answers[effEditGetRect] = [this](const Call& call) {
            *static_cast<ERect**>(call.ptr) = told;
            return answer;
        };
    }

    void SetSize(VstInt16 width, VstInt16 height) {
        rectangle = {5, 7, static_cast<VstInt16>(5 + height), static_cast<VstInt16>(7 + width)};
    }
};

Size sizeOf(Tarvik::VSTPlugin& plugin) {
    Size size = untouched;
    plugin.GetEditorSize(size.first, size.second);
    return size;
}

TEST(VSTPluginEditor, Its_presence_is_known_after_the_load) {
    FakeEffect effect;
    auto plugin = HostEffect(effect, {.scanOnly = true});
    EXPECT_TRUE(plugin->HasEditor().known);
    EXPECT_TRUE(plugin->HasEditor().value);
    EXPECT_FALSE(plugin->IsEditorOpen());
}

TEST(VSTPluginEditor, A_rectangle_that_is_vouched_for_is_the_size) {
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    effect.SetSize(640, 480);
    EXPECT_EQ(sizeOf(*plugin), Size(640, 480));
    effect.SetSize(3000, 2000);
    EXPECT_EQ(sizeOf(*plugin), Size(3000, 2000));
}

TEST(VSTPluginEditor, A_rectangle_that_is_denied_counts_below_1500_both_ways) {
    EditorEffect effect;
    effect.answer = 0;
    auto plugin = HostEffect(effect);
    effect.SetSize(640, 480);
    EXPECT_EQ(sizeOf(*plugin), Size(640, 480));
    effect.SetSize(1499, 1499);
    EXPECT_EQ(sizeOf(*plugin), Size(1499, 1499));
    effect.SetSize(1500, 10);
    EXPECT_EQ(sizeOf(*plugin), untouched);
    effect.SetSize(10, 1500);
    EXPECT_EQ(sizeOf(*plugin), untouched);
}

TEST(VSTPluginEditor, Without_a_rectangle_the_size_is_500_by_500) {
    EditorEffect effect;
    effect.told = nullptr;
    auto plugin = HostEffect(effect);
    EXPECT_EQ(sizeOf(*plugin), Size(500, 500));
    effect.answer = 0;
    EXPECT_EQ(sizeOf(*plugin), Size(500, 500));
}

TEST(VSTPluginEditor, A_rectangle_that_is_inside_out_is_empty) {
    EditorEffect effect;
    effect.rectangle = {10, 10, 0, 0};
    auto plugin = HostEffect(effect);
    EXPECT_EQ(sizeOf(*plugin), Size(0, 0));
    constexpr VstInt16 low = std::numeric_limits<VstInt16>::min();
    constexpr VstInt16 high = std::numeric_limits<VstInt16>::max();
    effect.rectangle = {low, low, high, high};
    EXPECT_EQ(sizeOf(*plugin), Size(65535, 65535));
    effect.rectangle = {high, high, low, low};
    EXPECT_EQ(sizeOf(*plugin), Size(0, 0));
}

TEST(VSTPluginEditor, An_effect_rejected_for_want_of_an_editor_has_no_size) {
    EditorEffect effect;
    effect.abi.flags = 0;
    auto plugin = HostEffect(effect);
    EXPECT_EQ(sizeOf(*plugin), untouched);
    EXPECT_FALSE(plugin->OpenEditor(nullptr, 0, 0));
}

TEST(VSTPluginEditor, Without_a_parent_window_it_does_not_open) {
    EditorEffect effect;
    auto plugin = HostEffect(effect);
    effect.calls.clear();
    EXPECT_FALSE(plugin->OpenEditor(nullptr, 0, 0));
    EXPECT_FALSE(plugin->IsEditorOpen());
    EXPECT_TRUE(effect.CallsOf(effEditOpen).empty());
    plugin->CloseEditor();
    EXPECT_TRUE(effect.CallsOf(effEditClose).empty());
}

TEST(VSTPluginEditor, A_resize_callback_can_be_set_and_taken_back) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    EXPECT_FALSE(plugin->HasEditorResizeCallback());
    plugin->SetEditorResizeCallback([](void*, std::uint32_t, std::uint32_t) {}, nullptr);
    EXPECT_TRUE(plugin->HasEditorResizeCallback());
    plugin->SetEditorResizeCallback(nullptr, nullptr);
    EXPECT_FALSE(plugin->HasEditorResizeCallback());
}

} // namespace
