#include "svbase/util/Path.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

std::string normal(const char* path) {
    return Util::Path::normalise(path).toStdString();
}

TEST(Path, Normal_form_has_forward_slashes) {
    EXPECT_EQ(normal("C:\\Program Files\\a.dll"), "C:/Program Files/a.dll");
    EXPECT_EQ(normal("a\\b/c"), "a/b/c");
}

TEST(Path, Normal_form_has_no_long_prefix) {
    EXPECT_EQ(normal("\\\\?\\C:\\a\\b"), "C:/a/b");
    EXPECT_EQ(normal("//?/C:/a"), "C:/a");
    EXPECT_EQ(normal("\\\\?\\UNC\\server\\share\\x"), "//server/share/x");
}

TEST(Path, Trailing_slashes_go_but_a_lone_root_stays) {
    EXPECT_EQ(normal("a/b/"), "a/b");
    EXPECT_EQ(normal("a/b///"), "a/b");
    EXPECT_EQ(normal("/"), "/");
    EXPECT_EQ(normal("\\"), "/");
    EXPECT_EQ(normal("C:/"), "C:/");
    EXPECT_EQ(normal("C:\\\\"), "C:/");
    EXPECT_EQ(normal("//server/share/"), "//server/share");
}

TEST(Path, Runs_of_slashes_become_one_except_in_front_of_a_UNC_path) {
    EXPECT_EQ(normal("/a//b///c"), "/a/b/c");
    EXPECT_EQ(normal("C://a"), "C:/a");
    EXPECT_EQ(normal("\\\\server\\\\share\\a"), "//server/share/a");
    EXPECT_EQ(normal("////server/share"), "//server/share");
    EXPECT_EQ(normal("//"), "/");
}

TEST(Path, Dots_are_resolved) {
    EXPECT_EQ(normal("/a/./b/../c"), "/a/c");
    EXPECT_EQ(normal("a/b/.."), "a");
    EXPECT_EQ(normal("./a"), "a");
    EXPECT_EQ(normal("a/.."), ".");
    EXPECT_EQ(normal("."), ".");
    EXPECT_EQ(normal("./"), ".");
    EXPECT_EQ(normal("a/...//.b"), "a/.../.b");
}

TEST(Path, A_relative_path_keeps_leading_parents) {
    EXPECT_EQ(normal("../a"), "../a");
    EXPECT_EQ(normal("a/../../../b"), "../../b");
    EXPECT_EQ(normal("C:../a"), "C:../a");
}

TEST(Path, Nothing_climbs_above_a_root) {
    EXPECT_EQ(normal("/.."), "/");
    EXPECT_EQ(normal("/../a"), "/a");
    EXPECT_EQ(normal("C:/../../a"), "C:/a");
    EXPECT_EQ(normal("//server/share/../../a"), "//server/share/a");
}

TEST(Path, Null_and_empty_stay) {
    EXPECT_TRUE(Util::Path::normalise(String()).isNull());
    EXPECT_TRUE(Util::Path::normalise("").isEmpty());
    EXPECT_FALSE(Util::Path::normalise("").isNull());
    EXPECT_EQ(Util::Path::toNative("").toStdString(), "");
    EXPECT_EQ(Util::Path::toSystem("").toStdString(), "");
    EXPECT_EQ(Util::Path::absolute("").toStdString(), "");
}

TEST(Path, Nothing_behind_a_NUL_belongs_to_the_path) {
    EXPECT_EQ(Util::Path::normalise(String(std::string("a/\0\0", 4))).toStdString(), "a");
}

TEST(Path, A_directory_called_tilde_is_not_the_home_directory) {
    EXPECT_EQ(normal("./~/x"), "./~/x");
    EXPECT_EQ(normal("a/../~/x"), "./~/x");
    EXPECT_EQ(normal("a/~/x"), "a/~/x");
    EXPECT_EQ(normal("~x/y"), "~x/y");
    EXPECT_EQ(normal("~"), "~");
}

TEST(Path, Native_form_has_backslashes_and_none_at_the_end) {
    EXPECT_EQ(Util::Path::toNative("C:/a//b/").toStdString(), "C:\\a\\b");
    EXPECT_EQ(Util::Path::toNative("\\\\?\\C:\\a").toStdString(), "C:\\a");
    EXPECT_EQ(Util::Path::toNative("C:/").toStdString(), "C:");
    EXPECT_EQ(Util::Path::toNative("/").toStdString(), "");
    EXPECT_EQ(Util::Path::toNative("//server/share/x").toStdString(), "\\\\server\\share\\x");
}

TEST(Path, Absolute_paths_begin_with_a_root) {
    for (const char* path : {"/a", "\\a", "C:/a", "z:\\", "//server/share", "\\\\?\\C:\\a"}) {
        EXPECT_TRUE(Util::Path::isAbsolute(path)) << path;
    }
    for (const char* path : {"", "a", "./a", "../a", "C:a", "C:", "1:/a"}) {
        EXPECT_FALSE(Util::Path::isAbsolute(path)) << path;
    }
}

TEST(Path, Absolute_joins_the_current_directory) {
    const String here = Util::Path::absolute(".");
    EXPECT_TRUE(Util::Path::isAbsolute(here));
    EXPECT_EQ(Util::Path::absolute("x/../y").toStdString(), (here + "/y").toStdString());
    EXPECT_EQ(Util::Path::absolute("D:\\x\\..\\y").toStdString(), "D:/y");
    EXPECT_EQ(Util::Path::absolute("//server/share/y/").toStdString(), "//server/share/y");
}

TEST(Path, The_same_file_is_told_without_regard_to_case_and_form) {
    EXPECT_TRUE(Util::Path::sameFile("C:/Plugins/A.dll", "c:\\plugins\\x\\..\\a.DLL"));
    EXPECT_TRUE(Util::Path::sameFile("a.dll", Util::Path::absolute("A.dll")));
    EXPECT_TRUE(Util::Path::sameFile("", ""));
    EXPECT_FALSE(Util::Path::sameFile("C:/a.dll", "C:/b.dll"));
    EXPECT_FALSE(Util::Path::sameFile("C:/\xC3\x89", "C:/\xC3\xA9"));
}

TEST(Path, File_name_and_directory) {
    EXPECT_EQ(Util::Path::fileName("C:\\a\\b.dll").toStdString(), "b.dll");
    EXPECT_EQ(Util::Path::fileName("b.dll").toStdString(), "b.dll");
    EXPECT_EQ(Util::Path::fileName("C:b.dll").toStdString(), "b.dll");
    EXPECT_EQ(Util::Path::fileName("C:/").toStdString(), "");
    EXPECT_EQ(Util::Path::fileName("//server/share").toStdString(), "");
    EXPECT_EQ(Util::Path::directory("C:\\a\\b.dll").toStdString(), "C:/a");
    EXPECT_EQ(Util::Path::directory("C:/b.dll").toStdString(), "C:/");
    EXPECT_EQ(Util::Path::directory("C:/").toStdString(), "C:/");
    EXPECT_EQ(Util::Path::directory("/b").toStdString(), "/");
    EXPECT_EQ(Util::Path::directory("b").toStdString(), "");
    EXPECT_EQ(Util::Path::directory("//server/share/b").toStdString(), "//server/share");
    EXPECT_EQ(Util::Path::directory("//server/share").toStdString(), "//server/share");
}

TEST(Path, Normalisation_is_idempotent) {
    std::mt19937 random(1);
    const char* const pieces[] = {"/", "\\", "//", ".",   "..",      "a",  "B",
                                  "~", "?",  "C:", "UNC", "\\\\?\\", "~/", " "};
    for (int round = 0; round < 20000; ++round) {
        String path;
        for (auto count = random() % 9; count != 0; --count) {
            path += pieces[random() % std::size(pieces)];
        }
        const String once = Util::Path::normalise(path);
        ASSERT_EQ(Util::Path::normalise(once).toStdString(), once.toStdString()) << path.toStdString();
        ASSERT_FALSE(once.indexOf('\\').valid) << path.toStdString();
        ASSERT_FALSE(once.length() > 3 && once.endsWith("/")) << path.toStdString();
        ASSERT_EQ(Util::Path::normalise(Util::Path::toNative(once)).isEmpty(), once == "/" || once.isEmpty());
    }
}

} // namespace
