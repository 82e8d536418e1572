#include "audio/decode/WAVDecoder.h"

#include "audio/SoundFileBytes.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace SoundFile;
using Audio::Decode::BadFormatError;
using Audio::Decode::Format;
using Audio::Decode::WAV::Decoder;

const std::string fourSamples("\x01\x00\x02\x00\x03\x00\x04\x00", 8);

class WAVDecoderTest : public testing::Test {
protected:
    Decoder& open(const std::string& bytes) {
        decoder = std::make_unique<Decoder>(directory.file(u8"a.wav", bytes));
        return *decoder;
    }
    std::string syncOf(const std::string& bytes) { return told(open(bytes).sync()); }
    /// Of a file with that format chunk and four bytes of data.
    std::string formatOf(const std::string& format) {
        return syncOf(riff(wavChunk("fmt ", format) + wavChunk("data", "abcd")));
    }
    std::string raw() {
        std::string bytes(1000, '-');
        std::uint64_t framesRead = 0;
        EXPECT_EQ(told(decoder->ReadRawInterleaved(100, bytes.data(), framesRead)), "success");
        return bytes.substr(0, framesRead * decoder->format().channels * decoder->format().bytesPerSample);
    }

    TemporaryDirectory directory;
    std::unique_ptr<Decoder> decoder;
};

TEST_F(WAVDecoderTest, A_small_file_syncs) {
    EXPECT_EQ(syncOf(smallWav(fourSamples)), "success");
    EXPECT_EQ(decoder->fileType(), 2U);
    EXPECT_EQ(decoder->format(), (Format{1, 2, 44100, 0, 0}));
    EXPECT_EQ(decoder->totalFrames(), 4U);
    EXPECT_EQ(decoder->framesRemaining(), 4U);
    EXPECT_EQ(decoder->position(), 0U);
    EXPECT_FALSE(decoder->isTruncated());
    EXPECT_EQ(decoder->chunkCount(), 0U);
    EXPECT_EQ(raw(), fourSamples);
}

TEST_F(WAVDecoderTest, A_missing_file_is_the_files_error) {
    Decoder missing(directory / u8"missing.wav");
    const auto result = missing.sync();
    EXPECT_EQ(told(result), "File 2: Error opening file");
    ASSERT_NE(result.error().get<Util::File::Error>(), nullptr);
    EXPECT_EQ(
        result.error().get<Util::File::Error>()->path().toStdString(),
        (directory / u8"missing.wav").toStdString());
}

TEST_F(WAVDecoderTest, A_directory_is_the_files_error) {
    EXPECT_EQ(told(Decoder(directory / u8"").sync()), "File 2: Error opening file");
}

TEST_F(WAVDecoderTest, A_file_below_12_bytes_tells_its_size) {
    EXPECT_EQ(syncOf(""), badFormat("File size too small to contain a valid RIFF header: 0 bytes"));
    EXPECT_EQ(
        syncOf("RIFF\0\0\0\0WAV"), badFormat("File size too small to contain a valid RIFF header: 4 bytes"));
    EXPECT_EQ(
        syncOf(riff("").substr(0, 11)),
        badFormat("File size too small to contain a valid RIFF header: 11 bytes"));
}

TEST_F(WAVDecoderTest, Another_identifier_or_no_WAVE_is_an_invalid_header) {
    const std::string rest = smallWav(fourSamples).substr(12);
    const std::string size = little(100, 4);
    EXPECT_EQ(syncOf("RIFX" + size + "WAVE" + rest), badFormat("Invalid RIFF header"));
    EXPECT_EQ(syncOf("RIFF" + size + "AVI " + rest), badFormat("Invalid RIFF header"));
    EXPECT_EQ(syncOf("RF64" + size + "wave" + rest), badFormat("Invalid RIFF header"));
    const auto result = open("riff" + size + "WAVE").sync();
    ASSERT_NE(result.error().get<BadFormatError>(), nullptr);
    EXPECT_EQ(
        result.error().get<BadFormatError>()->path().toStdString(), (directory / u8"a.wav").toStdString());
}

TEST_F(WAVDecoderTest, A_12_byte_file_with_a_valid_header_did_not_find_the_format) {
    EXPECT_EQ(syncOf(riff("")), badFormat("Didn't find 'format' chunk", 2));
}

TEST_F(WAVDecoderTest, A_missing_format_is_told_before_missing_data) {
    EXPECT_EQ(syncOf(riff(wavChunk("junk", "abcd"))), badFormat("Didn't find 'format' chunk", 2));
    EXPECT_EQ(syncOf(riff(wavChunk("data", "abcd"))), badFormat("Didn't find 'format' chunk", 2));
    EXPECT_EQ(
        syncOf(riff(wavChunk("fmt ", plainFormat(1, 1, 16)))), badFormat("Didn't find 'data' chunk", 1));
}

TEST_F(WAVDecoderTest, The_size_in_the_header_is_not_used) {
    for (const std::uint64_t size : {0U, 1U, 0xFFFFFFFFU}) {
        EXPECT_EQ(syncOf("RIFF" + little(size, 4) + smallWav(fourSamples).substr(8)), "success");
        EXPECT_EQ(decoder->totalFrames(), 4U);
    }
}

TEST_F(WAVDecoderTest, A_data_chunk_longer_than_the_file_yields_what_is_there) {
    const std::string format = wavChunk("fmt ", plainFormat(1, 1, 16));
    EXPECT_EQ(syncOf(riff(format + "data" + little(1000, 4) + fourSamples)), "success");
    EXPECT_TRUE(decoder->isTruncated());
    EXPECT_EQ(decoder->totalFrames(), 4U);
    EXPECT_EQ(raw(), fourSamples);
}

TEST_F(WAVDecoderTest, A_data_chunk_of_unknown_size_in_plain_RIFF_runs_to_the_end_of_the_file) {
    const std::string format = wavChunk("fmt ", plainFormat(1, 1, 16));
    EXPECT_EQ(syncOf(riff(format + "data" + little(0xFFFFFFFF, 4) + fourSamples + "x")), "success");
    EXPECT_TRUE(decoder->isTruncated());
    EXPECT_EQ(decoder->totalFrames(), 4U);
}

TEST_F(WAVDecoderTest, Data_that_ends_with_the_file_is_not_truncated) {
    const std::string format = wavChunk("fmt ", plainFormat(1, 1, 16));
    EXPECT_EQ(syncOf(riff(format + "data" + little(8, 4) + fourSamples)), "success");
    EXPECT_FALSE(decoder->isTruncated());
    // An odd chunk without its pad byte at the very end.
    EXPECT_EQ(syncOf(riff(format + "data" + little(7, 4) + fourSamples.substr(0, 7))), "success");
    EXPECT_FALSE(decoder->isTruncated());
    EXPECT_EQ(decoder->totalFrames(), 3U);
}

TEST_F(WAVDecoderTest, Bytes_that_are_no_whole_frame_are_dropped) {
    EXPECT_EQ(
        syncOf(riff(wavChunk("fmt ", plainFormat(1, 2, 16)) + wavChunk("data", "0123456789"))), "success");
    EXPECT_EQ(decoder->totalFrames(), 2U);
    EXPECT_EQ(raw(), "01234567");
}

TEST_F(WAVDecoderTest, Only_the_first_data_chunk_counts) {
    EXPECT_EQ(syncOf(smallWav(fourSamples, wavChunk("data", "xyxyxyxyxyxy"))), "success");
    EXPECT_EQ(decoder->totalFrames(), 4U);
    EXPECT_EQ(decoder->chunkCount(), 0U);
    EXPECT_EQ(raw(), fourSamples);
}

TEST_F(WAVDecoderTest, A_later_data_chunk_of_unknown_size_is_as_long_as_the_first) {
    EXPECT_EQ(
        syncOf(smallWav(fourSamples, "data" + little(0xFFFFFFFF, 4) + "xyxyxyxy" + wavChunk("junk", "j"))),
        "success");
    EXPECT_FALSE(decoder->isTruncated());
    EXPECT_EQ(decoder->totalFrames(), 4U);
    EXPECT_EQ(raw(), fourSamples);
    ASSERT_EQ(decoder->chunkCount(), 1U);
    EXPECT_EQ(decoder->chunk(0).value.size, 1U);
}

TEST_F(WAVDecoderTest, A_later_data_chunk_past_the_end_marks_the_file_as_truncated) {
    EXPECT_EQ(syncOf(smallWav(fourSamples, "data" + little(100, 4) + "xy")), "success");
    EXPECT_TRUE(decoder->isTruncated());
    EXPECT_EQ(decoder->totalFrames(), 4U);
}

TEST_F(WAVDecoderTest, An_empty_data_chunk_has_no_frames) {
    EXPECT_EQ(syncOf(smallWav("")), "success");
    EXPECT_EQ(decoder->totalFrames(), 0U);
    EXPECT_FALSE(decoder->isTruncated());
    EXPECT_EQ(raw(), "");
}

TEST_F(WAVDecoderTest, A_second_format_is_ignored) {
    const std::string first = wavChunk("fmt ", plainFormat(1, 2, 24, 48000));
    EXPECT_EQ(
        syncOf(riff(first + wavChunk("fmt ", plainFormat(3, 1, 32)) + wavChunk("data", "0123456789ab"))),
        "success");
    EXPECT_EQ(decoder->format(), (Format{2, 3, 48000, 0, 0}));
    // Not even looked at.
    EXPECT_EQ(syncOf(riff(first + wavChunk("fmt ", "bad") + wavChunk("data", "0123456789ab"))), "success");
    EXPECT_EQ(decoder->chunkCount(), 0U);
}

TEST_F(WAVDecoderTest, A_format_behind_the_data_is_accepted) {
    EXPECT_EQ(
        syncOf(riff(wavChunk("data", fourSamples) + wavChunk("fmt ", plainFormat(1, 2, 16)))), "success");
    EXPECT_EQ(decoder->totalFrames(), 2U);
    EXPECT_EQ(raw(), fourSamples);
}

TEST_F(WAVDecoderTest, An_odd_chunk_is_followed_by_one_pad_byte) {
    const std::string format = wavChunk("fmt ", plainFormat(1, 1, 16));
    EXPECT_EQ(
        syncOf(riff(
            "odd " + little(3, 4) + "abc" + std::string(1, '\0') + format + wavChunk("data", fourSamples))),
        "success");
    EXPECT_EQ(decoder->totalFrames(), 4U);
    // Without it the next chunk is read a byte late.
    EXPECT_EQ(
        syncOf(riff("odd " + little(3, 4) + "abc" + format + wavChunk("data", fourSamples))),
        badFormat("Didn't find 'format' chunk", 2));
}

TEST_F(WAVDecoderTest, A_chunk_that_is_too_long_ends_the_walk_silently) {
    EXPECT_EQ(syncOf(smallWav(fourSamples, "junk" + little(1000, 4) + wavChunk("LIST", "adtl"))), "success");
    EXPECT_EQ(decoder->chunkCount(), 0U);
    EXPECT_FALSE(decoder->isTruncated());
    EXPECT_EQ(
        syncOf(riff("junk" + little(1000, 4) + smallWav(fourSamples).substr(12))),
        badFormat("Didn't find 'format' chunk", 2));
    // Even the format itself.
    EXPECT_EQ(
        syncOf(riff(wavChunk("data", fourSamples) + "fmt " + little(100, 4) + plainFormat(1, 1, 16))),
        badFormat("Didn't find 'format' chunk", 2));
}

TEST_F(WAVDecoderTest, Less_than_a_chunk_header_at_the_end_is_no_error) {
    for (std::size_t count = 1; count < 8; ++count) {
        EXPECT_EQ(syncOf(smallWav(fourSamples, std::string("fmt \xFF\xFF\xFF").substr(0, count))), "success")
            << count;
        EXPECT_EQ(decoder->totalFrames(), 4U);
    }
}

TEST_F(WAVDecoderTest, Other_chunks_are_recorded_with_their_places) {
    const std::string format = wavChunk("fmt ", plainFormat(1, 1, 16));
    EXPECT_EQ(
        syncOf(riff(wavChunk("abcd", "123") + format + wavChunk("data", fourSamples) + wavChunk("efgh", ""))),
        "success");
    ASSERT_EQ(decoder->chunkCount(), 2U);
    const auto before = decoder->chunk(0).value;
    EXPECT_EQ(before.identifier, 0x61626364U);
    EXPECT_EQ(before.size, 3U);
    EXPECT_EQ(before.position, 20U);
    EXPECT_FALSE(before.afterData);
    const auto behind = decoder->chunk(1).value;
    EXPECT_EQ(behind.identifier, 0x65666768U);
    EXPECT_EQ(behind.size, 0U);
    EXPECT_EQ(behind.position, 12U + 12 + 24 + 16 + 8);
    EXPECT_TRUE(behind.afterData);
    EXPECT_FALSE(decoder->chunk(2).valid);
}

TEST_F(WAVDecoderTest, A_short_format_chunk_tells_both_sizes) {
    EXPECT_EQ(
        formatOf(plainFormat(1, 1, 16).substr(0, 15)),
        badFormat("Format chunk is 15 bytes, expected at least 16 bytes"));
    EXPECT_EQ(formatOf(""), badFormat("Format chunk is 0 bytes, expected at least 16 bytes"));
}

TEST_F(WAVDecoderTest, Channels_come_before_the_sampling_rate_and_that_before_the_tag) {
    EXPECT_EQ(formatOf(plainFormat(7, 0, 5, 0)), badFormat("Bad number of channels: 0"));
    EXPECT_EQ(formatOf(plainFormat(7, 1, 5, 0)), badFormat("Bad sampling rate: 0"));
    EXPECT_EQ(formatOf(plainFormat(7, 1, 5)), badFormat("Bad wave format tag: 7"));
    EXPECT_EQ(formatOf(plainFormat(0xFFFE, 0, 16)), badFormat("Bad number of channels: 0"));
}

TEST_F(WAVDecoderTest, Bit_depths_are_those_of_the_tags) {
    for (unsigned bits = 0; bits <= 65; ++bits) {
        for (const unsigned tag : {1U, 3U}) {
            const bool good = bits == 32 || (tag == 1 && (bits == 8 || bits == 16 || bits == 24));
            EXPECT_EQ(
                formatOf(plainFormat(tag, 1, bits)),
                good ? "success"
                     : badFormat(
                           "Unsupported bit depth / wave format combination: " + std::to_string(bits) + "/" +
                           std::to_string(tag)));
            if (good) {
                EXPECT_EQ(decoder->format(), (Format{1, bits / 8, 44100, tag == 3 ? 1U : 0U, 0}));
            }
        }
    }
}

TEST_F(WAVDecoderTest, The_extensible_format_keeps_the_mask_and_the_containers_bytes) {
    EXPECT_EQ(formatOf(extensibleFormat(1, 6, 24, 0x3F)), "success");
    EXPECT_EQ(decoder->format(), (Format{6, 3, 44100, 0, 0x3F}));
    EXPECT_EQ(formatOf(extensibleFormat(3, 2, 32, 3)), "success");
    EXPECT_EQ(decoder->format(), (Format{2, 4, 44100, 1, 3}));
}

TEST_F(WAVDecoderTest, The_extensible_format_is_not_asked_for_its_bit_depth) {
    for (const unsigned bits : {1U, 7U, 12U, 20U, 64U, 65535U}) {
        EXPECT_EQ(formatOf(extensibleFormat(3, 1, bits)), "success");
        EXPECT_EQ(decoder->format().bytesPerSample, (bits + 7) / 8);
        EXPECT_EQ(decoder->totalFrames(), 4 / ((bits + 7) / 8));
    }
}

TEST_F(WAVDecoderTest, An_extensible_sample_of_no_bits_has_no_frames) {
    EXPECT_EQ(formatOf(extensibleFormat(1, 2, 0)), "success");
    EXPECT_EQ(decoder->format().bytesPerSample, 0U);
    EXPECT_EQ(decoder->totalFrames(), 0U);
}

TEST_F(WAVDecoderTest, An_extensible_format_with_less_than_22_extra_bytes_tells_how_many) {
    const std::string extensible = extensibleFormat(1, 1, 16);
    EXPECT_EQ(
        formatOf(extensible.substr(0, 16) + little(21, 2) + extensible.substr(18)),
        badFormat("Expected wave format extensible chunk, only 21 extra bytes"));
    EXPECT_EQ(
        formatOf(extensible.substr(0, 16) + little(0, 2)),
        badFormat("Expected wave format extensible chunk, only 0 extra bytes"));
    // What the chunk does not hold is not taken from behind it.
    EXPECT_EQ(
        formatOf(extensible.substr(0, 16)),
        badFormat("Expected wave format extensible chunk, only 0 extra bytes"));
}

TEST_F(WAVDecoderTest, Another_sub_format_is_told_with_its_GUID) {
    EXPECT_EQ(
        formatOf(extensibleFormat(2, 1, 16)),
        badFormat("Invalid wave format extensible subtype GUID 00000002/0000/0010/800000AA00389B71"));
    const std::string guid("\x78\x56\x34\x12\xBC\x9A\xF0\xDE\x01\x23\x45\x67\x89\xAB\xCD\xEF", 16);
    EXPECT_EQ(
        formatOf(extensibleFormat(0, 1, 16).substr(0, 24) + guid),
        badFormat("Invalid wave format extensible subtype GUID 12345678/9ABC/DEF0/0123456789ABCDEF"));
}

TEST_F(WAVDecoderTest, Each_byte_of_the_GUID_counts) {
    const std::string good = extensibleFormat(1, 1, 16);
    ASSERT_EQ(formatOf(good), "success");
    for (std::size_t i = 24; i < 40; ++i) {
        std::string spoilt = good;
        spoilt[i] = static_cast<char>(spoilt[i] ^ 0x40);
        EXPECT_NE(formatOf(spoilt).find("Invalid wave format extensible subtype GUID "), std::string::npos)
            << i;
    }
}

TEST_F(WAVDecoderTest, Bytes_behind_the_known_format_are_not_used) {
    EXPECT_EQ(formatOf(plainFormat(1, 1, 16) + "whatever"), "success");
    EXPECT_EQ(formatOf(extensibleFormat(1, 1, 16) + std::string(1000, 'x')), "success");
}

TEST_F(WAVDecoderTest, A_synced_decoder_does_not_look_at_the_file_again) {
    ASSERT_EQ(syncOf(smallWav(fourSamples)), "success");
    ASSERT_TRUE(decoder->seek(3));
    directory.file(u8"a.wav", "no sound");
    EXPECT_EQ(told(decoder->sync()), "success");
    EXPECT_EQ(told(decoder->resync()), "success");
    EXPECT_EQ(decoder->position(), 3U);
}

TEST_F(WAVDecoderTest, A_failed_sync_leaves_nothing_behind_and_may_be_tried_again) {
    const std::string bytes =
        riff(wavChunk("fmt ", plainFormat(1, 2, 16)) + "data" + little(1000, 4) + "abcd");
    ASSERT_EQ(
        syncOf(riff(
            wavChunk("junk", "abcd") + wavChunk("fmt ", plainFormat(1, 2, 16)) +
            wavChunk("bext", std::string(601, 'b')))),
        badFormat("Invalid size for BWF bext chunk"));
    EXPECT_EQ(decoder->format(), Format());
    EXPECT_EQ(decoder->totalFrames(), 0U);
    EXPECT_EQ(decoder->chunkCount(), 0U);
    EXPECT_FALSE(decoder->isTruncated());
    EXPECT_EQ(decoder->framesRemaining(), 0U);
    // The file is not held open: it may be replaced.
    directory.file(u8"a.wav", bytes);
    EXPECT_EQ(told(decoder->resync()), "success");
    EXPECT_EQ(decoder->totalFrames(), 1U);
    EXPECT_TRUE(decoder->isTruncated());
}

} // namespace
