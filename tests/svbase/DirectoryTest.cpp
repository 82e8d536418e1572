#include "svbase/util/Directory.h"

#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace {

using Util::Directory;

constexpr const char* malformedUnc = "Create(true) failed.  Input looks like a malformed UNC path";

TEST(Directory, Is_created_with_its_parents) {
    const TemporaryDirectory temporary;
    const Directory directory(temporary / u8"a/b/\u00E9");
    EXPECT_FALSE(directory.exists());
    EXPECT_TRUE(directory.create(true));
    EXPECT_TRUE(directory.exists());
    EXPECT_TRUE(std::filesystem::is_directory(temporary.path() / u8"a/b/\u00E9"));
}

TEST(Directory, Creation_with_parents_of_one_that_exists_succeeds) {
    const TemporaryDirectory temporary;
    EXPECT_TRUE(Directory(temporary / u8"").create(true));
    EXPECT_TRUE(Directory("/").create(true));
}

TEST(Directory, Without_parents_one_level_is_created) {
    const TemporaryDirectory temporary;
    EXPECT_TRUE(Directory(temporary / u8"a").create(false));
    const auto again = Directory(temporary / u8"a").create(false);
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error().message().toStdString(), "_wmkdir() failed");
    EXPECT_EQ(again.error().code(), 0U);
    EXPECT_EQ(again.error().osError(), unsigned{EEXIST});
    const auto orphan = Directory(temporary / u8"x/y").create(false);
    ASSERT_FALSE(orphan);
    EXPECT_EQ(orphan.error().message().toStdString(), "_wmkdir() failed");
    EXPECT_EQ(orphan.error().osError(), unsigned{ENOENT});
}

TEST(Directory, A_file_in_the_way_stops_the_creation) {
    const TemporaryDirectory temporary;
    temporary.file(u8"a", "");
    const auto created = Directory(temporary / u8"a/b").create(true);
    ASSERT_FALSE(created);
    EXPECT_EQ(created.error().message().toStdString(), "_wmkdir() failed");
    EXPECT_EQ(created.error().path().toStdString(), (temporary / u8"a").replace('\\', '/').toStdString());
    EXPECT_FALSE(Directory(temporary / u8"a").exists());
}

TEST(Directory, A_UNC_path_without_server_and_share_is_malformed) {
    for (const char* path : {"//", "\\\\", "//server", "\\\\server\\", "\\\\?\\UNC\\server"}) {
        const auto created = Directory(path).create(true);
        ASSERT_FALSE(created) << path;
        EXPECT_EQ(created.error().message().toStdString(), malformedUnc) << path;
        EXPECT_EQ(created.error().code(), 0U);
        EXPECT_EQ(created.error().path().toStdString(), path);
    }
}

TEST(Directory, An_empty_path_does_not_parse) {
    for (const String& path : {String(), String("")}) {
        const auto created = Directory(path).create(true);
        ASSERT_FALSE(created);
        EXPECT_EQ(created.error().message().toStdString(), "path parsing failed");
        EXPECT_EQ(created.error().code(), 0U);
    }
}

} // namespace
