#include "svbase/util/FileStream.h"

#include "svbase/util/Exception.h"

#include "svbase/LostDescriptor_win32.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Util::File;
using Util::FileStream;

TEST(Win32FileStream, A_file_that_was_lost_refuses_to_seek_and_stands_at_0) {
    const TemporaryDirectory directory;
    const String path = directory.file(u8"a", "abcdef");
    const int descriptor = nextDescriptor();
    FileStream stream(path, File::Read);
    EXPECT_EQ(stream.readChar(), 'a');
    EXPECT_EQ(stream.position(), 1U);
    ASSERT_EQ(_close(descriptor), 0);
    EXPECT_EQ(stream.position(), 0U);
    std::string message;
    try {
        stream.seek(3);
    } catch (const Util::Exception::DataStreamIO& exception) {
        message = exception.message().toStdString();
    }
    EXPECT_EQ(message, "Can't seek to 3: Seek to 3 failed");
}

} // namespace
