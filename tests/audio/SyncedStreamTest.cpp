#include "audio/decode/SyncedStream.h"

#include "audio/SoundFileBytes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <stdexcept>
#include <vector>

namespace {

using namespace SoundFile;
using namespace Audio::Decode;

/// Ten frames once it is synced.
class TenFrames final : public SyncedStream {
public:
    TenFrames() : SyncedStream("the path") {}

    std::uint32_t fileType() const override { return 99; }
    Result sync() override {
        totalFrames_ = 10;
        format_.channels = 2;
        synced_ = true;
        return {};
    }
    bool isTruncated() const override { return false; }
    using Stream::ReadFloatInterleaved;
    Result ReadFloatInterleaved(std::uint64_t, float*, std::uint64_t&) override { return {}; }
    Result ReadFloatDeinterleaved(std::uint64_t, float* const*, std::uint64_t&) override { return {}; }
    Result ReadInt16Deinterleaved(std::uint64_t, std::int16_t* const*, std::uint64_t&) override { return {}; }
    Result ReadInt16Interleaved(std::uint64_t, std::int16_t*, std::uint64_t&) override { return {}; }
    Result ReadRawInterleaved(std::uint64_t, void*, std::uint64_t&) override { return {}; }

    Result moved(std::uint64_t frame) override {
        moves.push_back(frame);
        return refuses ? Result(unexpected(bad("No way to %1", BadFormatError::NoData).arg(frame)))
                       : Result();
    }

    using SyncedStream::clearStream;
    using SyncedStream::withinMemory;

    std::vector<std::uint64_t> moves;
    bool refuses = false;
};

TEST(SyncedStream, Before_sync_it_is_empty_and_stands_at_0) {
    TenFrames stream;
    EXPECT_EQ(stream.format(), Format());
    EXPECT_EQ(stream.totalFrames(), 0U);
    EXPECT_EQ(stream.position(), 0U);
    EXPECT_EQ(stream.framesRemaining(), 0U);
    EXPECT_TRUE(stream.seek(0));
    EXPECT_EQ(told(stream.seek(3)), badFormat("Seek to 3 when not sync'd"));
    EXPECT_TRUE(stream.moves.empty());
}

TEST(SyncedStream, The_derived_stream_is_told_of_every_other_position) {
    TenFrames stream;
    ASSERT_TRUE(stream.sync());
    for (const std::uint64_t frame : {4U, 4U, 10U, 0U, 0U}) {
        EXPECT_TRUE(stream.seek(frame));
        EXPECT_EQ(stream.position(), frame);
        EXPECT_EQ(stream.framesRemaining(), 10 - frame);
    }
    EXPECT_EQ(stream.moves, (std::vector<std::uint64_t>{4, 10, 0}));
}

TEST(SyncedStream, A_frame_past_the_end_leaves_the_position) {
    TenFrames stream;
    ASSERT_TRUE(stream.sync());
    ASSERT_TRUE(stream.seek(7));
    EXPECT_EQ(told(stream.seek(11)), badFormat("Seek to 11, total sample frames 10"));
    EXPECT_EQ(stream.position(), 7U);
    EXPECT_EQ(stream.moves, std::vector<std::uint64_t>{7});
}

TEST(SyncedStream, What_keeps_the_derived_stream_from_moving_is_told_with_the_files_path) {
    TenFrames stream;
    ASSERT_TRUE(stream.sync());
    stream.refuses = true;
    const Result result = stream.seek(5);
    EXPECT_EQ(told(result), badFormat("No way to 5", 1));
    EXPECT_EQ(result.error().get<BadFormatError>()->path().toStdString(), "the path");
    EXPECT_EQ(stream.position(), 5U);
}

TEST(SyncedStream, Cleared_it_is_as_it_was_made) {
    TenFrames stream;
    ASSERT_TRUE(stream.sync());
    ASSERT_TRUE(stream.seek(5));
    stream.clearStream();
    EXPECT_EQ(stream.format(), Format());
    EXPECT_EQ(stream.totalFrames(), 0U);
    EXPECT_EQ(stream.position(), 0U);
    EXPECT_EQ(told(stream.seek(3)), badFormat("Seek to 3 when not sync'd"));
}

TEST(SyncedStream, A_step_without_memory_is_an_error_of_the_file) {
    const TenFrames stream;
    const std::string lack = badFormat("Not enough memory for what the file holds");
    EXPECT_EQ(told(stream.withinMemory([]() -> Result { throw std::bad_alloc(); })), lack);
    EXPECT_EQ(told(stream.withinMemory([]() -> Result { throw std::length_error("x"); })), lack);
    EXPECT_TRUE(stream.withinMemory([]() -> Result { return {}; }));
}

} // namespace
