#include "svbase/util/File.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace {

using Util::File;

TEST(PosixFile, A_full_device_cuts_a_write_short) {
    File file("/dev/full");
    ASSERT_TRUE(file.open(File::Write));
    const std::string much(1'000'000, 'x');
    const auto put = file.write(much.data(), much.size());
    ASSERT_FALSE(put);
    EXPECT_EQ(put.error().code(), 4U);
    EXPECT_EQ(put.error().osError(), unsigned{ENOSPC});
    EXPECT_EQ(put.error().message().toStdString(), "Attempt to write 1000000 bytes, only wrote 0 bytes");
}

TEST(PosixFile, A_failure_to_write_the_rest_out_shows_at_closing) {
    File file("/dev/full");
    ASSERT_TRUE(file.open(File::Write));
    ASSERT_TRUE(file.write("x", 1));
    const auto closed = file.close();
    ASSERT_FALSE(closed);
    EXPECT_EQ(closed.error().code(), 5U);
    EXPECT_EQ(closed.error().message().toStdString(), "Close failed");
    EXPECT_EQ(closed.error().osError(), unsigned{ENOSPC});
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.openMode(), 0U);
}

} // namespace
