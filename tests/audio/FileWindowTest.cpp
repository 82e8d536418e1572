#include "audio/decode/FileWindow.h"

#include "audio/SoundFileBytes.h"
#include "support/AllocationCount.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>

namespace {

using Audio::Decode::FileWindow;
using SoundFile::told;

/// Bytes that tell their place well enough.
std::string pattern(std::size_t count) {
    std::string bytes(count, '\0');
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<char>(i * 31 + i / 251);
    }
    return bytes;
}

std::string text(std::span<const std::uint8_t> bytes) {
    return {bytes.begin(), bytes.end()};
}

class FileWindowTest : public testing::Test {
protected:
    TemporaryDirectory directory;
};

TEST_F(FileWindowTest, Opening_a_missing_file_is_the_files_error) {
    FileWindow window(directory / u8"missing");
    EXPECT_EQ(told(window.open()), "File 2: Error opening file");
    EXPECT_FALSE(window.isOpen());
    EXPECT_EQ(window.size(), 0U);
}

TEST_F(FileWindowTest, Every_way_through_a_file_shows_its_bytes) {
    // Longer than two of the largest steps, and not by whole pages.
    const std::string bytes = pattern(2'600'001);
    const String path = directory.file(u8"a", bytes);
    std::mt19937 random(1);
    for (int round = 0; round < 20; ++round) {
        FileWindow window(path);
        ASSERT_TRUE(window.open());
        ASSERT_EQ(window.size(), bytes.size());
        std::uint64_t position = random() % 3 == 0 ? random() % bytes.size() : 0;
        for (int i = 0; i < 400; ++i) {
            if (random() % 32 == 0) {
                position = random() % bytes.size();
                if (random() % 2 == 0) {
                    ASSERT_TRUE(window.seek(position));
                }
            }
            const std::uint64_t left = bytes.size() - position;
            const std::uint64_t least =
                std::min<std::uint64_t>(random() % 8 == 0 ? random() % 20000 : random() % 12, left);
            const auto seen = window.view(position, least, least + random() % 5000);
            ASSERT_TRUE(seen) << told(seen);
            ASSERT_GE(seen->size(), least);
            ASSERT_TRUE(
                seen->empty() || std::memcmp(seen->data(), bytes.data() + position, seen->size()) == 0)
                << position << " " << least;
            position = std::min<std::uint64_t>(
                position + (random() % 2 == 0 ? seen->size() : least), bytes.size() - 1);
        }
    }
}

TEST_F(FileWindowTest, Reads_copy_across_the_ends_of_windows) {
    const std::string bytes = pattern(700'000);
    FileWindow window(directory.file(u8"a", bytes));
    ASSERT_TRUE(window.open());
    std::string got(600'000, '\0');
    std::uint64_t copied = 0;
    ASSERT_TRUE(window.read(99'999, got.data(), got.size(), copied));
    EXPECT_EQ(copied, got.size());
    EXPECT_TRUE(got == bytes.substr(99'999, got.size()));
}

TEST_F(FileWindowTest, Bytes_behind_the_end_are_an_error_that_tells_both_counts) {
    FileWindow window(directory.file(u8"a", pattern(100)));
    ASSERT_TRUE(window.open());
    EXPECT_EQ(told(window.view(90, 20, 20)), "File 3: Attempt to read 20 bytes, only read 10 bytes");
    // The same with ten of them in the window.
    EXPECT_TRUE(window.view(90, 10, 20));
    EXPECT_EQ(told(window.view(90, 20, 20)), "File 3: Attempt to read 20 bytes, only read 10 bytes");
    EXPECT_EQ(told(window.view(100, 1, 1)), "File 3: Attempt to read 1 bytes, only read 0 bytes");
    EXPECT_EQ(window.remaining(90), 10U);
    EXPECT_EQ(window.remaining(101), 0U);
    std::uint64_t copied = 0;
    std::string got(20, '-');
    EXPECT_FALSE(window.read(90, got.data(), got.size(), copied));
    EXPECT_EQ(copied, 10U);
    EXPECT_EQ(got, pattern(100).substr(90) + "----------");
}

TEST_F(FileWindowTest, A_position_that_no_file_has_is_refused_by_the_file) {
    FileWindow window(directory.file(u8"a", pattern(100)));
    ASSERT_TRUE(window.open());
    constexpr std::uint64_t nowhere = 0xFFFFFFFFFFFFFFFFU;
    EXPECT_EQ(told(window.seek(nowhere)), "File 0: Seek to 18446744073709551615 failed");
    EXPECT_EQ(told(window.view(nowhere, 1, 1)), "File 0: Seek to 18446744073709551615 failed");
    const auto seen = window.view(0, 3, 3);
    ASSERT_TRUE(seen);
    EXPECT_EQ(text(seen->first(3)), pattern(3));
}

TEST_F(FileWindowTest, What_is_left_of_a_file_that_has_shrunk_is_still_read) {
    const std::string bytes = pattern(300'000);
    const String path = directory.file(u8"a", bytes);
    FileWindow window(path);
    ASSERT_TRUE(window.open());
    ASSERT_TRUE(window.view(0, 1000, 1000));
    std::filesystem::resize_file(directory.path() / "a", 50'000);
    std::string got(bytes.size(), '\0');
    std::uint64_t copied = 0;
    EXPECT_FALSE(window.read(0, got.data(), got.size(), copied));
    EXPECT_EQ(copied, 50'000U);
    EXPECT_TRUE(got.substr(0, 50'000) == bytes.substr(0, 50'000));
}

TEST_F(FileWindowTest, A_closed_window_is_empty_and_opens_again) {
    FileWindow window(directory.file(u8"a", "abcdef"));
    ASSERT_TRUE(window.open());
    ASSERT_TRUE(window.view(0, 6, 6));
    window.close();
    EXPECT_EQ(window.size(), 0U);
    EXPECT_EQ(told(window.view(0, 1, 1)), "File 0: Attempt to seek to 0 when not open");
    directory.file(u8"a", "ABCDEFGH");
    ASSERT_TRUE(window.open());
    const auto seen = window.view(0, 8, 8);
    ASSERT_TRUE(seen);
    EXPECT_EQ(text(*seen), "ABCDEFGH");
}

TEST_F(FileWindowTest, Nothing_is_allocated_by_looking_at_pieces_up_to_a_page) {
    FileWindow window(directory.file(u8"a", pattern(3'000'000)));
    ASSERT_TRUE(window.open());
    // The C library's own buffer is made by the first read.
    ASSERT_TRUE(window.view(0, 1, 1));
    const std::uint64_t before = AllocationCount();
    bool seen = true;
    for (std::uint64_t position = 0; position + 4096 < 3'000'000; position += 777) {
        seen = seen && window.view(position, position % 4097, 0);
    }
    seen = seen && window.view(2'000'000, 4000, 4000) && window.view(17, 4000, 4000);
    EXPECT_EQ(AllocationCount() - before, 0U);
    EXPECT_TRUE(seen);
}

} // namespace
