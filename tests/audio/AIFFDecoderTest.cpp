#include "audio/decode/AIFFDecoder.h"

#include "audio/SoundFileBytes.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace SoundFile;
using Audio::Decode::Format;
using Audio::Decode::AIFF::Decoder;

const std::string fourSamples("\x00\x01\x00\x02\x00\x03\x00\x04", 8);

/// A sample rate of 2^power times a mantissa that begins with `high`.
std::string rate(int power, std::uint32_t high, std::uint32_t low = 0, bool negative = false) {
    return big(static_cast<std::uint16_t>((power + 16383) | (negative ? 0x8000 : 0)), 2) + big(high, 4) +
           big(low, 4);
}

class AIFFDecoderTest : public testing::Test {
protected:
    Decoder& open(const std::string& bytes) {
        decoder = std::make_unique<Decoder>(directory.file(u8"a.aiff", bytes));
        return *decoder;
    }
    std::string syncOf(const std::string& bytes) { return told(open(bytes).sync()); }
    std::string commonOf(const std::string& body, const std::string& kind = "AIFF") {
        return syncOf(form(kind, aiffChunk("COMM", body) + aiffChunk("SSND", sound("abcdefgh"))));
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

TEST_F(AIFFDecoderTest, A_small_file_syncs) {
    EXPECT_EQ(syncOf(smallAiff(fourSamples)), "success");
    EXPECT_EQ(decoder->fileType(), 3U);
    EXPECT_EQ(decoder->format(), (Format{1, 2, 44100, 0, 0}));
    EXPECT_EQ(decoder->sampleBits(), 16U);
    EXPECT_TRUE(decoder->isBigEndian());
    EXPECT_EQ(decoder->totalFrames(), 4U);
    EXPECT_FALSE(decoder->isTruncated());
    EXPECT_EQ(decoder->chunkCount(), 0U);
    EXPECT_TRUE(decoder->diagnostics().empty());
    EXPECT_EQ(raw(), fourSamples);
}

TEST_F(AIFFDecoderTest, A_missing_file_is_the_files_error) {
    EXPECT_EQ(told(Decoder(directory / u8"missing.aiff").sync()), "File 2: Error opening file");
}

TEST_F(AIFFDecoderTest, A_directory_is_the_files_error) {
    EXPECT_EQ(told(Decoder(directory / u8"").sync()), "File 2: Error opening file");
}

TEST_F(AIFFDecoderTest, A_file_below_12_bytes_tells_its_size) {
    EXPECT_EQ(syncOf(""), badFormat("File size too small to contain a valid AIFF header: 0 bytes"));
    EXPECT_EQ(
        syncOf(smallAiff("").substr(0, 11)),
        badFormat("File size too small to contain a valid AIFF header: 11 bytes"));
}

TEST_F(AIFFDecoderTest, Another_identifier_or_kind_is_an_invalid_header) {
    const std::string rest = smallAiff(fourSamples).substr(12);
    EXPECT_EQ(syncOf("FORX" + big(100, 4) + "AIFF" + rest), badFormat("Invalid AIFF header"));
    EXPECT_EQ(syncOf("FORM" + big(100, 4) + "8SVX" + rest), badFormat("Invalid AIFF header"));
    EXPECT_EQ(syncOf("FORM" + big(100, 4) + "aifc" + rest), badFormat("Invalid AIFF header"));
}

TEST_F(AIFFDecoderTest, A_missing_common_chunk_is_told_before_missing_sound) {
    EXPECT_EQ(syncOf(form("AIFF", "")), badFormat("Didn't find common chunk", 2));
    EXPECT_EQ(
        syncOf(form("AIFF", aiffChunk("SSND", sound("abcd")))), badFormat("Didn't find common chunk", 2));
    EXPECT_EQ(
        syncOf(form("AIFF", aiffChunk("COMM", common(1, 0, 16)))),
        badFormat("Didn't find sound data chunk", 1));
}

TEST_F(AIFFDecoderTest, The_size_in_the_header_is_not_used) {
    EXPECT_EQ(syncOf("FORM" + big(0, 4) + smallAiff(fourSamples).substr(8)), "success");
    EXPECT_EQ(syncOf("FORM" + big(0xFFFFFFFF, 4) + smallAiff(fourSamples).substr(8)), "success");
}

TEST_F(AIFFDecoderTest, Sound_before_the_common_chunk_is_accepted) {
    EXPECT_EQ(
        syncOf(form("AIFF", aiffChunk("SSND", sound(fourSamples)) + aiffChunk("COMM", common(1, 4, 16)))),
        "success");
    EXPECT_EQ(raw(), fourSamples);
}

TEST_F(AIFFDecoderTest, A_short_common_chunk_tells_both_sizes) {
    EXPECT_EQ(
        commonOf(common(1, 2, 16).substr(0, 16)),
        badFormat("Common chunk is 16 bytes, expected at least 18 bytes"));
    EXPECT_EQ(commonOf(""), badFormat("Common chunk is 0 bytes, expected at least 18 bytes"));
}

TEST_F(AIFFDecoderTest, The_pad_byte_belongs_to_the_body) {
    // 17 bytes and their pad byte are 18.
    EXPECT_EQ(commonOf(common(1, 2, 16).substr(0, 17)), "success");
    EXPECT_EQ(syncOf(smallAiff(fourSamples, aiffChunk("abcd", "123") + aiffChunk("efgh", "12"))), "success");
    ASSERT_EQ(decoder->chunkCount(), 2U);
    EXPECT_EQ(decoder->chunk(0).value.size, 4U);
    EXPECT_EQ(decoder->chunk(1).value.size, 2U);
    EXPECT_EQ(decoder->chunk(1).value.position, decoder->chunk(0).value.position + 4 + 8);
    EXPECT_TRUE(decoder->chunk(1).value.afterData);
}

TEST_F(AIFFDecoderTest, An_odd_chunk_at_the_very_end_needs_no_pad_byte) {
    EXPECT_EQ(syncOf(smallAiff(fourSamples, "abcd" + big(3, 4) + "123")), "success");
    ASSERT_EQ(decoder->chunkCount(), 1U);
    EXPECT_EQ(decoder->chunk(0).value.size, 3U);
    EXPECT_TRUE(decoder->diagnostics().empty());
}

TEST_F(AIFFDecoderTest, AIFF_with_18_bytes_of_COMM_has_no_compression_read) {
    EXPECT_EQ(commonOf(common(1, 4, 16)), "success");
    // Nor any, where there is one.
    EXPECT_EQ(commonOf(common(1, 4, 16, rate44100, "sowt")), "success");
    EXPECT_TRUE(decoder->isBigEndian());
}

TEST_F(AIFFDecoderTest, The_four_compression_types_are_known) {
    EXPECT_EQ(commonOf(common(1, 4, 16, rate44100, "NONE"), "AIFC"), "success");
    EXPECT_TRUE(decoder->isBigEndian());
    EXPECT_EQ(decoder->format().isFloat, 0U);
    EXPECT_EQ(commonOf(common(1, 4, 16, rate44100, "sowt"), "AIFC"), "success");
    EXPECT_FALSE(decoder->isBigEndian());
    EXPECT_EQ(decoder->format().isFloat, 0U);
    for (const char* type : {"fl32", "FL32"}) {
        // Whatever the bits field says.
        EXPECT_EQ(commonOf(common(1, 2, 16, rate44100, type), "AIFC"), "success");
        EXPECT_TRUE(decoder->isBigEndian());
        EXPECT_EQ(decoder->format(), (Format{1, 4, 44100, 1, 0}));
        EXPECT_EQ(decoder->sampleBits(), 32U);
    }
}

TEST_F(AIFFDecoderTest, Another_compression_type_is_told) {
    EXPECT_EQ(commonOf(common(1, 4, 16, rate44100, "ulaw"), "AIFC"), badFormat("Bad compression type: ulaw"));
    EXPECT_EQ(commonOf(common(1, 4, 16, rate44100, "none"), "AIFC"), badFormat("Bad compression type: none"));
    EXPECT_EQ(commonOf(common(1, 4, 16, rate44100, "SOWT"), "AIFC"), badFormat("Bad compression type: SOWT"));
    // AIFC whose chunk is too short for one: not what follows the chunk.
    EXPECT_EQ(commonOf(common(1, 4, 16), "AIFC"), badFormat("Bad compression type: "));
    // Before the number of channels.
    EXPECT_EQ(
        commonOf(common(51, 4, 16, rate44100, "ulaw"), "AIFC"), badFormat("Bad compression type: ulaw"));
}

TEST_F(AIFFDecoderTest, More_than_50_channels_are_refused) {
    EXPECT_EQ(commonOf(common(51, 1, 16)), badFormat("Bad number of channels: 51"));
    EXPECT_EQ(commonOf(common(32767, 1, 16)), badFormat("Bad number of channels: 32767"));
    EXPECT_EQ(commonOf(common(50, 0, 16)), "success");
    EXPECT_EQ(decoder->format().channels, 50U);
    // Before the sampling rate.
    EXPECT_EQ(commonOf(common(51, 1, 16, rate(8, 0x80000000))), badFormat("Bad number of channels: 51"));
}

TEST_F(AIFFDecoderTest, Fewer_channels_than_one_are_none_and_are_not_converted) {
    for (const int channels : {0, -1, -32768}) {
        EXPECT_EQ(commonOf(common(channels, 4, 16)), "success");
        EXPECT_EQ(decoder->format().channels, 0U);
        EXPECT_EQ(decoder->totalFrames(), 4U);
        float sample = 7;
        std::uint64_t framesRead = 9;
        EXPECT_EQ(
            told(decoder->ReadFloatInterleaved(3, &sample, framesRead)),
            badFormat("GetNextBlock 3 called, unsupported conversion"));
        EXPECT_EQ(framesRead, 0U);
        EXPECT_EQ(sample, 7);
    }
}

TEST_F(AIFFDecoderTest, Any_number_of_bits_syncs_and_some_are_converted) {
    for (int bits = -9; bits <= 70; ++bits) {
        EXPECT_EQ(commonOf(common(1, 1, bits)), "success");
        const unsigned bytes = bits < 0 ? 0 : (static_cast<unsigned>(bits) + 7) / 8;
        EXPECT_EQ(decoder->format().bytesPerSample, bytes);
        float sample = 0;
        std::uint64_t framesRead = 0;
        EXPECT_EQ(
            told(decoder->ReadFloatInterleaved(1, &sample, framesRead)),
            bytes >= 2 && bytes <= 4 ? "success"
                                     : badFormat("GetNextBlock 1 called, unsupported conversion"));
    }
}

TEST_F(AIFFDecoderTest, Samples_of_8_bits_have_no_conversion_but_are_read_raw) {
    EXPECT_EQ(commonOf(common(1, 8, 8)), "success");
    std::int16_t shorts[8] = {};
    float floats[8] = {};
    float* const floatArrays[] = {floats};
    std::int16_t* const shortArrays[] = {shorts};
    std::uint64_t framesRead = 0;
    const std::string error = badFormat("GetNextBlock 5 called, unsupported conversion");
    EXPECT_EQ(told(decoder->ReadFloatInterleaved(5, floats, framesRead)), error);
    EXPECT_EQ(told(decoder->ReadFloatDeinterleaved(5, floatArrays, framesRead)), error);
    EXPECT_EQ(told(decoder->ReadInt16Interleaved(5, shorts, framesRead)), error);
    EXPECT_EQ(told(decoder->ReadInt16Deinterleaved(5, shortArrays, framesRead)), error);
    EXPECT_EQ(raw(), "abcdefgh");
}

TEST_F(AIFFDecoderTest, The_sampling_rate_is_an_80_bit_float) {
    const auto rateOf = [&](const std::string& bytes) {
        const std::string result = commonOf(common(1, 1, 16, bytes));
        return result == "success" ? std::to_string(decoder->format().sampleRate) : result;
    };
    EXPECT_EQ(rateOf(rate44100), "44100");
    EXPECT_EQ(rateOf(rate(15, 0xBB800000)), "48000");
    EXPECT_EQ(rateOf(rate(16, 0xBB800000)), "96000");
    EXPECT_EQ(rateOf(rate(9, 0xFA000000)), "1000");
    EXPECT_EQ(rateOf(rate(9, 0xF9C00000)), badFormat("Bad sampling rate: 999"));
    EXPECT_EQ(rateOf(rate(19, 0xF4240000)), "1000000");
    EXPECT_EQ(rateOf(rate(19, 0xF4241000)), badFormat("Bad sampling rate: 1000001"));
    // Rounded: 999.5 up, a little less down; the lower half of the mantissa counts.
    EXPECT_EQ(rateOf(rate(9, 0xF9E00000)), "1000");
    EXPECT_EQ(rateOf(rate(9, 0xF9DFFFFF)), badFormat("Bad sampling rate: 999"));
    EXPECT_EQ(rateOf(rate(47, 0x00000000, 0xAC440000)), "44100");
    EXPECT_EQ(rateOf(rate(15, 0xAC440000, 0, true)), badFormat("Bad sampling rate: -44100"));
    EXPECT_EQ(rateOf(std::string(10, '\0')), badFormat("Bad sampling rate: 0"));
    EXPECT_EQ(
        rateOf("\x7F\xFF" + std::string(8, '\xFF')), badFormat("Bad sampling rate: 9223372036854775807"));
    EXPECT_EQ(rateOf(std::string(10, '\xFF')), badFormat("Bad sampling rate: -9223372036854775807"));
}

TEST_F(AIFFDecoderTest, The_frames_are_those_of_the_common_chunk) {
    EXPECT_EQ(
        syncOf(form("AIFF", aiffChunk("COMM", common(1, 2, 16)) + aiffChunk("SSND", sound(fourSamples)))),
        "success");
    EXPECT_EQ(decoder->totalFrames(), 2U);
    // Where it claims more than there is the file's end is what stops a read.
    EXPECT_EQ(
        syncOf(form("AIFF", aiffChunk("COMM", common(1, 100, 16)) + aiffChunk("SSND", sound(fourSamples)))),
        "success");
    EXPECT_EQ(decoder->totalFrames(), 100U);
    EXPECT_FALSE(decoder->isTruncated());
    std::vector<float> samples(100);
    std::uint64_t framesRead = 0;
    EXPECT_EQ(
        told(decoder->ReadFloatInterleaved(100, samples.data(), framesRead)),
        "File 3: Attempt to read 2 bytes, only read 0 bytes");
    EXPECT_EQ(framesRead, 4U);
}

TEST_F(AIFFDecoderTest, Sound_past_the_end_is_truncated_to_what_is_there) {
    const std::string commonChunk = aiffChunk("COMM", common(2, 100, 16));
    EXPECT_EQ(
        syncOf(form("AIFF", commonChunk + "SSND" + big(408, 4) + sound(fourSamples + "ab"))), "success");
    EXPECT_TRUE(decoder->isTruncated());
    EXPECT_EQ(decoder->totalFrames(), 2U);
    EXPECT_EQ(raw(), fourSamples);
    // The lesser of both.
    EXPECT_EQ(
        syncOf(form("AIFF", aiffChunk("COMM", common(2, 1, 16)) + "SSND" + big(408, 4) + sound(fourSamples))),
        "success");
    EXPECT_TRUE(decoder->isTruncated());
    EXPECT_EQ(decoder->totalFrames(), 1U);
}

TEST_F(AIFFDecoderTest, Truncated_frames_are_counted_by_whole_bytes_of_the_bits) {
    EXPECT_EQ(
        syncOf(
            form("AIFF", aiffChunk("COMM", common(1, 100, 12)) + "SSND" + big(1000, 4) + sound(fourSamples))),
        "success");
    EXPECT_EQ(decoder->totalFrames(), 8U);
    EXPECT_EQ(
        syncOf(
            form("AIFF", aiffChunk("COMM", common(1, 100, 7)) + "SSND" + big(1000, 4) + sound(fourSamples))),
        "success");
    EXPECT_EQ(decoder->totalFrames(), 0U);
    EXPECT_EQ(
        syncOf(form(
            "AIFF", aiffChunk("COMM", common(-1, 100, 16)) + "SSND" + big(1000, 4) + sound(fourSamples))),
        "success");
    EXPECT_EQ(decoder->totalFrames(), 0U);
}

TEST_F(AIFFDecoderTest, The_oversize_diagnostic_is_no_failure) {
    EXPECT_EQ(
        syncOf(
            form("AIFF", aiffChunk("COMM", common(1, 4, 16)) + "SSND" + big(1000, 4) + sound(fourSamples))),
        "success");
    ASSERT_EQ(decoder->diagnostics().size(), 1U);
    EXPECT_EQ(
        decoder->diagnostics()[0].toStdString(),
        "Chunk 'SSND' has a size (1000 B) that is larger than the remaining file (16 B).");
    EXPECT_EQ(syncOf(smallAiff(fourSamples, "junk" + big(3, 4) + "ab")), "success");
    ASSERT_EQ(decoder->diagnostics().size(), 1U);
    EXPECT_EQ(
        decoder->diagnostics()[0].toStdString(),
        "Chunk 'junk' has a size (3 B) that is larger than the remaining file (2 B).");
    EXPECT_EQ(decoder->chunkCount(), 0U);
}

TEST_F(AIFFDecoderTest, A_chunk_that_is_too_long_ends_the_walk_silently) {
    EXPECT_EQ(
        syncOf(form("AIFF", "junk" + big(1000, 4) + smallAiff(fourSamples).substr(12))),
        badFormat("Didn't find common chunk", 2));
    EXPECT_EQ(syncOf(smallAiff(fourSamples, "COMM" + big(18, 4) + "short")), "success");
}

TEST_F(AIFFDecoderTest, Less_than_a_chunk_header_at_the_end_is_no_error) {
    for (std::size_t count = 1; count < 8; ++count) {
        EXPECT_EQ(syncOf(smallAiff(fourSamples, std::string("COMM\xFF\xFF\xFF").substr(0, count))), "success")
            << count;
        EXPECT_TRUE(decoder->diagnostics().empty());
    }
}

TEST_F(AIFFDecoderTest, Samples_begin_at_the_offset) {
    EXPECT_EQ(
        syncOf(form("AIFF", aiffChunk("COMM", common(1, 4, 16)) + aiffChunk("SSND", sound(fourSamples, 5)))),
        "success");
    EXPECT_EQ(raw(), fourSamples);
}

TEST_F(AIFFDecoderTest, An_offset_beyond_the_chunk_fails) {
    const std::string commonChunk = aiffChunk("COMM", common(1, 4, 16));
    const auto soundOf = [&](std::uint32_t offset, std::uint32_t size) {
        return syncOf(
            form("AIFF", commonChunk + "SSND" + big(size, 4) + big(offset, 4) + big(0, 4) + fourSamples));
    };
    EXPECT_EQ(soundOf(9, 16), badFormat("Invalid offset 9, data chunk only contains 16 bytes"));
    EXPECT_EQ(
        soundOf(0xFFFFFFFF, 16), badFormat("Invalid offset 4294967295, data chunk only contains 16 bytes"));
    EXPECT_EQ(soundOf(0, 4), badFormat("Invalid offset 0, data chunk only contains 4 bytes"));
    EXPECT_EQ(soundOf(8, 16), "success");
    // Of a truncated chunk what is left counts.
    EXPECT_EQ(soundOf(9, 1000), badFormat("Invalid offset 9, data chunk only contains 16 bytes"));
}

TEST_F(AIFFDecoderTest, A_sound_chunk_without_room_for_its_head_is_the_files_error) {
    EXPECT_EQ(
        syncOf(form("AIFF", aiffChunk("COMM", common(1, 4, 16)) + "SSND" + big(100, 4) + "abc")),
        "File 3: Attempt to read 8 bytes, only read 3 bytes");
}

TEST_F(AIFFDecoderTest, Only_the_first_of_COMM_and_SSND_counts) {
    EXPECT_EQ(syncOf(smallAiff(fourSamples, aiffChunk("COMM", "bad") + aiffChunk("SSND", "bad"))), "success");
    EXPECT_EQ(decoder->totalFrames(), 4U);
    EXPECT_EQ(decoder->chunkCount(), 0U);
    EXPECT_EQ(raw(), fourSamples);
}

TEST_F(AIFFDecoderTest, Sowt_data_reads_as_the_same_data_in_NONE) {
    for (const int bits : {16, 24, 32}) {
        const auto bytes = static_cast<unsigned>(bits / 8);
        std::string littleEndian;
        std::string bigEndian;
        for (std::uint64_t i = 0; i < 100; ++i) {
            littleEndian += little(i * 0x123456789 + 77, bytes);
            bigEndian += big(i * 0x123456789 + 77, bytes);
        }
        const auto read = [&](const std::string& type, const std::string& samples) {
            EXPECT_EQ(
                syncOf(form(
                    "AIFC", aiffChunk("COMM", common(2, 50, bits, rate44100, type)) +
                                aiffChunk("SSND", sound(samples)))),
                "success");
            std::vector<float> floats(100, 7);
            std::uint64_t framesRead = 0;
            EXPECT_EQ(told(decoder->ReadFloatInterleaved(50, floats.data(), framesRead)), "success");
            EXPECT_EQ(framesRead, 50U);
            return floats;
        };
        EXPECT_EQ(read("sowt", littleEndian), read("NONE", bigEndian)) << bits;
    }
}

TEST_F(AIFFDecoderTest, A_failed_sync_leaves_nothing_behind_and_may_be_tried_again) {
    ASSERT_EQ(
        syncOf(form(
            "AIFF", aiffChunk("abcd", "x") + aiffChunk("APPL", "sigx") + "SSND" + big(1000, 4) + sound(""))),
        badFormat("Didn't find common chunk", 2));
    EXPECT_EQ(decoder->format(), Format());
    EXPECT_EQ(decoder->chunkCount(), 0U);
    EXPECT_TRUE(decoder->applicationChunks().empty());
    EXPECT_FALSE(decoder->isTruncated());
    // But for what was odd about it.
    ASSERT_EQ(decoder->diagnostics().size(), 1U);
    EXPECT_EQ(
        decoder->diagnostics()[0].toStdString(),
        "Chunk 'SSND' has a size (1000 B) that is larger than the remaining file (8 B).");
    directory.file(u8"a.aiff", smallAiff(fourSamples));
    EXPECT_EQ(told(decoder->sync()), "success");
    EXPECT_TRUE(decoder->diagnostics().empty());
    EXPECT_EQ(decoder->totalFrames(), 4U);
}

} // namespace
