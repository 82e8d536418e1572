#include "svbase/util/Directory.h"
#include "svbase/util/File.h"
#include "svbase/util/Path.h"

#include "svbase/LostDescriptor_win32.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <windows.h>
#include <winioctl.h>

namespace {

using Util::File;

TEST(Win32File, Text_mode_translates_line_ends_when_writing) {
    const TemporaryDirectory directory;
    File file(directory / u8"a");
    ASSERT_TRUE(file.open(File::Write | File::Text));
    ASSERT_TRUE(file.write("a\nb", 3));
    ASSERT_TRUE(file.close());
    EXPECT_EQ(directory.bytes(u8"a"), "a\r\nb");
}

TEST(Win32File, A_text_read_that_consumes_the_count_zero_fills_the_rest) {
    const TemporaryDirectory directory;
    File file(directory.file(u8"a", "a\r\nb\r\nc"));
    ASSERT_TRUE(file.open(File::Read | File::Text));
    char buffer[8] = "-------";
    ASSERT_TRUE(file.read(buffer, 7));
    EXPECT_EQ(std::string(buffer, 8), std::string("a\nb\nc\0\0\0", 8));
}

TEST(Win32File, A_text_read_that_consumes_another_count_fails_with_the_difference) {
    const TemporaryDirectory directory;
    File file(directory.file(u8"a", "a\r\nb\r\nc"));
    ASSERT_TRUE(file.open(File::Read | File::Text));
    char buffer[8] = {};
    const auto got = file.read(buffer, 2);
    ASSERT_FALSE(got);
    EXPECT_EQ(got.error().message().toStdString(), "Attempt to read 2 bytes, only read 3 bytes");
    EXPECT_EQ(got.error().code(), 3U);
}

TEST(Win32File, Paths_longer_than_260_units_work) {
    const TemporaryDirectory directory;
    const String name(std::string(100, 'n'));
    const String deep = (directory / u8"x") + "/" + name + "/" + name + "/" + name;
    ASSERT_TRUE(Util::Directory(deep).create(true));
    File file(deep + "/file");
    ASSERT_TRUE(file.open(File::Write));
    ASSERT_TRUE(file.write("abc", 3));
    ASSERT_TRUE(file.close());
    EXPECT_EQ(file.size(), 3U);
    EXPECT_TRUE(file.exists());
    EXPECT_TRUE(file.modificationTime());
}

TEST(Win32File, A_failure_to_write_the_rest_out_shows_at_closing) {
    const TemporaryDirectory directory;
    const int descriptor = nextDescriptor();
    File file(directory / u8"a");
    ASSERT_TRUE(file.open(File::Write));
    ASSERT_TRUE(file.write("x", 1));
    ASSERT_EQ(_close(descriptor), 0);
    const auto closed = file.close();
    ASSERT_FALSE(closed);
    EXPECT_EQ(closed.error().code(), 5U);
    EXPECT_EQ(closed.error().message().toStdString(), "Close failed");
    EXPECT_EQ(closed.error().osError(), unsigned{EBADF});
    EXPECT_FALSE(file.isOpen());
}

// Here and not among the portable tests: the sanitizers end a program that asks for so much.
TEST(Win32File, A_file_larger_than_any_memory_is_not_read_to_its_end) {
    const TemporaryDirectory directory;
    const String path = directory.file(u8"sparse", "abc");
    // By the system's own calls: the C++ library asks for room on the disk first, which a hole does not need.
    const HANDLE handle = CreateFileW(
        Util::Path::toSystem(path).toNativeWide().c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0,
        nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    DWORD none = 0;
    DeviceIoControl(handle, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &none, nullptr);
    LARGE_INTEGER end{};
    end.QuadPart = LONGLONG{1} << 42;
    const bool isThere = SetFilePointerEx(handle, end, nullptr, FILE_BEGIN) != 0 && SetEndOfFile(handle) != 0;
    const DWORD refused = GetLastError();
    CloseHandle(handle);
    if (!isThere) {
        GTEST_SKIP() << "no sparse files here: error " << refused;
    }
    File file(path);
    ASSERT_TRUE(file.open(File::Read));
    std::vector<std::uint8_t> bytes;
    const auto read = file.readToEnd(bytes);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error().code(), 3U);
    EXPECT_EQ(read.error().message().toStdString(), "Attempt to read 4398046511104 bytes, only read 0 bytes");
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(file.position(), 0U);
}

} // namespace
