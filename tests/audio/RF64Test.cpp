#include "audio/decode/WAVDecoder.h"

#include "audio/SoundFileBytes.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using namespace SoundFile;
using Audio::Decode::WAV::Decoder;

const std::string format = wavChunk("fmt ", plainFormat(1, 1, 16));
const std::string unknown = little(0xFFFFFFFF, 4);

std::string ds64(std::uint64_t dataSize, std::size_t bytes = 28) {
    std::string body = little(0, 8) + little(dataSize, 8) + std::string(1000, '\0');
    return wavChunk("ds64", body.substr(0, bytes));
}

std::string rf64(const std::string& chunks) {
    return "RF64" + unknown + "WAVE" + chunks;
}

class RF64Test : public testing::Test {
protected:
    std::string syncOf(const std::string& bytes) {
        decoder = std::make_unique<Decoder>(directory.file(u8"a.wav", bytes));
        return told(decoder->sync());
    }

    TemporaryDirectory directory;
    std::unique_ptr<Decoder> decoder;
};

TEST_F(RF64Test, The_data_size_comes_from_ds64) {
    EXPECT_EQ(
        syncOf(rf64(ds64(6) + format + "data" + unknown + "abcdef" + wavChunk("junk", "xx"))), "success");
    EXPECT_EQ(decoder->fileType(), 2U);
    EXPECT_EQ(decoder->totalFrames(), 3U);
    EXPECT_FALSE(decoder->isTruncated());
    EXPECT_EQ(decoder->chunkCount(), 1U);
    EXPECT_TRUE(decoder->chunk(0).value.afterData);
}

TEST_F(RF64Test, A_size_in_the_data_chunk_itself_goes_before_that_of_ds64) {
    EXPECT_EQ(syncOf(rf64(ds64(6) + format + wavChunk("data", "abcd"))), "success");
    EXPECT_EQ(decoder->totalFrames(), 2U);
}

TEST_F(RF64Test, A_ds64_size_beyond_the_file_is_truncated) {
    EXPECT_EQ(syncOf(rf64(ds64(0x123456789ABCDEF0U) + format + "data" + unknown + "abcdef")), "success");
    EXPECT_EQ(decoder->totalFrames(), 3U);
    EXPECT_TRUE(decoder->isTruncated());
}

TEST_F(RF64Test, A_ds64_size_of_zero_is_a_size) {
    EXPECT_EQ(syncOf(rf64(ds64(0) + format + "data" + unknown + "abcdef")), "success");
    EXPECT_EQ(decoder->totalFrames(), 0U);
    EXPECT_FALSE(decoder->isTruncated());
}

TEST_F(RF64Test, A_file_too_short_for_a_chunk_header_tells_its_size) {
    for (std::size_t size = 12; size < 20; ++size) {
        EXPECT_EQ(
            syncOf(rf64(ds64(6)).substr(0, size)),
            badFormat(
                "File size too small to contain a valid RF64 header: " + std::to_string(size) + " bytes"));
    }
}

TEST_F(RF64Test, The_first_chunk_must_be_ds64) {
    EXPECT_EQ(syncOf(rf64(format + ds64(6))), badFormat("Invalid RF64 WAVE file: missing 'ds64' chunk"));
    EXPECT_EQ(
        syncOf(rf64("DS64" + little(28, 4) + std::string(28, '\0'))),
        badFormat("Invalid RF64 WAVE file: missing 'ds64' chunk"));
}

TEST_F(RF64Test, A_ds64_chunk_above_996_bytes_is_invalid) {
    const std::string rest = format + "data" + unknown + "abcdef";
    EXPECT_EQ(syncOf(rf64(ds64(6, 996) + rest)), "success");
    EXPECT_EQ(decoder->totalFrames(), 3U);
    EXPECT_EQ(
        syncOf(rf64(ds64(6, 997) + rest)), badFormat("Invalid RF64 WAVE file: invalid size of 'ds64' chunk"));
    EXPECT_EQ(
        syncOf(rf64("ds64" + unknown + rest)),
        badFormat("Invalid RF64 WAVE file: invalid size of 'ds64' chunk"));
}

TEST_F(RF64Test, A_ds64_chunk_that_ends_within_the_data_size_goes_on_in_zeros) {
    const std::string rest = format + "data" + unknown + "abcdef";
    EXPECT_EQ(syncOf(rf64(ds64(6, 16) + rest)), "success");
    EXPECT_EQ(decoder->totalFrames(), 3U);
    EXPECT_EQ(syncOf(rf64(ds64(6, 15) + rest)), "success");
    EXPECT_EQ(decoder->totalFrames(), 3U) << "the byte that is missing is the highest";
    EXPECT_EQ(syncOf(rf64(ds64(6, 8) + rest)), "success");
    EXPECT_EQ(decoder->totalFrames(), 0U);
    EXPECT_EQ(syncOf(rf64(ds64(6, 0) + rest)), "success");
    EXPECT_EQ(decoder->totalFrames(), 0U);
}

TEST_F(RF64Test, A_ds64_chunk_that_ends_behind_the_file_is_the_files_error) {
    EXPECT_EQ(
        syncOf(rf64("ds64" + little(28, 4) + "abc")), "File 3: Attempt to read 28 bytes, only read 3 bytes");
}

TEST_F(RF64Test, An_odd_ds64_chunk_is_padded) {
    EXPECT_EQ(syncOf(rf64(ds64(6, 29) + format + "data" + unknown + "abcdef")), "success");
    EXPECT_EQ(decoder->totalFrames(), 3U);
}

TEST_F(RF64Test, In_plain_RIFF_a_ds64_chunk_is_like_any_other) {
    EXPECT_EQ(syncOf(riff(ds64(6) + format + "data" + unknown + "abcdefgh")), "success");
    EXPECT_EQ(decoder->totalFrames(), 4U);
    EXPECT_TRUE(decoder->isTruncated());
    EXPECT_EQ(decoder->chunkCount(), 1U);
}

/// A file with a hole, so that it takes no room.
class LargeFile : public RF64Test {
protected:
    /// The head, then nothing up to `size`, then the tail.
    String largeFile(const std::string& head, std::uint64_t size, const std::string& tail) {
        const String path = directory.file(u8"large.wav", head);
        std::filesystem::resize_file(directory.path() / "large.wav", size);
        std::ofstream(directory.path() / "large.wav", std::ios::binary | std::ios::app) << tail;
        return path;
    }
};

TEST_F(LargeFile, Frames_beyond_4_GiB_are_reached_and_read) {
    constexpr std::uint64_t samples = 3'000'000'000U;
    const std::string head = rf64(ds64(samples * 2) + format + "data" + unknown);
    const std::string tail = wavChunk("junk", "abc");
    Decoder large(largeFile(head, head.size() + samples * 2 - 4, std::string("\x00\x40\x00\xC0", 4) + tail));
    ASSERT_EQ(told(large.sync()), "success");
    EXPECT_EQ(large.totalFrames(), samples);
    EXPECT_FALSE(large.isTruncated());
    ASSERT_EQ(large.chunkCount(), 1U);
    EXPECT_EQ(large.chunk(0).value.position, head.size() + samples * 2 + 8);
    ASSERT_EQ(told(large.seek(samples - 3)), "success");
    float buffer[8] = {};
    std::uint64_t framesRead = 0;
    ASSERT_EQ(told(large.ReadFloatInterleaved(8, buffer, framesRead)), "success");
    EXPECT_EQ(framesRead, 3U);
    EXPECT_EQ(buffer[0], 0.0F);
    EXPECT_EQ(buffer[1], 0.5F);
    EXPECT_EQ(buffer[2], -0.5F);
    EXPECT_EQ(large.position(), samples);
}

TEST_F(LargeFile, A_plain_data_chunk_of_4_GiB_less_one_byte_that_is_there_is_not_truncated) {
    const std::string head = riff(format + "data" + unknown);
    Decoder large(largeFile(head, head.size() + 0xFFFFFFFFU, std::string(1, '\0') + wavChunk("junk", "")));
    ASSERT_EQ(told(large.sync()), "success");
    EXPECT_EQ(large.totalFrames(), 0x7FFFFFFFU);
    EXPECT_FALSE(large.isTruncated());
    EXPECT_EQ(large.chunkCount(), 1U);
}

TEST_F(LargeFile, What_is_there_being_4_GiB_less_one_byte_leaves_the_size_of_ds64) {
    // The size in the file that says "elsewhere" is also what is left of it: the size from elsewhere stays.
    const std::string head = rf64(ds64(0x200000000U) + format + "data" + unknown);
    Decoder large(largeFile(head, head.size() + 0xFFFFFFFFU, ""));
    ASSERT_EQ(told(large.sync()), "success");
    EXPECT_TRUE(large.isTruncated());
    EXPECT_EQ(large.totalFrames(), 0x100000000U);
    ASSERT_EQ(told(large.seek(0xFFFFFFFFU)), "success");
    float sample = 0;
    std::uint64_t framesRead = 7;
    EXPECT_EQ(
        told(large.ReadFloatInterleaved(1, &sample, framesRead)),
        "File 3: Attempt to read 2 bytes, only read 0 bytes");
    EXPECT_EQ(framesRead, 0U);
}

} // namespace
