#include "svbase/util/File.h"

#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

namespace {

using Util::File;

constexpr std::uint64_t beyondSigned = 0x8000000000000000U;

std::string text(const std::vector<std::uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

// What an error says, in one line.
template<class Result>
std::string told(const Result& result) {
    if (result) {
        return "success";
    }
    const File::Error& error = result.error();
    return error.category().toStdString() + " " + std::to_string(error.code()) + ": " +
           error.message().toStdString();
}

TEST(FileError, Holds_code_format_path_and_system_error) {
    const File::Error error = File::Error(3, "Read %1 of %2", "C:/x", 5U).arg(1).arg(2);
    EXPECT_EQ(error.category().toStdString(), "File");
    EXPECT_EQ(error.code(), 3U);
    EXPECT_EQ(error.kind(), 1);
    EXPECT_EQ(error.path().toStdString(), "C:/x");
    EXPECT_EQ(error.osError(), 5U);
    EXPECT_EQ(error.message().toStdString(), "Read 1 of 2");
    EXPECT_FALSE(File::Error(0, "x", "y").osError().valid);
    EXPECT_TRUE(File::Error(0, "x", "y").arguments().empty());
}

class FileTest : public testing::Test {
protected:
    std::string readAll(const String& path, unsigned mode) {
        File file(path);
        EXPECT_TRUE(file.open(mode));
        std::vector<std::uint8_t> bytes;
        EXPECT_TRUE(file.readToEnd(bytes));
        return text(bytes);
    }

    TemporaryDirectory directory;
};

TEST_F(FileTest, Is_closed_until_it_is_opened) {
    File file(directory.file(u8"a", "abc"));
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.openMode(), 0U);
    ASSERT_TRUE(file.open(File::Read));
    EXPECT_TRUE(file.isOpen());
    EXPECT_EQ(file.openMode(), 2U);
    ASSERT_TRUE(file.close());
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.openMode(), 0U);
}

TEST_F(FileTest, Closing_a_closed_file_succeeds) {
    File file("nowhere");
    EXPECT_TRUE(file.close());
}

TEST_F(FileTest, Opening_a_missing_file_is_code_2_with_the_path_and_the_system_error) {
    const String path = directory / u8"missing";
    File file(path);
    const auto opened = file.open(File::Read);
    EXPECT_EQ(told(opened), "File 2: Error opening file");
    EXPECT_EQ(opened.error().path().toStdString(), path.toStdString());
    EXPECT_EQ(opened.error().osError(), unsigned{ENOENT});
    EXPECT_TRUE(opened.error().arguments().empty());
    EXPECT_FALSE(file.isOpen());
}

TEST_F(FileTest, Opening_a_directory_fails) {
    EXPECT_EQ(told(File(directory / u8"").open(File::Read)), "File 2: Error opening file");
}

TEST_F(FileTest, Exclusive_creation_of_an_existing_file_is_code_2) {
    const String path = directory.file(u8"a", "abc");
    for (const unsigned mode :
         {File::Write | File::CreateNew, File::ReadWrite | File::CreateNew, File::Read | File::CreateNew}) {
        const auto opened = File(path).open(mode);
        EXPECT_EQ(told(opened), "File 2: Error opening file") << mode;
        EXPECT_EQ(opened.error().osError(), unsigned{EEXIST});
    }
    EXPECT_EQ(directory.bytes(u8"a"), "abc");
}

TEST_F(FileTest, Exclusive_creation_creates_even_when_reading) {
    EXPECT_TRUE(File(directory / u8"a").open(File::Read | File::CreateNew));
    EXPECT_TRUE(File(directory / u8"b").open(File::Write | File::CreateNew));
    EXPECT_EQ(directory.bytes(u8"a"), "");
    EXPECT_TRUE(File(directory / u8"a").exists());
    EXPECT_TRUE(File(directory / u8"b").exists());
}

struct ModeRow {
    unsigned mode;
    bool creates;
    bool truncates;
    bool reads;
    bool writes;
    bool appends;
};

TEST_F(FileTest, Each_mode_opens_as_the_C_library_would) {
    constexpr ModeRow rows[] = {
        // Writing alone empties the file or appends to it.
        {4, true, true, false, true, false},
        {4 | 32, true, true, false, true, false},
        {16, true, false, false, true, true},
        {4 | 16, true, false, false, true, true},
        {4 | 16 | 32, true, false, false, true, true},
        // Without any writing bit the file is read.
        {2, false, false, true, false, false},
        {0, false, false, true, false, false},
        {2 | 32, false, false, true, false, false},
        {32, false, false, true, false, false},
        // Reading and writing: truncation first, then appending, then the file as it stands.
        {2 | 4 | 32, true, true, true, true, false},
        {8 | 32, true, true, true, true, false},
        {8 | 16 | 32, true, true, true, true, false},
        {8 | 16, true, false, true, true, true},
        {2 | 16, true, false, true, true, true},
        {2 | 4, true, false, true, true, false},
        {8, true, false, true, true, false},
    };
    for (const ModeRow& row : rows) {
        for (const unsigned text : {0U, unsigned{File::Text}}) {
            const unsigned mode = row.mode | text;
            SCOPED_TRACE(mode);
            const TemporaryDirectory own;
            File missing(own / u8"missing");
            EXPECT_EQ(missing.open(mode).has_value(), row.creates);
            EXPECT_EQ(missing.exists(), row.creates);

            File file(own.file(u8"a", "abc"));
            ASSERT_TRUE(file.open(mode));
            EXPECT_EQ(file.size(), row.truncates ? 0U : 3U);
            if (!row.truncates) {
                char c = 0;
                EXPECT_TRUE(file.seek(1));
                EXPECT_EQ(file.read(&c, 1).has_value(), row.reads);
                EXPECT_EQ(c, row.reads ? 'b' : 0);
            }
            EXPECT_TRUE(file.seek(0));
            const auto written = file.write("X", 1);
            const bool wrote = file.close() && written;
            EXPECT_EQ(wrote, row.writes);
            const std::string now = own.bytes(u8"a");
            EXPECT_EQ(now, !row.writes ? "abc" : row.truncates ? "X" : row.appends ? "abcX" : "Xbc");
        }
    }
}

TEST_F(FileTest, Reads_what_was_written) {
    const String path = directory / u8"a";
    File file(path);
    ASSERT_TRUE(file.open(File::Write));
    EXPECT_TRUE(file.write("one\r\ntwo\0three", 14));
    EXPECT_EQ(file.position(), 14U);
    EXPECT_EQ(file.size(), 14U);
    ASSERT_TRUE(file.close());
    EXPECT_EQ(directory.bytes(u8"a"), std::string("one\r\ntwo\0three", 14));
    EXPECT_EQ(readAll(path, File::Read), std::string("one\r\ntwo\0three", 14));
}

TEST_F(FileTest, Opening_an_open_file_closes_it_first) {
    const String path = directory.file(u8"a", "abc");
    File file(path);
    ASSERT_TRUE(file.open(File::Append));
    ASSERT_TRUE(file.write("d", 1));
    ASSERT_TRUE(file.open(File::Read));
    EXPECT_EQ(file.size(), 4U);
    EXPECT_EQ(file.position(), 0U);
}

TEST_F(FileTest, Reading_turns_to_writing_and_back_without_a_seek) {
    const String path = directory.file(u8"a", "abcdef");
    File file(path);
    ASSERT_TRUE(file.open(File::ReadWrite));
    char in[2] = {};
    ASSERT_TRUE(file.read(in, 2));
    ASSERT_TRUE(file.write("XY", 2));
    ASSERT_TRUE(file.read(in, 2));
    EXPECT_EQ(std::string(in, 2), "ef");
    ASSERT_TRUE(file.close());
    EXPECT_EQ(directory.bytes(u8"a"), "abXYef");
}

TEST_F(FileTest, A_read_of_nothing_succeeds_even_when_closed) {
    File file("nowhere");
    char c = 0;
    EXPECT_TRUE(file.read(&c, 0));
    EXPECT_TRUE(file.read(nullptr, 5));
}

TEST_F(FileTest, Operations_on_a_closed_file_say_so) {
    File file(directory / u8"a");
    char c = 0;
    std::vector<std::uint8_t> bytes{1};
    EXPECT_EQ(told(file.read(&c, 7)), "File 3: Attempt to read 7 bytes when not open");
    EXPECT_EQ(told(file.write(&c, 7)), "File 4: Attempt to write 7 bytes when not open");
    EXPECT_EQ(told(file.seek(7)), "File 0: Attempt to seek to 7 when not open");
    EXPECT_EQ(told(file.readToEnd(bytes)), "File 0: Could not get the number of bytes remaining");
    EXPECT_FALSE(file.seek(7).error().osError().valid);
    EXPECT_EQ(file.seek(7).error().path().toStdString(), (directory / u8"a").toStdString());
    EXPECT_EQ(file.seek(7).error().format().toStdString(), "Attempt to seek to %1 when not open");
    EXPECT_FALSE(file.bytesRemaining().valid);
    EXPECT_FALSE(file.position().valid);
    EXPECT_FALSE(file.atEnd());
}

TEST_F(FileTest, A_short_read_tells_both_counts_and_keeps_what_it_got) {
    File file(directory.file(u8"a", "abc"));
    ASSERT_TRUE(file.open(File::Read));
    char buffer[6] = "-----";
    const auto got = file.read(buffer, 5);
    EXPECT_EQ(told(got), "File 3: Attempt to read 5 bytes, only read 3 bytes");
    EXPECT_TRUE(got.error().osError().valid);
    EXPECT_EQ(got.error().arguments().size(), 2U);
    EXPECT_EQ(std::string(buffer), "abc--");
    EXPECT_TRUE(file.atEnd());
}

TEST_F(FileTest, A_write_to_a_file_opened_for_reading_fails) {
    File file(directory.file(u8"a", "abc"));
    ASSERT_TRUE(file.open(File::Read));
    const auto put = file.write("xy", 2);
    EXPECT_EQ(told(put), "File 4: Attempt to write 2 bytes, only wrote 0 bytes");
    EXPECT_TRUE(put.error().osError().valid);
}

TEST_F(FileTest, A_refused_seek_tells_the_position) {
    File file(directory.file(u8"a", "abc"));
    ASSERT_TRUE(file.open(File::Read));
    const auto moved = file.seek(beyondSigned);
    EXPECT_EQ(told(moved), "File 0: Seek to 9223372036854775808 failed");
    EXPECT_EQ(moved.error().osError(), unsigned{EINVAL});
}

TEST_F(FileTest, Seek_past_the_end_leaves_nothing_remaining) {
    File file(directory.file(u8"a", "abc"));
    ASSERT_TRUE(file.open(File::Read));
    EXPECT_EQ(file.bytesRemaining(), 3U);
    ASSERT_TRUE(file.seek(2));
    EXPECT_EQ(file.bytesRemaining(), 1U);
    EXPECT_FALSE(file.atEnd());
    ASSERT_TRUE(file.seek(1000));
    EXPECT_EQ(file.position(), 1000U);
    EXPECT_EQ(file.bytesRemaining(), 0U);
    EXPECT_TRUE(file.atEnd());
}

TEST_F(FileTest, Positions_have_64_bits) {
    File file(directory / u8"sparse");
    ASSERT_TRUE(file.open(File::ReadWrite));
    ASSERT_TRUE(file.seek(0x140000000U));
    EXPECT_EQ(file.position(), 0x140000000U);
}

TEST_F(FileTest, ReadToEnd_takes_what_lies_behind_the_position) {
    File file(directory.file(u8"a", "abcdef"));
    ASSERT_TRUE(file.open(File::Read));
    ASSERT_TRUE(file.seek(4));
    std::vector<std::uint8_t> bytes(100, 1);
    ASSERT_TRUE(file.readToEnd(bytes));
    EXPECT_EQ(text(bytes), "ef");
    ASSERT_TRUE(file.readToEnd(bytes));
    EXPECT_TRUE(bytes.empty());
}

TEST_F(FileTest, Size_of_a_closed_file_comes_from_the_path) {
    EXPECT_EQ(File(directory.file(u8"a", "abc")).size(), 3U);
    EXPECT_FALSE(File(directory / u8"missing").size().valid);
}

TEST_F(FileTest, Size_counts_what_is_written_and_not_yet_flushed) {
    File file(directory / u8"a");
    ASSERT_TRUE(file.open(File::ReadWrite));
    ASSERT_TRUE(file.write("abc", 3));
    EXPECT_EQ(file.size(), 3U);
    EXPECT_EQ(file.bytesRemaining(), 0U);
}

TEST_F(FileTest, Exists_looks_at_the_path) {
    EXPECT_TRUE(File(directory.file(u8"a", "")).exists());
    EXPECT_TRUE(File(directory / u8"").exists());
    EXPECT_FALSE(File(directory / u8"missing").exists());
}

TEST_F(FileTest, Modification_times_are_equal_until_the_file_changes) {
    const String path = directory.file(u8"a", "abc");
    const auto first = File(path).modificationTime();
    const auto second = File(path).modificationTime();
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_EQ(*first, *second);
    EXPECT_GT(first->modifiedSeconds, 1'600'000'000);
    const std::filesystem::path file = directory.path() / "a";
    std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) - std::chrono::hours(1));
    const auto later = File(path).modificationTime();
    ASSERT_TRUE(later);
    EXPECT_FALSE(*first == *later);
    EXPECT_EQ(first->modifiedSeconds - later->modifiedSeconds, 3600);
}

TEST_F(FileTest, The_modification_time_of_a_missing_file_is_an_error) {
    const auto times = File(directory / u8"missing").modificationTime();
    EXPECT_EQ(told(times), "File 0: Error getting file time");
    EXPECT_EQ(times.error().osError(), unsigned{ENOENT});
}

TEST_F(FileTest, Two_may_open_the_same_file) {
    const String path = directory.file(u8"a", "abc");
    File writer(path);
    File reader(path);
    ASSERT_TRUE(writer.open(File::ReadWrite));
    ASSERT_TRUE(reader.open(File::Read));
    char c = 0;
    EXPECT_TRUE(reader.read(&c, 1));
    EXPECT_EQ(c, 'a');
}

TEST_F(FileTest, Names_beyond_ASCII_and_foreign_separators_open) {
    directory.file(u8"h\u00E9 \u97F3.txt", "abc");
    EXPECT_EQ(readAll(directory / u8"h\u00E9 \u97F3.txt", File::Read), "abc");
    EXPECT_EQ(readAll((directory / u8"h\u00E9 \u97F3.txt").replace('/', '\\'), File::Read), "abc");
}

} // namespace
