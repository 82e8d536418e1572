#include "hosting/ClosingParent_win32.h"
#include "hosting/ParentWindow_win32.h"
#include "hosting/dx/ComTest_win32.h"
#include "hosting/dx/DXPlugin.h"
#include "hosting/dx/DXPropertyPageSite_win32.h"

#include "directx/Ledger.h"
#include "directx/TestPage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tarvik {
namespace {

using TestFilters::Behaviour;
using TestFilters::Deed;
using TestFilters::Handed;
using TestFilters::Ledger;
using TestFilters::Place;
using TestFilters::TestPage;

std::wstring textOf(HWND window) {
    wchar_t text[64] = {};
    GetWindowTextW(window, text, 64);
    return text;
}

bool classExists() {
    WNDCLASSEXW description{};
    description.cbSize = sizeof description;
    return GetClassInfoExW(
               GetModuleHandleW(nullptr), DXPlugin::EditorClassName().toNativeWide().c_str(), &description) !=
           0;
}

bool hasStyle(HWND window, DWORD style) {
    return (static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE)) & style) == style;
}

class DXPluginEditorTest : public testing::Test {
protected:
    DXPluginEditorTest() {
        Ledger::Instance().Clear();
        behaviour.hasPage = true;
        behaviour.onArrival = [this](Place place) {
            if (place >= Place::pageCreation && place < Place::destruction) {
                visits.push_back(place);
            }
        };
    }

    std::unique_ptr<DXPlugin> Load(const std::vector<bool>& pageClassExists = {true}) {
        filter = std::make_unique<RegisteredFilter>(behaviour, L"Editor \u00E4", pageClassExists);
        auto plugin = std::make_unique<DXPlugin>(filter->Text(), 44100.0f, 1);
        EXPECT_TRUE(plugin->IsValid());
        return plugin;
    }

    void ExpectSettled() {
        for (const auto& [name, account] : Ledger::Instance().Accounts()) {
            EXPECT_TRUE(account.IsSettled()) << name;
        }
    }

    ComApartment com;
    Behaviour behaviour;
    std::vector<Place> visits;
    std::unique_ptr<RegisteredFilter> filter;
};

TEST_F(DXPluginEditorTest, A_filter_with_pages_has_an_editor_of_its_first_pages_size) {
    const auto plugin = Load();
    EXPECT_TRUE(plugin->HasEditor().known);
    EXPECT_TRUE(plugin->HasEditor().value);
    EXPECT_TRUE(visits.empty());
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    plugin->GetEditorSize(width, height);
    EXPECT_EQ(width, static_cast<std::uint32_t>(TestPage::width));
    EXPECT_EQ(height, static_cast<std::uint32_t>(TestPage::height));
    EXPECT_EQ(
        visits,
        (std::vector{Place::pageCreation, Place::pageSetSite, Place::pageSetObjects, Place::pageGetInfo}));
    plugin->GetEditorSize(width, height);
    // Made once.
    EXPECT_EQ(visits.size(), 4U);
}

TEST_F(DXPluginEditorTest, Of_several_pages_the_first_one_is_the_editor) {
    const ParentWindow parent;
    {
        const auto plugin = Load({true, false});
        EXPECT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    }
    const auto plugin = Load({false, true});
    EXPECT_TRUE(plugin->HasEditor().value);
    EXPECT_FALSE(plugin->OpenEditor(parent.Get(), 0, 0));
}

TEST_F(DXPluginEditorTest, The_page_is_activated_modeless_and_shown_normally) {
    std::vector<std::pair<Place, UINT>> handed;
    behaviour.onHanded = [&](Place place, const Handed& what) {
        if (place == Place::pageActivate || place == Place::pageShow) {
            handed.emplace_back(place, what.argument);
        }
    };
    const ParentWindow parent;
    const auto plugin = Load();
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    EXPECT_EQ(
        handed, (std::vector<std::pair<Place, UINT>>{
                    {Place::pageActivate, FALSE}, {Place::pageShow, SW_SHOWNORMAL}}));
}

TEST_F(DXPluginEditorTest, The_pages_site_answers_what_little_a_site_may) {
    bool asked = false;
    behaviour.onHanded = [&](Place place, const Handed& what) {
        if (place != Place::pageSetSite) {
            return;
        }
        asked = true;
        EXPECT_NE(dynamic_cast<DXPropertyPageSite*>(what.site), nullptr);
        LCID locale = 0;
        EXPECT_EQ(what.site->GetLocaleID(&locale), S_OK);
        EXPECT_EQ(locale, GetUserDefaultLCID());
        EXPECT_EQ(what.site->OnStatusChange(PROPPAGESTATUS_DIRTY), S_OK);
    };
    const auto plugin = Load();
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    plugin->GetEditorSize(width, height);
    EXPECT_TRUE(asked);
}

TEST_F(DXPluginEditorTest, A_filter_without_pages_has_no_editor) {
    behaviour.hasPage = false;
    const auto plugin = Load();
    const ParentWindow parent;
    EXPECT_TRUE(plugin->HasEditor().known);
    EXPECT_FALSE(plugin->HasEditor().value);
    std::uint32_t width = 7;
    std::uint32_t height = 8;
    plugin->GetEditorSize(width, height);
    EXPECT_EQ(width, 7U);
    EXPECT_EQ(height, 8U);
    EXPECT_FALSE(plugin->OpenEditor(parent.Get(), 0, 0));
    EXPECT_EQ(parent.Child(), nullptr);
}

TEST_F(DXPluginEditorTest, The_page_stands_in_a_child_window_of_its_size_and_place) {
    const ParentWindow parent;
    const auto plugin = Load();
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 30, 40));
    EXPECT_TRUE(plugin->IsEditorOpen());

    const HWND child = parent.Child();
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(static_cast<DWORD>(GetWindowLongPtrW(child, GWL_STYLE)), 0x52000000U);
    EXPECT_EQ(GetWindowLongPtrW(child, GWLP_USERDATA), reinterpret_cast<LONG_PTR>(plugin.get()));
    const RECT place = placeInParent(child);
    EXPECT_EQ(place.left, 30);
    EXPECT_EQ(place.top, 40);
    EXPECT_EQ(place.right - place.left, TestPage::width);
    EXPECT_EQ(place.bottom - place.top, TestPage::height);
    EXPECT_EQ(textOf(child), L"Editor \u00E4");
    wchar_t className[64] = {};
    GetClassNameW(child, className, 64);
    EXPECT_EQ(String::fromWide(className), DXPlugin::EditorClassName());
    EXPECT_TRUE(DXPlugin::EditorClassName().startsWith("Sv_Tarvik_Win32DXPluginUI"));
    EXPECT_GT(DXPlugin::EditorClassName().length(), 25U);

    const HWND page = GetWindow(child, GW_CHILD);
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(textOf(page), L"Gain 0.500");
    EXPECT_TRUE(hasStyle(page, WS_VISIBLE));
    const RECT pagePlace = placeInParent(page);
    EXPECT_EQ(pagePlace.left, 0);
    EXPECT_EQ(pagePlace.top, 0);
    EXPECT_EQ(pagePlace.right, TestPage::width);
    EXPECT_EQ(pagePlace.bottom, TestPage::height);
}

TEST_F(DXPluginEditorTest, The_page_edits_the_filter_that_plays) {
    const ParentWindow parent;
    const auto plugin = Load();
    filter->SetGain(2.0f);
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    EXPECT_EQ(textOf(GetWindow(parent.Child(), GW_CHILD)), L"Gain 2.000");
}

TEST_F(DXPluginEditorTest, Opening_twice_is_opening_once) {
    const ParentWindow parent;
    const ParentWindow other;
    const auto plugin = Load();
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    EXPECT_TRUE(plugin->OpenEditor(other.Get(), 5, 5));
    EXPECT_EQ(other.Child(), nullptr);
}

TEST_F(DXPluginEditorTest, Closing_takes_the_page_and_the_window_away_and_opening_brings_them_back) {
    const ParentWindow parent;
    const auto plugin = Load();
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    const HWND child = parent.Child();
    const HWND page = GetWindow(child, GW_CHILD);
    visits.clear();
    plugin->CloseEditor();
    EXPECT_EQ(visits, std::vector{Place::pageDeactivate});
    EXPECT_FALSE(IsWindow(page));
    EXPECT_FALSE(IsWindow(child));
    EXPECT_FALSE(plugin->IsEditorOpen());
    plugin->CloseEditor();
    EXPECT_EQ(visits.size(), 1U);
    visits.clear();
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    EXPECT_EQ(visits, (std::vector{Place::pageActivate, Place::pageShow}));
    EXPECT_NE(GetWindow(parent.Child(), GW_CHILD), nullptr);
}

TEST_F(DXPluginEditorTest, The_class_lives_from_the_first_editor_to_the_last) {
    const ParentWindow parent;
    const auto one = Load();
    const auto firstFilter = std::move(filter);
    const auto two = Load();
    EXPECT_FALSE(classExists());
    ASSERT_TRUE(one->OpenEditor(parent.Get(), 0, 0));
    ASSERT_TRUE(two->OpenEditor(parent.Get(), 0, 0));
    EXPECT_TRUE(classExists());
    one->CloseEditor();
    EXPECT_TRUE(classExists());
    two->CloseEditor();
    EXPECT_FALSE(classExists());
}

TEST_F(DXPluginEditorTest, The_destructor_closes_the_editor_before_it_lets_the_page_go) {
    const ParentWindow parent;
    auto plugin = Load();
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    visits.clear();
    plugin.reset();
    EXPECT_EQ(visits, (std::vector{Place::pageDeactivate, Place::pageClearSite, Place::pageClearObjects}));
    EXPECT_EQ(parent.Child(), nullptr);
    EXPECT_FALSE(classExists());
    ExpectSettled();
}

TEST_F(DXPluginEditorTest, A_parent_that_closes_the_editor_again_while_it_closes_changes_nothing) {
    const auto other = Load();
    const auto otherFilter = std::move(filter);
    const auto plugin = Load();
    const ParentWindow plainParent;
    ClosingParent parent(*plugin);
    ASSERT_TRUE(other->OpenEditor(plainParent.Get(), 0, 0));
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    visits.clear();
    plugin->CloseEditor();
    EXPECT_GT(parent.closings, 0);
    EXPECT_EQ(visits, std::vector{Place::pageDeactivate});
    EXPECT_EQ(parent.Child(), nullptr);
    EXPECT_FALSE(plugin->IsEditorOpen());
    // Each window counts once: the class lives as long as the other one does, and goes with it.
    EXPECT_TRUE(classExists());
    other->CloseEditor();
    EXPECT_FALSE(classExists());
}

TEST_F(DXPluginEditorTest, A_page_that_closes_the_editor_while_it_is_deactivated_changes_nothing) {
    DXPlugin* closing = nullptr;
    int deactivations = 0;
    behaviour.onArrival = [&](Place place) {
        if (place == Place::pageDeactivate) {
            ++deactivations;
            closing->CloseEditor();
        }
    };
    const ParentWindow parent;
    const auto plugin = Load();
    closing = plugin.get();
    for (int round = 1; round <= 2; ++round) {
        ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
        plugin->CloseEditor();
        EXPECT_EQ(deactivations, round);
        EXPECT_EQ(parent.Child(), nullptr);
        EXPECT_FALSE(classExists());
    }
}

TEST_F(DXPluginEditorTest, A_parent_that_is_none_opens_nothing) {
    const auto plugin = Load();
    ParentWindow gone;
    const HWND handle = gone.Get();
    gone.Destroy();
    EXPECT_FALSE(plugin->OpenEditor(handle, 0, 0));
    EXPECT_FALSE(plugin->IsEditorOpen());
}

TEST_F(DXPluginEditorTest, A_parent_that_goes_first_leaves_an_editor_that_closes) {
    ParentWindow parent;
    const auto plugin = Load();
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    parent.Destroy();
    EXPECT_TRUE(plugin->IsEditorOpen());
    plugin->CloseEditor();
    EXPECT_FALSE(plugin->IsEditorOpen());
    EXPECT_FALSE(classExists());
}

TEST_F(DXPluginEditorTest, A_page_that_fails_anywhere_leaves_no_window_and_no_reference) {
    const ParentWindow parent;
    for (const Place place :
         {Place::pageCreation, Place::pageSetSite, Place::pageSetObjects, Place::pageGetInfo,
          Place::pageActivate, Place::pageShow}) {
        for (const Deed deed : {Deed::answer, Deed::throwOwn, Deed::throwOfAnother}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(place) << " " << static_cast<int>(deed));
            Ledger::Instance().Clear();
            behaviour.acts = {{place, {deed, E_FAIL}}};
            const auto mended = std::make_shared<bool>(false);
            behaviour.mended = mended;
            auto plugin = Load();
            EXPECT_FALSE(plugin->OpenEditor(parent.Get(), 0, 0));
            EXPECT_FALSE(plugin->IsEditorOpen());
            EXPECT_EQ(parent.Child(), nullptr);
            EXPECT_FALSE(classExists());
            // The plug-in is as good as ever without it.
            EXPECT_TRUE(plugin->IsValid());
            // And the next try succeeds when the page does. One that got as far as being activated was kept;
            // any other was made for its size and once more to be shown.
            *mended = true;
            EXPECT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
            EXPECT_NE(GetWindow(parent.Child(), GW_CHILD), nullptr);
            const bool kept = place == Place::pageActivate || place == Place::pageShow;
            EXPECT_EQ(
                Ledger::Instance().Accounts().at("page").made, kept || place == Place::pageCreation ? 1 : 3);
            plugin.reset();
            ExpectSettled();
        }
    }
}

TEST_F(DXPluginEditorTest, A_page_that_failed_is_made_anew_when_it_is_needed_again) {
    const ParentWindow parent;
    behaviour.acts = {{Place::pageGetInfo, {Deed::answer, E_FAIL}}};
    const auto mended = std::make_shared<bool>(false);
    behaviour.mended = mended;
    auto plugin = Load();
    EXPECT_FALSE(plugin->OpenEditor(parent.Get(), 0, 0));
    EXPECT_EQ(
        Ledger::Instance().Accounts().at("page").made, Ledger::Instance().Accounts().at("page").destroyed);
    *mended = true;
    EXPECT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
    plugin.reset();
    ExpectSettled();
}

TEST_F(DXPluginEditorTest, A_page_whose_class_is_missing_opens_nothing) {
    const ParentWindow parent;
    const auto plugin = Load({false});
    EXPECT_TRUE(plugin->HasEditor().value);
    std::uint32_t width = 7;
    std::uint32_t height = 8;
    plugin->GetEditorSize(width, height);
    EXPECT_EQ(width, 7U);
    EXPECT_EQ(height, 8U);
    EXPECT_FALSE(plugin->OpenEditor(parent.Get(), 0, 0));
    EXPECT_EQ(parent.Child(), nullptr);
}

TEST_F(DXPluginEditorTest, A_page_that_fails_to_close_is_closed) {
    const ParentWindow parent;
    for (const Deed deed : {Deed::answer, Deed::throwOwn, Deed::throwOfAnother}) {
        behaviour.acts = {{Place::pageDeactivate, {deed, E_FAIL}}};
        const auto plugin = Load();
        ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 0, 0));
        EXPECT_NO_THROW(plugin->CloseEditor());
        EXPECT_FALSE(plugin->IsEditorOpen());
        EXPECT_EQ(parent.Child(), nullptr);
    }
}

} // namespace
} // namespace Tarvik
