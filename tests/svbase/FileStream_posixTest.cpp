#include "svbase/util/FileStream.h"

#include "svbase/util/Exception.h"

#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Util::File;
using Util::FileStream;

template<class Action>
std::string thrown(Action action) {
    try {
        action();
    } catch (const Util::Exception::DataStreamIO& exception) {
        return exception.message().toStdString();
    }
    return "nothing thrown";
}

/// A pipe with eight bytes in it, and a place in the file system.
class PosixFileStreamPipe : public testing::Test {
protected:
    void SetUp() override {
        const std::string path = (directory.path() / "pipe").string();
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        // For both, so that neither waits for the other.
        writer = open(path.c_str(), O_RDWR);
        ASSERT_GE(writer, 0);
        ASSERT_EQ(write(writer, "\1\0\0\0\2\0\0\0", 8), 8);
    }
    void TearDown() override { close(writer); }

    TemporaryDirectory directory;
    int writer = -1;
};

TEST_F(PosixFileStreamPipe, A_refused_seek_tells_the_position_and_the_file_error) {
    FileStream stream(directory / u8"pipe", File::ReadWrite);
    EXPECT_EQ(thrown([&] { stream.seek(3); }), "Can't seek to 3: Seek to 3 failed");
    EXPECT_EQ(
        thrown([&] { stream.seek(4294967295U); }), "Can't seek to 4294967295: Seek to 4294967295 failed");
}

TEST_F(PosixFileStreamPipe, Where_there_is_no_position_it_is_0) {
    FileStream stream(directory / u8"pipe", File::ReadWrite);
    EXPECT_EQ(stream.position(), 0U);
    EXPECT_EQ(stream.readUnsignedInt(), 1U);
    EXPECT_EQ(stream.position(), 0U);
    EXPECT_EQ(stream.bytesRemaining(), 0U);
    EXPECT_FALSE(stream.atEnd()) << "nobody knows";
    EXPECT_EQ(thrown([&] { stream.skip(2); }), "Can't seek to 2: Seek to 2 failed");
    EXPECT_EQ(stream.readUnsignedInt(), 2U) << "reading goes on";
}

TEST(PosixFileStream, A_full_device_refuses_raw_bytes_and_the_destructor_says_nothing_of_the_rest) {
    const std::string much(1'000'000, 'x');
    FileStream stream("/dev/full", File::Write);
    EXPECT_EQ(
        thrown([&] { stream.write(1'000'000U, much.data()); }),
        "Can't write 1000000 bytes: Attempt to write 1000000 bytes, only wrote 0 bytes");
    FileStream("/dev/full", File::Write).write('x');
}

} // namespace
