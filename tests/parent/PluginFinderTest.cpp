#include "parent/PluginFinder.h"
#include "parent/ScannerCommand.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace Tarvik {
namespace {

namespace fs = std::filesystem;

class PluginFinder : public testing::Test {
protected:
    void SetUp() override {
        folder_ =
            fs::path(testing::TempDir()) /
            ("plugin-finder-" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(folder_);
        fs::create_directories(folder_ / "inner" / "deep");
    }
    void TearDown() override { fs::remove_all(folder_); }

    void make(const fs::path& name) const { std::ofstream(folder_ / name) << "x"; }
    String path(const fs::path& name) const {
        const std::u8string text = (folder_ / name).u8string();
        return String(std::string(text.begin(), text.end()));
    }

    fs::path folder_;
};

TEST_F(PluginFinder, A_folder_gives_every_library_below_it_in_path_order) {
    make("b.dll");
    make("A.DLL");
    make("readme.txt");
    make(fs::path("inner") / "c.dll");
    make(fs::path("inner") / "deep" / "d.Dll");
    fs::create_directories(folder_ / "folder.dll");
    const auto found = findPlugins(path(""));
    ASSERT_TRUE(found);
    std::vector<std::string> names;
    for (const PluginIdentifier& identifier : *found) {
        names.push_back(
            identifier.vstKey.toStdString().substr(identifier.vstKey.toStdString().find_last_of('/') + 1));
        EXPECT_EQ(identifier.format, PluginFormat::VST);
        EXPECT_EQ(identifier.vstId, 0U);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"A.DLL", "b.dll", "c.dll", "d.Dll"}));
}

TEST_F(PluginFinder, The_order_is_that_of_the_paths_bytes) {
    // By names, "inner" would come before "inner-most" and before "inner.dll".
    fs::create_directories(folder_ / "inner-most");
    make(fs::path("inner") / "c.dll");
    make(fs::path("inner-most") / "b.dll");
    make("inner.dll");
    make(fs::path(u8"\u00e4.dll"));
    make("z.dll");
    const auto found = findPlugins(path(""));
    ASSERT_TRUE(found);
    std::vector<std::string> keys;
    for (const PluginIdentifier& identifier : *found) {
        keys.push_back(identifier.vstKey.toStdString());
    }
    EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
    ASSERT_EQ(keys.size(), 5U);
    EXPECT_TRUE(keys[0].ends_with("inner-most/b.dll"));
    EXPECT_TRUE(keys[1].ends_with("inner.dll"));
    EXPECT_TRUE(keys[2].ends_with("inner/c.dll"));
    EXPECT_TRUE(keys[3].ends_with("z.dll"));
}

TEST_F(PluginFinder, A_file_is_taken_whatever_its_name) {
    make("effect.vst");
    const auto found = findPlugins(path("effect.vst"));
    ASSERT_TRUE(found);
    ASSERT_EQ(found->size(), 1U);
    EXPECT_EQ(found->front().vstPath, scannerSidePath(path("effect.vst")));
}

TEST_F(PluginFinder, An_empty_folder_gives_nothing) {
    const auto found = findPlugins(path("inner"));
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->empty());
}

TEST_F(PluginFinder, A_missing_path_is_named) {
    const auto found = findPlugins(path("absent"));
    ASSERT_FALSE(found);
    EXPECT_EQ(found.error(), String("Cannot find %1").arg(path("absent")));
}

TEST_F(PluginFinder, Letters_beyond_ascii_survive) {
    make(fs::path(u8"größe.dll"));
    const auto found = findPlugins(path(""));
    ASSERT_TRUE(found);
    ASSERT_EQ(found->size(), 1U);
    EXPECT_TRUE(found->front().vstPath.endsWith(String("gr\xC3\xB6\xC3\x9F"
                                                       "e.dll")));
}

TEST_F(PluginFinder, A_relative_path_becomes_absolute_for_the_scanner) {
    const String absolute = scannerSidePath(String("some/folder/a.dll"));
    EXPECT_TRUE(absolute.endsWith(String("\\some\\folder\\a.dll"))) << absolute.c_str();
    EXPECT_EQ(absolute[1], ':');
}

} // namespace
} // namespace Tarvik
