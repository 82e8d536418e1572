#include "audio/REXDecoderFixture.h"
#include "support/AllocationCount.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

using namespace Audio::Decode;
using SoundFile::badFormat;
using SoundFile::told;

constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();

using REXSlicesTest = REXDecoderFixture;

TEST_F(REXSlicesTest, A_mono_loop_reads_as_its_slices_one_after_another) {
    // A sixteenth note has 5512.5 frames here.
    Stream& stream = synced(REXLoop(1, {{0, 5512, 3}, {3840, 5513, 5}, {7680, 400, 7}}));
    EXPECT_EQ(stream.format(), (Format{1, 4, 44100, 1, 0}));
    EXPECT_EQ(stream.totalFrames(), 11425U);
    EXPECT_EQ(stream.framesRemaining(), 11425U);
    EXPECT_EQ(stream.position(), 0U);
    EXPECT_FALSE(stream.isTruncated());
    const std::vector<float> got = samples()[0];
    for (std::size_t i = 0; i < got.size(); ++i) {
        const float expected = i < 5512    ? StandIn::sample(3, 0, i)
                               : i < 11025 ? StandIn::sample(5, 0, i - 5512)
                                           : StandIn::sample(7, 0, i - 11025);
        ASSERT_EQ(got[i], expected) << i;
    }
}

TEST_F(REXSlicesTest, A_stereo_loop_has_its_channels_apart) {
    Stream& stream = synced(REXLoop(2, {{0, 100, 3}}).with(REXLoop::SampleRate, 96000));
    EXPECT_EQ(stream.format(), (Format{2, 4, 96000, 1, 0}));
    const auto got = samples();
    ASSERT_EQ(got.size(), 2U);
    for (std::size_t i = 0; i < 100; ++i) {
        ASSERT_EQ(got[0][i], StandIn::sample(3, 0, i));
        ASSERT_EQ(got[1][i], StandIn::sample(3, 1, i));
    }
}

TEST_F(REXSlicesTest, Slices_that_overlap_are_mixed_each_at_its_start) {
    // 64 pulses are 91.875 frames: the slices begin at 0, 91, 183 and 275.
    const std::vector<REXLoop::Slice> slices{{0, 300, 1}, {64, 250, 2}, {128, 120, 4}, {192, 90, 8}};
    const std::size_t starts[] = {0, 91, 183, 275};
    Stream& stream = synced(REXLoop(2, slices));
    ASSERT_EQ(stream.totalFrames(), 365U);
    const auto got = samples();
    for (std::size_t channel = 0; channel < 2; ++channel) {
        std::vector<double> expected(365);
        for (std::size_t s = 0; s < slices.size(); ++s) {
            for (std::size_t i = 0; i < static_cast<std::size_t>(slices[s].length); ++i) {
                expected[starts[s] + i] += double{StandIn::sample(slices[s].seed, channel, i)};
            }
        }
        for (std::size_t i = 0; i < expected.size(); ++i) {
            ASSERT_EQ(got[channel][i], expected[i]) << i;
        }
    }
}

TEST_F(REXSlicesTest, Between_slices_is_silence) {
    Stream& stream = synced(REXLoop(1, {{15360, 10, 3}, {30720, 10, 5}}));
    ASSERT_EQ(stream.totalFrames(), 44110U);
    const std::vector<float> got = samples()[0];
    for (std::size_t i = 0; i < got.size(); ++i) {
        const float expected = i >= 44100                ? StandIn::sample(5, 0, i - 44100)
                               : i >= 22050 && i < 22060 ? StandIn::sample(3, 0, i - 22050)
                                                         : 0.0F;
        ASSERT_EQ(got[i], expected) << i;
    }
}

TEST_F(REXSlicesTest, Slices_stand_where_their_time_is_at_the_original_tempo) {
    struct Case {
        std::int32_t pulses;
        std::int32_t sampleRate;
        std::int32_t originalTempo;
        std::uint64_t frame;
    };
    // Seconds are pulses / 15360 * 60'000 / tempo; parts of a frame do not count.
    for (const Case& c : std::initializer_list<Case>{
             {0, 44100, 120'000, 0},
             {1, 44100, 120'000, 1},
             {15360, 44100, 60'000, 44100},
             {15360, 48000, 90'000, 32000},
             {15359, 48000, 90'000, 31997},
             {7680, 44100, 174'500, 7581},
             {15360, 1'000'000, 10'000, 6'000'000},
             {largest, 1'000, 999'999'999, 8'388},
             {largest, 1'000'000, largest, 3'906'250},
         }) {
        Stream& stream = synced(REXLoop(1, {{c.pulses, 0, 1}})
                                    .with(REXLoop::SampleRate, c.sampleRate)
                                    .with(REXLoop::OriginalTempo, c.originalTempo));
        EXPECT_EQ(stream.totalFrames(), c.frame) << c.pulses << " at " << c.originalTempo;
    }
}

TEST_F(REXSlicesTest, The_tempo_of_the_session_and_the_bit_depth_do_not_matter) {
    for (const std::int32_t value : {smallest, -1, 0, 1, 60'000, largest}) {
        Stream& stream =
            synced(REXLoop(1, {{15360, 7, 1}}).with(REXLoop::Tempo, value).with(REXLoop::BitDepth, value));
        EXPECT_EQ(stream.totalFrames(), 22057U);
    }
}

TEST_F(REXSlicesTest, The_loop_ends_where_its_last_slice_does) {
    Stream& nested = synced(REXLoop(1, {{0, 1000, 3}, {64, 50, 5}}));
    ASSERT_EQ(nested.totalFrames(), 141U);
    const std::vector<float> got = samples()[0];
    EXPECT_EQ(got[90], StandIn::sample(3, 0, 90));
    EXPECT_EQ(got[91], StandIn::sample(3, 0, 91) + StandIn::sample(5, 0, 0));
    EXPECT_EQ(got[140], StandIn::sample(3, 0, 140) + StandIn::sample(5, 0, 49));

    // Out of order: the first lies behind the end altogether.
    Stream& backwards = synced(REXLoop(2, {{15360, 100, 3}, {0, 50, 5}}));
    ASSERT_EQ(backwards.totalFrames(), 50U);
    const auto both = samples();
    for (std::size_t i = 0; i < 50; ++i) {
        ASSERT_EQ(both[0][i], StandIn::sample(5, 0, i));
        ASSERT_EQ(both[1][i], StandIn::sample(5, 1, i));
    }
}

TEST_F(REXSlicesTest, Slices_without_length_are_nothing) {
    Stream& stream = synced(REXLoop(2, {{0, 0, 3}, {0, 2, 5}, {0, 0, 7}}));
    EXPECT_EQ(stream.totalFrames(), 0U);
    EXPECT_EQ(told(stream.ReadFloatInterleaved(5, static_cast<float*>(nullptr), framesRead)), "success");
    EXPECT_EQ(framesRead, 0U);
}

TEST_F(REXSlicesTest, A_slice_that_the_library_does_not_fill_is_silence) {
    synced(REXLoop(1, {{0, 100, 3}, {64, 100, 0}}));
    const std::vector<float> got = samples()[0];
    ASSERT_EQ(got.size(), 191U);
    EXPECT_EQ(got[99], StandIn::sample(3, 0, 99));
    EXPECT_EQ(got[100], 0.0F);
    EXPECT_EQ(got[190], 0.0F);
}

TEST_F(REXSlicesTest, Seek_moves_the_position) {
    Stream& stream = synced(REXLoop(1, {{0, 100, 3}}));
    for (const std::uint64_t frame : {70U, 0U, 99U, 99U, 100U, 3U}) {
        EXPECT_TRUE(stream.seek(frame));
        EXPECT_EQ(stream.position(), frame);
        EXPECT_EQ(stream.framesRemaining(), 100 - frame);
    }
    float sample = 0;
    ASSERT_TRUE(stream.ReadFloatInterleaved(1, &sample, framesRead));
    EXPECT_EQ(sample, StandIn::sample(3, 0, 3));
    EXPECT_EQ(stream.position(), 4U);
}

TEST_F(REXSlicesTest, Seek_past_the_end_leaves_the_position) {
    Stream& stream = synced(REXLoop(1, {{0, 100, 3}}));
    ASSERT_TRUE(stream.seek(4));
    EXPECT_EQ(told(stream.seek(101)), badFormat("Seek to 101, total sample frames 100"));
    EXPECT_EQ(stream.position(), 4U);
}

TEST_F(REXSlicesTest, All_five_ways_of_reading_give_the_same_frames_in_pieces_too) {
    for (const int channels : {1, 2}) {
        constexpr std::size_t frames = 3000;
        const auto width = static_cast<std::size_t>(channels);
        Stream& stream = synced(REXLoop(channels, {{0, 2000, -3}, {64, frames - 91, 9}}));
        ASSERT_EQ(stream.totalFrames(), frames);
        const auto expected = samples();
        for (const std::uint64_t piece : {1U, 511U, 512U, 513U, 1024U, 5000U}) {
            std::vector<float> floats(frames * width);
            std::vector<std::vector<float>> apart(width, std::vector<float>(frames));
            std::vector<std::int16_t> shorts(frames * width);
            std::vector<std::vector<std::int16_t>> shortsApart(width, std::vector<std::int16_t>(frames));
            // At an odd address.
            std::string raw(1 + frames * width * 4, '\0');
            const auto readAll = [&](auto read) {
                ASSERT_TRUE(stream.seek(0));
                for (std::size_t at = 0; at < frames; at += static_cast<std::size_t>(framesRead)) {
                    ASSERT_EQ(told(read(at)), "success");
                    ASSERT_EQ(framesRead, std::min<std::uint64_t>(piece, frames - at));
                    ASSERT_EQ(stream.position(), at + framesRead);
                }
            };
            readAll([&](std::size_t at) {
                return stream.ReadFloatInterleaved(piece, floats.data() + at * width, framesRead);
            });
            readAll([&](std::size_t at) {
                float* const arrays[] = {apart[0].data() + at, apart[width - 1].data() + at};
                return stream.ReadFloatDeinterleaved(piece, arrays, framesRead);
            });
            readAll([&](std::size_t at) {
                return stream.ReadInt16Interleaved(piece, shorts.data() + at * width, framesRead);
            });
            readAll([&](std::size_t at) {
                std::int16_t* const arrays[] = {
                    shortsApart[0].data() + at, shortsApart[width - 1].data() + at};
                return stream.ReadInt16Deinterleaved(piece, arrays, framesRead);
            });
            readAll([&](std::size_t at) {
                return stream.ReadRawInterleaved(piece, raw.data() + 1 + at * width * 4, framesRead);
            });
            for (std::size_t i = 0; i < frames; ++i) {
                for (std::size_t c = 0; c < width; ++c) {
                    const float value = expected[c][i];
                    const auto scaled = static_cast<std::int16_t>(std::lrint(value * 32768));
                    float rawValue = 0;
                    std::memcpy(&rawValue, raw.data() + 1 + (i * width + c) * 4, 4);
                    ASSERT_EQ(floats[i * width + c], value);
                    ASSERT_EQ(apart[c][i], value);
                    ASSERT_EQ(rawValue, value);
                    ASSERT_EQ(shorts[i * width + c], scaled);
                    ASSERT_EQ(shortsApart[c][i], scaled);
                }
            }
        }
    }
}

TEST_F(REXSlicesTest, Reads_are_cut_to_what_is_left_and_touch_nothing_behind_it) {
    Stream& stream = synced(REXLoop(2, {{0, 10, 3}}));
    ASSERT_TRUE(stream.seek(8));
    std::vector<float> floats(20, 7.0F);
    ASSERT_TRUE(stream.ReadFloatInterleaved(10, floats.data(), framesRead));
    EXPECT_EQ(framesRead, 2U);
    EXPECT_EQ(floats[3], StandIn::sample(3, 1, 9));
    EXPECT_EQ(floats[4], 7.0F);
    ASSERT_TRUE(stream.ReadFloatDeinterleaved(10, nullptr, framesRead)) << "nothing is left";
    EXPECT_EQ(framesRead, 0U);
    ASSERT_TRUE(stream.ReadInt16Deinterleaved(10, nullptr, framesRead));
    ASSERT_TRUE(stream.ReadRawInterleaved(10, nullptr, framesRead));
    double sample = 7.0;
    EXPECT_TRUE(stream.ReadFloatInterleaved(1, &sample, framesRead));
    EXPECT_EQ(framesRead, 0U);
}

TEST_F(REXSlicesTest, Loud_slices_are_cut_where_they_become_integers) {
    for (const std::int32_t seed : {60, -60}) {
        Stream& stream = synced(REXLoop(1, {{0, 1, seed}, {0, 1, seed}}));
        float value = 0;
        std::int16_t shortValue = 0;
        ASSERT_TRUE(stream.ReadFloatInterleaved(1, &value, framesRead));
        ASSERT_TRUE(stream.seek(0));
        ASSERT_TRUE(stream.ReadInt16Interleaved(1, &shortValue, framesRead));
        EXPECT_EQ(value, static_cast<float>(seed) / 32);
        EXPECT_EQ(shortValue, seed > 0 ? 32767 : -32768);
    }
}

TEST_F(REXSlicesTest, Reading_allocates_nothing) {
    Stream& stream = synced(REXLoop(2, {{0, 5000, 3}}));
    std::vector<float> left(1024);
    std::vector<float> right(1024);
    std::vector<float> interleaved(2048);
    std::vector<std::int16_t> shorts(2048);
    std::int16_t* const shortArrays[] = {shorts.data(), shorts.data() + 1024};
    float* const arrays[] = {left.data(), right.data()};
    bool good = static_cast<bool>(stream.ReadInt16Interleaved(1, shorts.data(), framesRead));
    const std::uint64_t before = AllocationCount();
    for (const std::uint64_t count : {1024U, 1U, 77U}) {
        good = stream.ReadFloatInterleaved(count, interleaved.data(), framesRead) && good;
        good = stream.ReadFloatDeinterleaved(count, arrays, framesRead) && good;
        good = stream.ReadInt16Interleaved(count, shorts.data(), framesRead) && good;
        good = stream.ReadInt16Deinterleaved(count, shortArrays, framesRead) && good;
        good = stream.ReadRawInterleaved(count, interleaved.data(), framesRead) && good;
        good = stream.seek(4999) && stream.seek(0) && good;
    }
    EXPECT_EQ(AllocationCount() - before, 0U);
    EXPECT_TRUE(good);
}

} // namespace
