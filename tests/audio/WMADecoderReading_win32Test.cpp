// What comes after sync: reads and seeks.

#include "audio/decode/WMADecoder_win32.h"

#include "audio/SoundFileBytes.h"
#include "audio/StandInMediaLibrary_win32.h"
#include "audio/WMADecoderTest_win32.h"
#include "support/AllocationCount.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace Audio::Decode;
using namespace Audio::Decode::WMA;
using SoundFile::badFormat;
using SoundFile::told;

// ---- reading ----------------------------------------------------------------------------------------------

TEST_F(WMADecoderTest, Everything_before_sync_fails_with_its_message) {
    Decoder decoder(path);
    std::uint64_t got = 9;
    float value = 0;
    float* floats = &value;
    std::int16_t integer = 0;
    std::int16_t* integers = &integer;
    EXPECT_EQ(
        told(decoder.ReadFloatInterleaved(5, &value, got)),
        badFormat("ReadFloatInterleaved 5 when not sync'd"));
    EXPECT_EQ(got, 0U);
    EXPECT_EQ(
        told(decoder.ReadFloatDeinterleaved(6, &floats, got)),
        badFormat("ReadFloatDeinterleaved 6 when not sync'd"));
    EXPECT_EQ(
        told(decoder.ReadInt16Interleaved(7, &integer, got)),
        badFormat("ReadInt16Interleaved 7 when not sync'd"));
    EXPECT_EQ(
        told(decoder.ReadInt16Deinterleaved(8, &integers, got)),
        badFormat("ReadInt16Deinterleaved 8 when not sync'd"));
    EXPECT_EQ(
        told(decoder.ReadRawInterleaved(9, &integer, got)),
        badFormat("ReadRawInterleaved 9 when not sync'd"));
    EXPECT_EQ(told(decoder.seek(10)), badFormat("Seek to 10 when not sync'd"));
    EXPECT_EQ(told(decoder.seek(0)), "success");
    double both = 0;
    EXPECT_EQ(told(decoder.ReadFloatInterleaved(1, &both, got)), "success");
    EXPECT_EQ(got, 0U);
}

TEST_F(WMADecoderTest, Samples_come_in_order_however_they_are_delivered_and_asked_for) {
    for (const std::vector<std::size_t>& deliveries :
         {std::vector<std::size_t>{4608}, {1}, {3}, {4, 0, 7, 1, 0, 0, 4099}, {100'000}, {2, 65'536}}) {
        library.deliveries = deliveries;
        for (const std::uint64_t step : {1U, 7U, 256U, 1152U, 10'000U}) {
            library.offset = 0;
            library.delivery = 0;
            Decoder decoder(path);
            ASSERT_TRUE(decoder.sync());
            EXPECT_TRUE(readRest(decoder, step) == library.bytes) << deliveries[0] << " by " << step;
            EXPECT_EQ(decoder.position(), 3000U);
            EXPECT_EQ(library.sampleReferences(), 0);
        }
        library.objects.clear();
    }
}

TEST_F(SyncedWMADecoderTest, A_library_that_delivers_nothing_for_ever_ends_the_read) {
    library.deliveries = {0};
    std::vector<char> buffer(library.bytes.size());
    std::uint64_t got = 99;
    EXPECT_EQ(
        told(decoder.ReadRawInterleaved(1, buffer.data(), got)),
        badFormat("Unable to read buffer. 0x80004005"));
    EXPECT_EQ(got, 0U);
    EXPECT_EQ(library.sampleReferences(), 0);
    library.deliveries = {1024};
    EXPECT_EQ(told(decoder.ReadRawInterleaved(1, buffer.data(), got)), "success");
    EXPECT_EQ(got, 1U);
    EXPECT_EQ(std::string(buffer.data(), 4), library.bytes.substr(0, 4));
}

TEST_F(SyncedWMADecoderTest, No_more_is_asked_of_the_library_than_the_read_needs) {
    // 1024 bytes are 256 frames.
    std::vector<char> buffer(library.bytes.size());
    std::uint64_t got = 0;
    ASSERT_TRUE(decoder.ReadRawInterleaved(0, buffer.data(), got));
    EXPECT_EQ(library.callsOf("GetNextSample"), 0U);
    ASSERT_TRUE(decoder.ReadRawInterleaved(1, buffer.data(), got));
    EXPECT_EQ(library.callsOf("GetNextSample"), 1U);
    ASSERT_TRUE(decoder.ReadRawInterleaved(255, buffer.data(), got));
    EXPECT_EQ(library.callsOf("GetNextSample"), 1U);
    ASSERT_TRUE(decoder.ReadRawInterleaved(257, buffer.data(), got));
    EXPECT_EQ(library.callsOf("GetNextSample"), 3U);
    EXPECT_EQ(got, 257U);
    EXPECT_EQ(decoder.position(), 513U);
    EXPECT_EQ(decoder.framesRemaining(), 3000U - 513U);
}

TEST_F(WMADecoderTest, Integers_of_16_and_24_bits_become_floats_and_int16) {
    struct Case {
        unsigned bits;
        std::string bytes;
        std::vector<float> floats;
        std::vector<std::int16_t> integers;
    };
    const std::string last16("\x00\x80\x01\x80\x00\x00\xFF\x7F\x00\x40\xFF\xFF", 12);
    const std::string last24("\x00\x00\x80\x00\x00\x40\xFF\xFF\x7F\x01\x00\x00\xFF\xFF\xFF\x80\x34\x12", 18);
    for (const Case& c :
         {Case{
              16,
              last16,
              {-1, -32767.0F / 32768, 0, 32767.0F / 32768, 0.5F, -1.0F / 32768},
              {-32768, -32767, 0, 32767, 16384, -1}},
          Case{
              24,
              last24,
              {-1, 0.5F, 8388607.0F / 8388608, 1.0F / 8388608, -1.0F / 8388608, 0x123480 / 8388608.0F},
              {-32768, 16384, 32767, 0, -1, 0x1234}}}) {
        setFormat(waveFormat(2, c.bits, 1000));
        library.bytes = c.bytes;
        library.frameBytes = c.bytes.size() / 3;
        library.deliveries = {5};
        Decoder decoder(path);
        ASSERT_EQ(told(decoder.sync()), "success");
        const auto rewind = [&] { ASSERT_TRUE(decoder.seek(0)); };
        std::uint64_t got = 0;
        library.offset = 0;
        std::vector<float> floats(6);
        ASSERT_EQ(told(decoder.ReadFloatInterleaved(9, floats.data(), got)), "success");
        EXPECT_EQ(got, 3U);
        EXPECT_EQ(floats, c.floats);
        rewind();
        std::array<std::array<float, 3>, 2> apart{};
        const std::array<float*, 2> floatChannels{apart[0].data(), apart[1].data()};
        ASSERT_TRUE(decoder.ReadFloatDeinterleaved(3, floatChannels.data(), got));
        EXPECT_EQ(got, 3U);
        rewind();
        std::vector<std::int16_t> integers(6);
        ASSERT_TRUE(decoder.ReadInt16Interleaved(3, integers.data(), got));
        EXPECT_EQ(integers, c.integers);
        rewind();
        std::array<std::array<std::int16_t, 3>, 2> integersApart{};
        const std::array<std::int16_t*, 2> integerChannels{integersApart[0].data(), integersApart[1].data()};
        ASSERT_TRUE(decoder.ReadInt16Deinterleaved(3, integerChannels.data(), got));
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_EQ(apart[i % 2][i / 2], c.floats[i]) << i;
            EXPECT_EQ(integersApart[i % 2][i / 2], c.integers[i]) << i;
        }
        rewind();
        std::string raw(c.bytes.size(), '\0');
        ASSERT_TRUE(decoder.ReadRawInterleaved(3, raw.data(), got));
        EXPECT_EQ(raw, c.bytes);
    }
}

TEST_F(WMADecoderTest, Other_widths_can_only_be_read_raw) {
    for (const unsigned bits : {8U, 32U}) {
        setFormat(waveFormat(2, bits, 1000));
        library.bytes = std::string(40, 'x');
        library.offset = 0;
        library.frameBytes = std::size_t{2} * bits / 8;
        Decoder decoder(path);
        ASSERT_EQ(told(decoder.sync()), "success");
        std::uint64_t got = 9;
        std::array<float, 4> floats{};
        std::array<float*, 2> floatChannels{&floats[0], &floats[2]};
        std::array<std::int16_t, 4> integers{};
        std::array<std::int16_t*, 2> integerChannels{&integers[0], &integers[2]};
        const std::string floatText = "ReadFloatInterleaved 2 called, unsupported conversion";
        const std::string integerText = "ReadInt16Interleaved 2 called, unsupported conversion";
        EXPECT_EQ(told(decoder.ReadFloatInterleaved(2, floats.data(), got)), badFormat(floatText));
        EXPECT_EQ(got, 0U);
        EXPECT_EQ(told(decoder.ReadFloatDeinterleaved(2, floatChannels.data(), got)), badFormat(floatText));
        EXPECT_EQ(told(decoder.ReadInt16Interleaved(2, integers.data(), got)), badFormat(integerText));
        EXPECT_EQ(
            told(decoder.ReadInt16Deinterleaved(2, integerChannels.data(), got)), badFormat(integerText));
        EXPECT_EQ(told(decoder.ReadFloatInterleaved(0, floats.data(), got)), "success");
        EXPECT_EQ(readRest(decoder, 2), library.bytes);
    }
}

TEST_F(SyncedWMADecoderTest, The_end_of_the_stream_cuts_the_count) {
    std::vector<float> samples(2 * 4000);
    std::uint64_t got = 0;
    ASSERT_EQ(told(decoder.ReadFloatInterleaved(4000, samples.data(), got)), "success");
    EXPECT_EQ(got, 3000U);
    EXPECT_EQ(decoder.position(), 3000U);
    // As the header said: nothing was exceeded.
    EXPECT_EQ(decoder.totalFrames(), 3000U);
    EXPECT_FALSE(decoder.isTotalExceeded());
    EXPECT_EQ(decoder.framesRemaining(), 0U);
    // That it has ended is remembered: libraries need not say it twice.
    library.calls.clear();
    ASSERT_EQ(told(decoder.ReadFloatInterleaved(1, samples.data(), got)), "success");
    EXPECT_EQ(got, 0U);
    EXPECT_TRUE(library.calls.empty());
}

TEST_F(SyncedWMADecoderTest, A_sound_that_is_shorter_than_its_header_says_ends_where_it_ends) {
    library.bytes.resize(4 * 100);
    std::vector<float> samples(2 * 4000);
    std::uint64_t got = 0;
    ASSERT_EQ(told(decoder.ReadFloatInterleaved(4000, samples.data(), got)), "success");
    EXPECT_EQ(got, 100U);
    EXPECT_EQ(decoder.totalFrames(), 3000U);
    EXPECT_EQ(decoder.framesRemaining(), 2900U);
    EXPECT_FALSE(decoder.isTotalExceeded());
}

TEST_F(SyncedWMADecoderTest, Part_of_a_frame_at_the_end_is_none) {
    library.bytes.resize(4 * 100 + 3);
    EXPECT_EQ(readRest(decoder, 64), library.bytes.substr(0, 400));
    EXPECT_EQ(decoder.position(), 100U);
}

TEST_F(WMADecoderTest, Reading_past_the_headers_total_moves_it_on) {
    library.duration = 10'000'000; // 1000 frames of the 3000
    Decoder decoder(path);
    ASSERT_TRUE(decoder.sync());
    EXPECT_EQ(decoder.totalFrames(), 1000U);
    std::vector<float> samples(2 * 4000);
    std::uint64_t got = 0;
    ASSERT_TRUE(decoder.ReadFloatInterleaved(1000, samples.data(), got));
    EXPECT_EQ(decoder.totalFrames(), 1000U);
    EXPECT_FALSE(decoder.isTotalExceeded());
    ASSERT_TRUE(decoder.ReadFloatInterleaved(1, samples.data(), got));
    EXPECT_EQ(got, 1U);
    EXPECT_EQ(decoder.totalFrames(), 1001U + 1024U);
    EXPECT_EQ(decoder.framesRemaining(), 1024U);
    EXPECT_TRUE(decoder.isTotalExceeded());
    ASSERT_TRUE(decoder.ReadFloatInterleaved(1024, samples.data(), got));
    EXPECT_EQ(got, 1024U);
    EXPECT_EQ(decoder.totalFrames(), 2025U);
    // Once more, in a read of more than one delivery.
    ASSERT_TRUE(decoder.ReadFloatInterleaved(4000, samples.data(), got));
    EXPECT_EQ(got, 3000U - 2025U);
    EXPECT_EQ(decoder.totalFrames(), 3000U + 1024U);
    EXPECT_TRUE(decoder.isTotalExceeded());
    // Seeks are measured by what is known now, and the next decoder begins anew.
    EXPECT_EQ(told(decoder.seek(4025)), badFormat("Seek to 4025, total sample frames 4024"));
    EXPECT_EQ(told(decoder.seek(4024)), "success");
    Decoder second(path);
    ASSERT_TRUE(second.sync());
    EXPECT_EQ(second.totalFrames(), 1000U);
    EXPECT_FALSE(second.isTotalExceeded());
}

TEST_F(SyncedWMADecoderTest, A_failing_read_gives_what_came_before_and_can_be_repeated) {
    for (const char* call : {"GetNextSample", "GetBufferAndLength"}) {
        std::vector<char> buffer(library.bytes.size());
        std::uint64_t got = 0;
        ASSERT_TRUE(decoder.ReadRawInterleaved(300, buffer.data(), got));
        library.answers[call] = static_cast<HRESULT>(0xC00D0026UL);
        // Of the second delivery, 212 frames are left.
        EXPECT_EQ(
            told(decoder.ReadRawInterleaved(1000, buffer.data() + 1200, got)),
            badFormat("Unable to read buffer. 0xC00D0026"));
        EXPECT_EQ(got, 212U);
        EXPECT_EQ(decoder.position(), 512U);
        EXPECT_EQ(library.sampleReferences(), 0);
        EXPECT_EQ(
            told(decoder.ReadRawInterleaved(1, buffer.data(), got)),
            badFormat("Unable to read buffer. 0xC00D0026"));
        EXPECT_EQ(got, 0U);
        EXPECT_EQ(std::string(buffer.data() + 1200, 848), library.bytes.substr(1200, 848));
        library.answers.erase(call);
        // What was delivered and lost is asked for again.
        ASSERT_EQ(told(decoder.ReadRawInterleaved(100, buffer.data(), got)), "success");
        EXPECT_EQ(got, 100U);
        EXPECT_EQ(std::string(buffer.data(), 400), library.bytes.substr(2048, 400));
        ASSERT_TRUE(decoder.seek(0));
    }
}

TEST_F(SyncedWMADecoderTest, A_sample_that_is_missing_or_has_no_bytes_is_a_failure) {
    std::uint64_t got = 0;
    std::array<char, 4> frame{};
    for (const char* call : {"GetNextSample", "GetBufferAndLength"}) {
        library.givesNothing = call;
        EXPECT_EQ(
            told(decoder.ReadRawInterleaved(1, frame.data(), got)),
            badFormat("Unable to read buffer. 0x80004003"));
    }
}

TEST_F(SyncedWMADecoderTest, A_delivery_that_memory_has_no_room_for_is_a_failure) {
    library.deliveries = {12'000};
    std::vector<char> buffer(library.bytes.size());
    std::uint64_t got = 0;
    Result result;
    {
        // The buffer of a first read; what the message needs is less.
        const WithoutMemory without(50'000);
        result = decoder.ReadRawInterleaved(3000, buffer.data(), got);
    }
    EXPECT_EQ(told(result), badFormat("Unable to read buffer. 0x8007000E"));
    EXPECT_EQ(got, 0U);
    ASSERT_TRUE(decoder.ReadRawInterleaved(100, buffer.data(), got));
    EXPECT_EQ(got, 100U);
}

// ---- seeking ----------------------------------------------------------------------------------------------

TEST_F(SyncedWMADecoderTest, A_seek_is_applied_by_the_next_read) {
    std::array<char, 4> frame{};
    std::uint64_t got = 0;
    ASSERT_TRUE(decoder.ReadRawInterleaved(1, frame.data(), got));
    library.calls.clear();
    ASSERT_EQ(told(decoder.seek(2000)), "success");
    EXPECT_EQ(decoder.position(), 2000U);
    EXPECT_EQ(decoder.framesRemaining(), 1000U);
    ASSERT_EQ(told(decoder.seek(1500)), "success");
    ASSERT_TRUE(decoder.ReadRawInterleaved(0, frame.data(), got));
    EXPECT_TRUE(library.calls.empty());
    ASSERT_TRUE(decoder.ReadRawInterleaved(1, frame.data(), got));
    EXPECT_EQ(
        library.calls,
        (std::vector<std::string>{"SetRange 15000000 0", "GetNextSample of stream 1", "GetBufferAndLength"}));
    EXPECT_EQ(std::string(frame.data(), 4), library.bytes.substr(6000, 4));
    EXPECT_EQ(decoder.position(), 1501U);
    // The library goes on from there without being told again.
    ASSERT_TRUE(decoder.ReadRawInterleaved(1, frame.data(), got));
    EXPECT_EQ(std::string(frame.data(), 4), library.bytes.substr(6004, 4));
    EXPECT_EQ(library.callsOf("SetRange"), 1U);
}

TEST_F(SyncedWMADecoderTest, A_seek_away_and_back_lands_where_it_was) {
    std::array<char, 400> frames{};
    std::uint64_t got = 0;
    ASSERT_TRUE(decoder.ReadRawInterleaved(100, frames.data(), got));
    ASSERT_TRUE(decoder.seek(5));
    ASSERT_TRUE(decoder.seek(100));
    ASSERT_TRUE(decoder.ReadRawInterleaved(1, frames.data(), got));
    EXPECT_EQ(std::string(frames.data(), 4), library.bytes.substr(400, 4));
}

TEST_F(SyncedWMADecoderTest, A_seek_to_the_position_asks_nothing) {
    std::array<char, 4> frame{};
    std::uint64_t got = 0;
    ASSERT_TRUE(decoder.ReadRawInterleaved(1, frame.data(), got));
    ASSERT_TRUE(decoder.seek(1));
    ASSERT_TRUE(decoder.ReadRawInterleaved(1, frame.data(), got));
    EXPECT_EQ(library.callsOf("SetRange"), 0U);
    EXPECT_EQ(std::string(frame.data(), 4), library.bytes.substr(4, 4));
}

TEST_F(SyncedWMADecoderTest, A_seek_past_the_total_leaves_the_position) {
    ASSERT_TRUE(decoder.seek(7));
    EXPECT_EQ(told(decoder.seek(3001)), badFormat("Seek to 3001, total sample frames 3000"));
    EXPECT_EQ(told(decoder.seek(~0ULL)), badFormat("Seek to 18446744073709551615, total sample frames 3000"));
    EXPECT_EQ(decoder.position(), 7U);
    EXPECT_EQ(told(decoder.seek(3000)), "success");
    std::array<char, 4> frame{};
    std::uint64_t got = 9;
    EXPECT_EQ(told(decoder.ReadRawInterleaved(1, frame.data(), got)), "success");
    EXPECT_EQ(got, 0U);
}

TEST_F(SyncedWMADecoderTest, A_sound_that_has_ended_can_be_read_again) {
    EXPECT_EQ(readRest(decoder, 1000), library.bytes);
    ASSERT_TRUE(decoder.seek(2990));
    EXPECT_EQ(readRest(decoder, 3), library.bytes.substr(4 * 2990));
}

TEST_F(SyncedWMADecoderTest, A_range_that_the_library_refuses_is_asked_for_again_by_the_next_read) {
    std::array<char, 4> frame{};
    std::uint64_t got = 9;
    ASSERT_TRUE(decoder.ReadRawInterleaved(1, frame.data(), got));
    ASSERT_TRUE(decoder.seek(20));
    library.answers["SetRange"] = E_INVALIDARG;
    EXPECT_EQ(
        told(decoder.ReadRawInterleaved(1, frame.data(), got)),
        badFormat("Unable to read buffer. 0x80070057"));
    EXPECT_EQ(got, 0U);
    EXPECT_EQ(decoder.position(), 20U);
    library.answers.erase("SetRange");
    ASSERT_EQ(told(decoder.ReadRawInterleaved(1, frame.data(), got)), "success");
    EXPECT_EQ(std::string(frame.data(), 4), library.bytes.substr(80, 4));
}

TEST_F(WMADecoderTest, The_time_sought_is_the_frames_by_integer_arithmetic) {
    library.duration = 1'000'000ULL * 10'000'000ULL;
    for (const auto& [rate, frame, time] :
         {std::tuple{44100U, 1ULL, "226"}, std::tuple{44100U, 44099ULL, "9999773"},
          std::tuple{44100U, 44100ULL, "10000000"}, std::tuple{22050U, 3ULL, "1360"},
          std::tuple{48000U, 47'999'999'999ULL, "9999999999791"}}) {
        setFormat(waveFormat(2, 16, rate));
        Decoder decoder(path);
        ASSERT_TRUE(decoder.sync());
        ASSERT_EQ(told(decoder.seek(frame)), "success");
        std::array<char, 4> buffer{};
        std::uint64_t got = 0;
        ASSERT_TRUE(decoder.ReadRawInterleaved(1, buffer.data(), got));
        EXPECT_EQ(library.callsOf("SetRange " + std::string(time)), 1U) << frame << " at " << rate;
    }
}

} // namespace
