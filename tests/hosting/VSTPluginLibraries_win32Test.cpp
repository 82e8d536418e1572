// Full loads of libraries that stand for themselves, as a host meets them: their effects live in code and
// memory of their own, and free their AEffect when they are closed.

#include "hosting/ParentWindow_win32.h"
#include "hosting/TestProgram.h"
#include "hosting/vst/VSTPlugin.h"
#include "svbase/util/Path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using Tarvik::VSTPlugin;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::vector<std::uint8_t>;
using Size = std::pair<std::uint32_t, std::uint32_t>;

String pluginsDirectory() {
    return String("%1/plugins").arg(TestProgramDirectory());
}

std::unique_ptr<VSTPlugin> host(const String& path, bool scanOnly = false) {
    return std::make_unique<VSTPlugin>(
        path, 48000.0f, 1u, scanOnly, checked_value<std::int32_t>(512), "Vendor", "Product");
}

std::unique_ptr<VSTPlugin> hostNamed(const char* name) {
    auto plugin = host(String("%1/%2.dll").arg(pluginsDirectory()).arg(name));
    EXPECT_TRUE(plugin->IsValid()) << name;
    return plugin;
}

/// What becomes of a stereo block whose left channel holds ones and whose right one holds twos.
std::vector<std::vector<float>> processed(VSTPlugin& plugin) {
    std::vector<std::vector<float>> channels{std::vector<float>(64, 1.0f), std::vector<float>(64, 2.0f)};
    float* pointers[] = {channels[0].data(), channels[1].data()};
    plugin.Process(64, 2, pointers);
    return channels;
}

auto isBlockOf(float left, float right) {
    return ElementsAre(Each(left), Each(right));
}

Bytes stateOf(const VSTPlugin& plugin) {
    Bytes state;
    plugin.GetState(1, state);
    return state;
}

Bytes bytesOf(const std::string& mark, const std::vector<float>& values) {
    Bytes bytes(mark.begin(), mark.end());
    for (const float value : values) {
        Bytes four(sizeof value);
        std::memcpy(four.data(), &value, sizeof value);
        bytes.insert(bytes.end(), four.begin(), four.end());
    }
    return bytes;
}

bool setState(VSTPlugin& plugin, const Bytes& state) {
    return plugin.SetState(1, static_cast<std::uint32_t>(state.size()), state.data());
}

std::vector<std::string> programsOf(const VSTPlugin& plugin) {
    std::vector<std::string> names;
    for (std::uint32_t index = 0; index < plugin.GetNumPrograms(); ++index) {
        names.push_back(plugin.GetProgramName(index).toStdString());
    }
    return names;
}

TEST(VSTPluginLibraries, Five_programs_are_listed_and_can_be_heard) {
    const auto plugin = hostNamed("FivePrograms");
    EXPECT_THAT(programsOf(*plugin), ElementsAre("First", "Second", "Program 3", "Fourth", "Fifth"));
    // The fourth is still the current one after the list was read.
    EXPECT_THAT(processed(*plugin), isBlockOf(0.375f, 0.75f));
    EXPECT_TRUE(plugin->SelectProgram(1));
    EXPECT_THAT(processed(*plugin), isBlockOf(0.125f, 0.25f));
    EXPECT_TRUE(plugin->SelectProgram(4));
    EXPECT_THAT(processed(*plugin), isBlockOf(0.5f, 1.0f));
    EXPECT_FALSE(plugin->SelectProgram(5));
    EXPECT_THAT(processed(*plugin), isBlockOf(0.5f, 1.0f));
}

TEST(VSTPluginLibraries, Three_hundred_programs_are_no_list) {
    const auto plugin = hostNamed("ThreeHundredPrograms");
    EXPECT_EQ(plugin->GetNumPrograms(), 0u);
    EXPECT_FALSE(plugin->SelectProgram(0));
    EXPECT_THAT(processed(*plugin), isBlockOf(1.0f, 2.0f));
}

TEST(VSTPluginLibraries, A_chunk_is_read_written_and_refused_by_its_mark) {
    const auto plugin = hostNamed("Chunks");
    EXPECT_EQ(stateOf(*plugin), bytesOf("MARK", {1.0f, 0.5f}));
    EXPECT_TRUE(setState(*plugin, bytesOf("MARK", {0.25f, 0.75f})));
    EXPECT_EQ(stateOf(*plugin), bytesOf("MARK", {0.25f, 0.75f}));
    EXPECT_THAT(processed(*plugin), isBlockOf(0.25f, 0.5f));
    // That the effect refuses it is the effect's own affair.
    EXPECT_TRUE(setState(*plugin, bytesOf("KRAM", {0.0f, 0.0f})));
    EXPECT_EQ(stateOf(*plugin), bytesOf("MARK", {0.25f, 0.75f}));
}

TEST(VSTPluginLibraries, Three_parameters_are_a_state_of_three_values) {
    const auto plugin = hostNamed("ParameterState");
    EXPECT_EQ(stateOf(*plugin), bytesOf("", {1.0f, 0.5f, 0.5f}));
    EXPECT_TRUE(setState(*plugin, bytesOf("", {0.5f, 0.0f, 1.0f})));
    EXPECT_EQ(stateOf(*plugin), bytesOf("", {0.5f, 0.0f, 1.0f}));
    EXPECT_THAT(processed(*plugin), isBlockOf(0.5f, 1.0f));
    EXPECT_FALSE(setState(*plugin, bytesOf("", {0.0f, 0.0f})));
    EXPECT_EQ(stateOf(*plugin), bytesOf("", {0.5f, 0.0f, 1.0f}));
}

TEST(VSTPluginLibraries, Too_many_parameters_are_no_state) {
    const auto plugin = hostNamed("TooManyParameters");
    EXPECT_EQ(plugin->GetNumParameters(), 10001u);
    EXPECT_THAT(stateOf(*plugin), IsEmpty());
    EXPECT_EQ(plugin->GetParameterName(10000).toStdString(), "Parameter 10000");
}

TEST(VSTPluginLibraries, A_latency_is_believed_up_to_its_bound) {
    EXPECT_EQ(hostNamed("LatencyAtTheBound")->GetLatency(), 100000000u);
    EXPECT_EQ(hostNamed("LatencyAboveTheBound")->GetLatency(), 0u);
}

TEST(VSTPluginLibraries, A_mono_effect_is_heard_on_both_sides) {
    const auto plugin = hostNamed("Mono");
    plugin->SetParameterValue(0, 0, 0.5f);
    EXPECT_THAT(processed(*plugin), isBlockOf(0.5f, 0.5f));
}

TEST(VSTPluginLibraries, As_many_channels_as_are_believed_are_processed_and_one_more_are_not) {
    const auto many = hostNamed("ManyChannels");
    many->SetParameterValue(0, 0, 0.5f);
    EXPECT_THAT(processed(*many), isBlockOf(0.5f, 1.0f));
    const auto tooMany = hostNamed("TooManyChannels");
    tooMany->SetParameterValue(0, 0, 0.5f);
    EXPECT_THAT(processed(*tooMany), isBlockOf(1.0f, 2.0f));
}

TEST(VSTPluginLibraries, An_editor_that_resizes_itself_is_followed_once) {
    const ParentWindow parent;
    const auto plugin = hostNamed("EditorThatResizesItself");
    ASSERT_TRUE(plugin->OpenEditor(parent.Get(), 10, 20));
    std::vector<Size> told;
    plugin->SetEditorResizeCallback(
        [](void* context, std::uint32_t width, std::uint32_t height) {
            static_cast<std::vector<Size>*>(context)->emplace_back(width, height);
        },
        &told);
    const HWND frame = parent.Child();
    EXPECT_NE(GetWindow(frame, GW_CHILD), nullptr);
    RECT place = placeInParent(frame);
    EXPECT_EQ(place.right - place.left, 320);
    EXPECT_EQ(place.bottom - place.top, 200);
    plugin->Idle();
    plugin->Idle();
    EXPECT_THAT(told, ElementsAre(Size(400, 300)));
    place = placeInParent(frame);
    EXPECT_EQ(place.left, 10);
    EXPECT_EQ(place.top, 20);
    EXPECT_EQ(place.right - place.left, 400);
    EXPECT_EQ(place.bottom - place.top, 300);
    plugin->CloseEditor();
    EXPECT_EQ(parent.Child(), nullptr);
}

TEST(VSTPluginLibraries, From_entry_to_close_an_effect_is_told_what_it_needs_in_order) {
    const TestDirectory directory;
    const String record = directory.Path("record.txt");
    const std::string variable = "TARVIK_TEST_PLUGIN_RECORD=";
    _putenv((variable + Util::Path::toNative(record).toStdString()).c_str());
    {
        const auto plugin = hostNamed("RecordsEveryOpcode");
        processed(*plugin);
    }
    _putenv(variable.c_str());
    std::ifstream file(ToFilePath(record));
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    EXPECT_THAT(
        lines,
        ElementsAre(
            "entry",
            "dispatch 0 0 0 0",  // effOpen
            "dispatch 58 0 0 0", // effGetVstVersion
            "dispatch 35 0 0 0", // effGetPlugCategory
            "dispatch 11 0 512 0", "dispatch 10 0 0 48000", "dispatch 32 0 1 0", "dispatch 32 1 1 0",
            "dispatch 12 0 1 0", // effMainsChanged
            "dispatch 35 0 0 0",
            "dispatch 3 0 0 0", // effGetProgram
            "dispatch 2 0 0 0", "dispatch 5 0 0 0", "getParameter 0", "dispatch 2 0 1 0", "dispatch 5 0 0 0",
            "getParameter 0", "dispatch 2 0 2 0", "dispatch 5 0 0 0", "getParameter 0",
            "dispatch 2 0 0 0", // back to the program that was current
            "process 64",
            "dispatch 1 0 0 0")); // effClose
}

TEST(VSTPluginLibraries, What_a_scan_accepts_can_be_loaded_whole_used_and_closed) {
    int valid = 0;
    int invalid = 0;
    for (const auto& entry : std::filesystem::directory_iterator(ToFilePath(pluginsDirectory()))) {
        if (entry.path().extension() != ".dll") {
            continue;
        }
        const String path = String::fromWide(entry.path().wstring().c_str());
        const bool accepted = host(path, true)->IsValid();
        ++(accepted ? valid : invalid);
        for (int round = 0; round < 2; ++round) {
            const auto plugin = host(path);
            EXPECT_EQ(plugin->IsValid(), accepted) << path.toStdString();
            processed(*plugin);
            plugin->SetTransport({});
            plugin->Idle();
            if (accepted) {
                EXPECT_TRUE(setState(*plugin, stateOf(*plugin))) << path.toStdString();
            }
        }
    }
    EXPECT_GT(valid, 20);
    EXPECT_GT(invalid, 8);
}

} // namespace
