#include "audio/decode/InterleavedDecoder.h"

#include "audio/SoundFileBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace SoundFile;
using namespace Audio::Decode;

/// Stereo of 16 bits, frame i being (i, -i), which come three at a time. An end may come before that of the
/// header.
class Pieces final : public InterleavedDecoder {
public:
    Pieces() : InterleavedDecoder("path", "floats of %1 refused", "shorts of %1 refused") {}

    std::uint32_t fileType() const override { return 99; }
    Result sync() override {
        format_ = {.channels = 2, .bytesPerSample = 2, .sampleRate = 44100};
        encoding_ = SampleEncoding::Int16Little;
        totalFrames_ = 10;
        synced_ = true;
        return {};
    }
    bool isTruncated() const override { return false; }
    void makeUnreadable() { encoding_ = {}; }

    /// From where on there is nothing but an error.
    std::uint64_t end = 1000;
    bool readsPastTotal = false;

private:
    Result takeFrames(std::uint64_t count, std::uint64_t& framesRead, FrameSink& sink) override {
        while (framesRead < count) {
            std::string bytes;
            const std::uint64_t frames = std::min({count - framesRead, std::uint64_t{3}, end - position_});
            if (frames == 0) {
                return unexpected(bad("ends at %1").arg(position_));
            }
            for (std::uint64_t i = position_; i < position_ + frames; ++i) {
                bytes += little(i, 2) + little(std::uint64_t{0} - i, 2);
            }
            sink.take(
                reinterpret_cast<const std::uint8_t*>(bytes.data()), static_cast<std::size_t>(frames),
                static_cast<std::size_t>(framesRead));
            framesRead += frames;
            position_ += frames;
        }
        return {};
    }
    std::uint64_t framesToRead(std::uint64_t count) const override {
        return readsPastTotal ? count : InterleavedDecoder::framesToRead(count);
    }
};

class InterleavedDecoderTest : public testing::Test {
protected:
    /// All five ways, with what each is to be called when it fails.
    std::vector<std::pair<std::string, std::function<Result(std::uint64_t)>>> ways() {
        return {
            {"ReadFloatInterleaved",
             [this](std::uint64_t count) {
                 return pieces.ReadFloatInterleaved(count, floats.data(), framesRead);
             }},
            {"ReadFloatDeinterleaved",
             [this](std::uint64_t count) {
                 float* const channels[] = {floats.data(), floats.data() + most};
                 return pieces.ReadFloatDeinterleaved(count, channels, framesRead);
             }},
            {"ReadInt16Interleaved",
             [this](std::uint64_t count) {
                 return pieces.ReadInt16Interleaved(count, shorts.data(), framesRead);
             }},
            {"ReadInt16Deinterleaved",
             [this](std::uint64_t count) {
                 std::int16_t* const channels[] = {shorts.data(), shorts.data() + most};
                 return pieces.ReadInt16Deinterleaved(count, channels, framesRead);
             }},
            {"ReadRawInterleaved",
             [this](std::uint64_t count) {
                 return pieces.ReadRawInterleaved(count, raw.data(), framesRead);
             }},
        };
    }

    static constexpr std::size_t most = 32;
    Pieces pieces;
    std::vector<float> floats = std::vector<float>(2 * most);
    std::vector<std::int16_t> shorts = std::vector<std::int16_t>(2 * most);
    std::string raw = std::string(4 * most, '\0');
    std::uint64_t framesRead = 99;
};

TEST_F(InterleavedDecoderTest, Before_sync_every_read_says_so_with_its_count) {
    for (const auto& [name, read] : ways()) {
        EXPECT_EQ(told(read(7)), badFormat(name + " 7 when not sync'd"));
        EXPECT_EQ(framesRead, 0U);
    }
}

TEST_F(InterleavedDecoderTest, Pieces_land_behind_one_another_in_all_five_ways) {
    for (const auto& [name, read] : ways()) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(pieces.sync());
        ASSERT_TRUE(pieces.seek(2));
        ASSERT_TRUE(read(8));
        EXPECT_EQ(framesRead, 8U);
        EXPECT_EQ(pieces.position(), 10U);
    }
    for (int i = 0; i < 8; ++i) {
        const auto at = static_cast<std::size_t>(i);
        EXPECT_EQ(floats[at], static_cast<float>(i + 2) / 32768);
        EXPECT_EQ(floats[most + at], -static_cast<float>(i + 2) / 32768);
        EXPECT_EQ(shorts[at], i + 2);
        EXPECT_EQ(shorts[most + at], -(i + 2));
        EXPECT_EQ(raw.substr(at * 4, 4), little(at + 2, 2) + little(std::uint64_t{0} - (at + 2), 2));
    }
}

TEST_F(InterleavedDecoderTest, Reads_are_cut_to_what_is_left_unless_the_decoder_knows_better) {
    for (const auto& [name, read] : ways()) {
        SCOPED_TRACE(name);
        pieces.readsPastTotal = false;
        ASSERT_TRUE(pieces.sync());
        ASSERT_TRUE(pieces.seek(8));
        ASSERT_TRUE(read(5));
        EXPECT_EQ(framesRead, 2U);
        ASSERT_TRUE(read(5));
        EXPECT_EQ(framesRead, 0U);
        pieces.readsPastTotal = true;
        ASSERT_TRUE(pieces.seek(8));
        ASSERT_TRUE(read(5));
        EXPECT_EQ(framesRead, 5U);
        ASSERT_TRUE(pieces.seek(0));
    }
}

TEST_F(InterleavedDecoderTest, What_came_before_a_failure_has_been_read) {
    for (const auto& [name, read] : ways()) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(pieces.sync());
        ASSERT_TRUE(pieces.seek(0));
        pieces.end = 4;
        EXPECT_EQ(told(read(9)), badFormat("ends at 4"));
        EXPECT_EQ(framesRead, 4U);
        EXPECT_EQ(pieces.position(), 4U);
    }
}

TEST_F(InterleavedDecoderTest, Samples_without_a_conversion_are_refused_by_kind_and_read_raw) {
    ASSERT_TRUE(pieces.sync());
    pieces.makeUnreadable();
    for (const auto& [name, read] : ways()) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(read(0));
        if (name == "ReadRawInterleaved") {
            ASSERT_TRUE(read(50));
            EXPECT_EQ(framesRead, 10U);
        } else {
            EXPECT_EQ(
                told(read(50)),
                badFormat(name.starts_with("ReadFloat") ? "floats of 50 refused" : "shorts of 50 refused"));
            EXPECT_EQ(framesRead, 0U);
        }
    }
    // With nothing left there is nothing to refuse.
    for (const auto& [name, read] : ways()) {
        EXPECT_TRUE(read(50)) << name;
    }
}

} // namespace
