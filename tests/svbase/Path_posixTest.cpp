#include "svbase/util/Path.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

class HomePath : public testing::Test {
protected:
    void SetUp() override {
        const char* home = std::getenv("HOME");
        had_ = home != nullptr;
        before_ = had_ ? home : "";
    }
    void TearDown() override {
        if (had_) {
            setenv("HOME", before_.c_str(), 1);
        } else {
            unsetenv("HOME");
        }
    }

private:
    bool had_ = false;
    std::string before_;
};

TEST_F(HomePath, A_leading_tilde_is_expanded) {
    setenv("HOME", "/home/ann/", 1);
    EXPECT_EQ(Util::Path::normalise("~/Music/../x.dll").toStdString(), "/home/ann/x.dll");
    EXPECT_EQ(Util::Path::normalise("~\\x.dll").toStdString(), "/home/ann/x.dll");
    EXPECT_EQ(Util::Path::normalise("~/").toStdString(), "/home/ann");
}

TEST_F(HomePath, Without_a_home_the_tilde_stays) {
    unsetenv("HOME");
    EXPECT_EQ(Util::Path::normalise("~/x").toStdString(), "~/x");
}

TEST(PosixPath, The_system_takes_the_normal_form) {
    EXPECT_EQ(Util::Path::toSystem("/a\\b/").toStdString(), "/a/b");
    EXPECT_EQ(Util::Path::toSystem("a\\b").toStdString(), "a/b");
}

} // namespace
