#include "audio/decode/AIFFDecoder.h"
#include "audio/decode/OpenStream.h"
#include "audio/decode/WAVDecoder.h"

#include "audio/SoundFileBytes.h"
#include "support/AllocationCount.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace SoundFile;
using Audio::Decode::Stream;

/// Stereo, of 16 bits: frame i is (i, -i).
std::string countingSamples(int frames, bool bigEndian = false) {
    std::string bytes;
    for (int i = 0; i < frames; ++i) {
        const auto number = [&](int value) {
            const auto bits = static_cast<std::uint16_t>(value);
            return bigEndian ? big(bits, 2) : little(bits, 2);
        };
        bytes += number(i) + number(-i);
    }
    return bytes;
}

std::string stereoWav(const std::string& samples) {
    return riff(wavChunk("fmt ", plainFormat(1, 2, 16)) + wavChunk("data", samples));
}

class SampleFileDecoderTest : public testing::Test {
protected:
    Audio::Decode::WAV::Decoder& wav(const std::string& bytes) {
        const String path = directory.file(u8"a.wav", bytes);
        decoder = std::make_unique<Audio::Decode::WAV::Decoder>(path);
        return static_cast<Audio::Decode::WAV::Decoder&>(*decoder);
    }
    Stream& synced(const std::string& bytes) {
        EXPECT_EQ(told(wav(bytes).sync()), "success");
        return *decoder;
    }

    TemporaryDirectory directory;
    std::unique_ptr<Stream> decoder;
    std::uint64_t framesRead = 99;
};

TEST_F(SampleFileDecoderTest, Every_operation_before_sync_says_so_with_its_count) {
    Stream& stream = wav(stereoWav(countingSamples(10)));
    float floats[4] = {};
    std::int16_t shorts[4] = {};
    float* const floatArrays[] = {floats, floats};
    std::int16_t* const shortArrays[] = {shorts, shorts};
    EXPECT_EQ(told(stream.seek(3)), badFormat("Seek to 3 when not sync'd"));
    EXPECT_EQ(
        told(stream.ReadFloatInterleaved(1, floats, framesRead)),
        badFormat("ReadFloatInterleaved 1 when not sync'd"));
    EXPECT_EQ(framesRead, 0U);
    EXPECT_EQ(
        told(stream.ReadFloatDeinterleaved(2, floatArrays, framesRead)),
        badFormat("ReadFloatDeinterleaved 2 when not sync'd"));
    EXPECT_EQ(
        told(stream.ReadInt16Interleaved(3, shorts, framesRead)),
        badFormat("ReadInt16Interleaved 3 when not sync'd"));
    EXPECT_EQ(
        told(stream.ReadInt16Deinterleaved(4, shortArrays, framesRead)),
        badFormat("ReadInt16Deinterleaved 4 when not sync'd"));
    EXPECT_EQ(
        told(stream.ReadRawInterleaved(0, shorts, framesRead)),
        badFormat("ReadRawInterleaved 0 when not sync'd"));
    EXPECT_EQ(stream.totalFrames(), 0U);
    EXPECT_EQ(stream.framesRemaining(), 0U);
    EXPECT_EQ(stream.format(), Audio::Decode::Format());
    EXPECT_FALSE(stream.isTruncated());
}

TEST_F(SampleFileDecoderTest, Seek_to_the_position_succeeds_even_before_sync) {
    EXPECT_TRUE(wav("").seek(0));
}

TEST_F(SampleFileDecoderTest, Seek_moves_the_position) {
    Stream& stream = synced(stereoWav(countingSamples(10)));
    for (const std::uint64_t frame : {7U, 0U, 9U, 9U, 10U, 3U}) {
        EXPECT_TRUE(stream.seek(frame));
        EXPECT_EQ(stream.position(), frame);
        EXPECT_EQ(stream.framesRemaining(), 10 - frame);
    }
    std::int16_t frame[2] = {};
    ASSERT_TRUE(stream.ReadInt16Interleaved(1, frame, framesRead));
    EXPECT_EQ(frame[0], 3);
    EXPECT_EQ(frame[1], -3);
    EXPECT_EQ(stream.position(), 4U);
}

TEST_F(SampleFileDecoderTest, Seek_past_the_end_leaves_the_position) {
    Stream& stream = synced(stereoWav(countingSamples(10)));
    ASSERT_TRUE(stream.seek(4));
    EXPECT_EQ(told(stream.seek(11)), badFormat("Seek to 11, total sample frames 10"));
    EXPECT_EQ(
        told(stream.seek(0xFFFFFFFFFFFFFFFFU)),
        badFormat("Seek to 18446744073709551615, total sample frames 10"));
    EXPECT_EQ(stream.position(), 4U);
}

TEST_F(SampleFileDecoderTest, Reads_are_cut_to_what_is_left) {
    Stream& stream = synced(stereoWav(countingSamples(10)));
    ASSERT_TRUE(stream.seek(8));
    std::vector<float> samples(2 * 10, 7.0F);
    ASSERT_TRUE(stream.ReadFloatInterleaved(10, samples.data(), framesRead));
    EXPECT_EQ(framesRead, 2U);
    EXPECT_EQ(samples[2], 9.0F / 32768);
    EXPECT_EQ(samples[4], 7.0F);
    ASSERT_TRUE(stream.ReadFloatInterleaved(10, samples.data(), framesRead));
    EXPECT_EQ(framesRead, 0U);
    EXPECT_EQ(stream.framesRemaining(), 0U);
}

TEST_F(SampleFileDecoderTest, A_read_of_no_frames_succeeds) {
    Stream& stream = synced(stereoWav(countingSamples(10)));
    EXPECT_TRUE(stream.ReadFloatInterleaved(0, static_cast<float*>(nullptr), framesRead));
    EXPECT_EQ(framesRead, 0U);
    EXPECT_EQ(stream.position(), 0U);
}

TEST_F(SampleFileDecoderTest, All_five_ways_of_reading_give_the_same_frames) {
    Stream& stream = synced(stereoWav(countingSamples(1000)));
    std::vector<float> floats(2000);
    std::vector<float> left(1000);
    std::vector<float> right(1000);
    std::vector<std::int16_t> shorts(2000);
    std::vector<std::int16_t> shortLeft(1000);
    std::vector<std::int16_t> shortRight(1000);
    std::string raw(4000, '\0');
    float* const arrays[] = {left.data(), right.data()};
    std::int16_t* const shortArrays[] = {shortLeft.data(), shortRight.data()};
    const auto back = [&] {
        EXPECT_EQ(framesRead, 1000U);
        EXPECT_EQ(stream.position(), 1000U);
        EXPECT_TRUE(stream.seek(0));
    };
    ASSERT_TRUE(stream.ReadFloatInterleaved(1000, floats.data(), framesRead));
    back();
    ASSERT_TRUE(stream.ReadFloatDeinterleaved(1000, arrays, framesRead));
    back();
    ASSERT_TRUE(stream.ReadInt16Interleaved(1000, shorts.data(), framesRead));
    back();
    ASSERT_TRUE(stream.ReadInt16Deinterleaved(1000, shortArrays, framesRead));
    back();
    ASSERT_TRUE(stream.ReadRawInterleaved(1000, raw.data(), framesRead));
    back();
    EXPECT_TRUE(raw == countingSamples(1000));
    for (std::size_t i = 0; i < 1000; ++i) {
        const auto value = static_cast<std::int16_t>(i);
        ASSERT_EQ(shorts[2 * i], value);
        ASSERT_EQ(shorts[2 * i + 1], -value);
        ASSERT_EQ(shortLeft[i], value);
        ASSERT_EQ(shortRight[i], -value);
        ASSERT_EQ(floats[2 * i], static_cast<float>(value) / 32768);
        ASSERT_EQ(left[i], floats[2 * i]);
        ASSERT_EQ(right[i], floats[2 * i + 1]);
    }
}

TEST_F(SampleFileDecoderTest, Doubles_are_not_read) {
    Stream& stream = synced(stereoWav(countingSamples(10)));
    double sample = 7.0;
    EXPECT_TRUE(stream.ReadFloatInterleaved(1, &sample, framesRead));
    EXPECT_EQ(framesRead, 0U);
    EXPECT_EQ(stream.position(), 0U);
}

TEST_F(SampleFileDecoderTest, Samples_of_8_bits_have_no_conversion_but_are_read_raw) {
    Stream& stream = synced(riff(wavChunk("fmt ", plainFormat(1, 2, 8)) + wavChunk("data", "abcdef")));
    float floats[6] = {};
    std::int16_t shorts[6] = {};
    float* const floatArrays[] = {floats, floats};
    std::int16_t* const shortArrays[] = {shorts, shorts};
    // The count is that of the call, also where less is left.
    EXPECT_EQ(
        told(stream.ReadFloatInterleaved(5, floats, framesRead)),
        badFormat("ReadFloatInterleaved 5 called, unsupported conversion"));
    EXPECT_EQ(
        told(stream.ReadFloatDeinterleaved(2, floatArrays, framesRead)),
        badFormat("ReadFloatInterleaved 2 called, unsupported conversion"));
    EXPECT_EQ(
        told(stream.ReadInt16Interleaved(2, shorts, framesRead)),
        badFormat("ReadInt16Interleaved 2 called, unsupported conversion"));
    EXPECT_EQ(
        told(stream.ReadInt16Deinterleaved(2, shortArrays, framesRead)),
        badFormat("ReadInt16Interleaved 2 called, unsupported conversion"));
    EXPECT_EQ(framesRead, 0U);
    EXPECT_EQ(stream.position(), 0U);
    char raw[6] = {};
    EXPECT_TRUE(stream.ReadRawInterleaved(5, raw, framesRead));
    EXPECT_EQ(framesRead, 3U);
    EXPECT_EQ(std::string(raw, 6), "abcdef");
    // Nothing left is nothing to convert.
    EXPECT_EQ(told(stream.ReadFloatInterleaved(5, floats, framesRead)), "success");
}

TEST_F(SampleFileDecoderTest, Floats_of_64_bits_and_of_16_have_no_conversion) {
    for (const unsigned bits : {64U, 16U, 24U, 8U}) {
        Stream& stream = synced(
            riff(wavChunk("fmt ", extensibleFormat(3, 1, bits)) + wavChunk("data", std::string(24, 'x'))));
        float sample = 0;
        EXPECT_EQ(
            told(stream.ReadFloatInterleaved(1, &sample, framesRead)),
            badFormat("ReadFloatInterleaved 1 called, unsupported conversion"));
        std::string raw(24, '\0');
        EXPECT_TRUE(stream.ReadRawInterleaved(100, raw.data(), framesRead));
        EXPECT_EQ(framesRead, 24 / (bits / 8));
    }
}

TEST_F(SampleFileDecoderTest, Frames_larger_than_any_window_are_read) {
    // 65535 channels of 24 bits; a marker sample at the end of each frame.
    constexpr unsigned channels = 65535;
    std::string frame(std::size_t{channels} * 3 - 3, '\0');
    const std::string samples = frame + std::string("\0\0\x40", 3) + frame + std::string("\0\0\xC0", 3);
    Stream& stream = synced(riff(wavChunk("fmt ", plainFormat(1, channels, 24)) + wavChunk("data", samples)));
    ASSERT_EQ(stream.totalFrames(), 2U);
    std::vector<std::vector<float>> got(channels, std::vector<float>(2, 7.0F));
    std::vector<float*> arrays;
    for (std::vector<float>& array : got) {
        arrays.push_back(array.data());
    }
    ASSERT_EQ(told(stream.ReadFloatDeinterleaved(2, arrays.data(), framesRead)), "success");
    EXPECT_EQ(framesRead, 2U);
    EXPECT_EQ(got[0][1], 0.0F);
    EXPECT_EQ(got[channels - 1][0], 0.5F);
    EXPECT_EQ(got[channels - 1][1], -0.5F);
}

TEST_F(SampleFileDecoderTest, Raw_frames_of_any_size_are_read) {
    // 20 channels of 65535 bits.
    const std::string samples(std::size_t{20} * 8192 * 3, 'r');
    Stream& stream =
        synced(riff(wavChunk("fmt ", extensibleFormat(1, 20, 65535)) + wavChunk("data", samples)));
    ASSERT_EQ(stream.totalFrames(), 3U);
    std::string raw(samples.size(), '\0');
    ASSERT_EQ(told(stream.ReadRawInterleaved(3, raw.data(), framesRead)), "success");
    EXPECT_EQ(framesRead, 3U);
    EXPECT_TRUE(raw == samples);
}

TEST_F(SampleFileDecoderTest, Pieces_of_any_size_add_up_to_the_whole) {
    constexpr int frames = 70'000;
    Stream& stream = synced(stereoWav(countingSamples(frames)));
    std::vector<float> whole(std::size_t{frames} * 2);
    ASSERT_TRUE(stream.ReadFloatInterleaved(frames, whole.data(), framesRead));
    ASSERT_EQ(framesRead, std::uint64_t{frames});
    ASSERT_TRUE(stream.seek(0));
    std::vector<float> pieces(whole.size());
    std::uint64_t done = 0;
    for (std::uint64_t piece = 1; done < frames; piece = piece * 3 % 5011) {
        ASSERT_TRUE(stream.ReadFloatInterleaved(piece, pieces.data() + done * 2, framesRead));
        ASSERT_NE(framesRead, 0U);
        done += framesRead;
    }
    EXPECT_TRUE(pieces == whole);
}

TEST_F(SampleFileDecoderTest, Nothing_is_allocated_after_the_first_read) {
    constexpr std::uint32_t frames = 100'000;
    std::vector<float> floats(2 * 8192);
    std::vector<std::int16_t> shorts(2 * 8192);
    std::vector<char> raw(8 * 8192);
    float* const floatArrays[] = {floats.data(), floats.data() + 8192};
    std::int16_t* const shortArrays[] = {shorts.data(), shorts.data() + 8192};
    const auto file = [](const std::string& kind, unsigned bits) {
        const std::string samples(std::size_t{frames} * 2 * (bits / 8), '\x11');
        const unsigned tag = kind == "float" ? 3 : 1;
        return kind == "float" || kind == "integer"
                   ? riff(wavChunk("fmt ", plainFormat(tag, 2, bits)) + wavChunk("data", samples))
                   : form(
                         "AIFC",
                         aiffChunk("COMM", common(2, frames, static_cast<int>(bits), rate44100, kind)) +
                             aiffChunk("SSND", sound(samples)));
    };
    for (const auto& [kind, bits] : std::initializer_list<std::pair<const char*, unsigned>>{
             {"integer", 16},
             {"integer", 24},
             {"integer", 32},
             {"float", 32},
             {"NONE", 16},
             {"NONE", 24},
             {"NONE", 32},
             {"sowt", 24},
             {"fl32", 32}}) {
        SCOPED_TRACE(std::string(kind) + " " + std::to_string(bits));
        const auto stream = Audio::Decode::openStream(directory.file(u8"a", file(kind, bits)));
        ASSERT_EQ(told(stream->sync()), "success");
        const std::function<Audio::Decode::Result(std::uint64_t)> ways[] = {
            [&](std::uint64_t count) {
                return stream->ReadFloatDeinterleaved(count, floatArrays, framesRead);
            },
            [&](std::uint64_t count) {
                return stream->ReadFloatInterleaved(count, floats.data(), framesRead);
            },
            [&](std::uint64_t count) {
                return stream->ReadInt16Deinterleaved(count, shortArrays, framesRead);
            },
            [&](std::uint64_t count) {
                return stream->ReadInt16Interleaved(count, shorts.data(), framesRead);
            },
            [&](std::uint64_t count) { return stream->ReadRawInterleaved(count, raw.data(), framesRead); },
        };
        ASSERT_TRUE(ways[0](1));
        const std::uint64_t before = AllocationCount();
        bool good = true;
        std::uint64_t all = 0;
        for (const auto& read : ways) {
            for (const std::uint64_t count : {8192U, 61U, 4099U}) {
                good = stream->seek(frames / 3) && good;
                do {
                    good = read(count) && good;
                    all += framesRead;
                } while (framesRead != 0);
            }
        }
        EXPECT_EQ(AllocationCount() - before, 0U);
        EXPECT_TRUE(good);
        EXPECT_EQ(all, std::uint64_t{15} * (frames - frames / 3));
    }
}

TEST_F(SampleFileDecoderTest, Nothing_is_allocated_after_the_first_read_of_frames_larger_than_a_page) {
    constexpr unsigned channels = 2000;
    constexpr int frames = 1000;
    const std::string samples(std::size_t{frames} * channels * 3, '\x11');
    Stream& stream = synced(riff(wavChunk("fmt ", plainFormat(1, channels, 24)) + wavChunk("data", samples)));
    std::vector<float> buffer(std::size_t{channels} * 100);
    ASSERT_TRUE(stream.ReadFloatInterleaved(1, buffer.data(), framesRead));
    const std::uint64_t before = AllocationCount();
    bool good = true;
    for (const std::uint64_t count : {100U, 1U, 7U}) {
        do {
            good = stream.ReadFloatInterleaved(count, buffer.data(), framesRead) && good;
        } while (framesRead != 0);
        good = stream.seek(frames / 3) && good;
    }
    EXPECT_EQ(AllocationCount() - before, 0U);
    EXPECT_TRUE(good);
    EXPECT_EQ(buffer[0], static_cast<float>(0x111111) / 8388608);
}

TEST_F(SampleFileDecoderTest, A_file_that_shrinks_while_it_is_read_ends_in_the_files_error) {
    constexpr int frames = 200'000;
    Stream& stream = synced(stereoWav(countingSamples(frames)));
    std::vector<float> samples(std::size_t{frames} * 2);
    ASSERT_TRUE(stream.ReadFloatInterleaved(10, samples.data(), framesRead));
    // 44 bytes of header, 100'000 frames of 4 bytes, and half a frame.
    std::filesystem::resize_file(directory.path() / "a.wav", 44 + 100'000 * 4 + 2);
    const auto result = stream.ReadFloatInterleaved(frames, samples.data(), framesRead);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().category().toStdString(), "File");
    EXPECT_EQ(result.error().code(), 3U);
    // What was still there has been read.
    EXPECT_EQ(framesRead, 100'000U - 10);
    EXPECT_EQ(stream.position(), 100'000U);
    EXPECT_EQ(samples[2 * 20], 30.0F / 32768);
    std::string raw(8, '\0');
    EXPECT_FALSE(stream.ReadRawInterleaved(2, raw.data(), framesRead));
    EXPECT_EQ(framesRead, 0U);
    // And what is there can be gone back to.
    ASSERT_TRUE(stream.seek(5));
    ASSERT_TRUE(stream.ReadFloatInterleaved(1, samples.data(), framesRead));
    EXPECT_EQ(samples[0], 5.0F / 32768);
}

TEST_F(SampleFileDecoderTest, An_AIFF_that_shrinks_while_it_is_read_ends_in_the_files_error) {
    constexpr std::uint32_t frames = 200'000;
    const String path = directory.file(u8"a", smallAiff(std::string(std::size_t{frames} * 2, '\x11')));
    Audio::Decode::AIFF::Decoder aiff(path);
    ASSERT_EQ(told(aiff.sync()), "success");
    std::vector<float> samples(frames);
    ASSERT_TRUE(aiff.ReadFloatInterleaved(10, samples.data(), framesRead));
    // 54 bytes of header.
    std::filesystem::resize_file(directory.path() / "a", 54 + 100'000 * 2 + 1);
    const auto result = aiff.ReadFloatInterleaved(frames, samples.data(), framesRead);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().category().toStdString(), "File");
    EXPECT_EQ(framesRead, 100'000U - 10);
    EXPECT_EQ(aiff.position(), 100'000U);
    EXPECT_EQ(samples[99'989], static_cast<float>(0x1111) / 32768);
}

TEST_F(SampleFileDecoderTest, Big_endian_samples_read_as_the_same_values) {
    const String path = directory.file(
        u8"a.aiff", form(
                        "AIFF", aiffChunk("COMM", common(2, 50, 16)) +
                                    aiffChunk("SSND", sound(countingSamples(50, true)))));
    Audio::Decode::AIFF::Decoder aiff(path);
    ASSERT_EQ(told(aiff.sync()), "success");
    std::vector<std::int16_t> samples(100);
    ASSERT_TRUE(aiff.ReadInt16Interleaved(50, samples.data(), framesRead));
    EXPECT_EQ(framesRead, 50U);
    EXPECT_EQ(samples[2 * 49], 49);
    EXPECT_EQ(samples[2 * 49 + 1], -49);
}

} // namespace
