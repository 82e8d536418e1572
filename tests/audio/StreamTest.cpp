#include "audio/decode/Stream.h"

#include "audio/SoundFileBytes.h"
#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using namespace Audio::Decode;

static_assert(std::is_abstract_v<Stream>);
static_assert(!std::is_copy_constructible_v<Stream> && !std::is_copy_assignable_v<Stream>);
static_assert(std::has_virtual_destructor_v<Stream>);
static_assert(sizeof(Format) == 5 * 4);
static_assert(
    offsetof(Format, channels) == 0 && offsetof(Format, bytesPerSample) == 4 &&
    offsetof(Format, sampleRate) == 8 && offsetof(Format, isFloat) == 12 &&
    offsetof(Format, channelMask) == 16);

/// Only what a stream cannot do without.
class LeastStream final : public Stream {
public:
    std::uint32_t fileType() const override { return 99; }
    Result sync() override {
        ++syncs;
        return unexpected(Error(BadFormatError(1, "no %1", "path").arg("data")));
    }
    const Format& format() const override { return format_; }
    std::uint64_t totalFrames() const override { return 0; }
    bool isTruncated() const override { return false; }
    std::uint64_t position() const override { return 0; }
    std::uint64_t framesRemaining() const override { return 0; }
    Result seek(std::uint64_t) override { return {}; }
    using Stream::ReadFloatInterleaved;
    Result ReadFloatInterleaved(std::uint64_t, float*, std::uint64_t&) override { return {}; }
    Result ReadFloatDeinterleaved(std::uint64_t, float* const*, std::uint64_t&) override { return {}; }
    Result ReadInt16Deinterleaved(std::uint64_t, std::int16_t* const*, std::uint64_t&) override { return {}; }
    Result ReadInt16Interleaved(std::uint64_t, std::int16_t*, std::uint64_t&) override { return {}; }
    Result ReadRawInterleaved(std::uint64_t, void*, std::uint64_t&) override { return {}; }

    int syncs = 0;

private:
    Format format_;
};

TEST(Stream, Operations_stand_in_their_order) {
    using Floats = Result (Stream::*)(std::uint64_t, float*, std::uint64_t&);
    using Doubles = Result (Stream::*)(std::uint64_t, double*, std::uint64_t&);
    EXPECT_EQ(
        virtualSlots(
            &Stream::fileType, &Stream::sync, &Stream::resync, &Stream::format, &Stream::totalFrames,
            &Stream::isTruncated, &Stream::position, &Stream::framesRemaining, &Stream::seek,
            &Stream::reservedHook1, &Stream::reservedHook2, &Stream::reservedHook3,
            static_cast<Floats>(&Stream::ReadFloatInterleaved),
            static_cast<Doubles>(&Stream::ReadFloatInterleaved), &Stream::ReadFloatDeinterleaved,
            &Stream::ReadInt16Deinterleaved, &Stream::ReadInt16Interleaved, &Stream::ReadRawInterleaved),
        slotsFrom(0, 18));
    EXPECT_EQ(virtualSlot(&Stream::chunkCount), 18);
    EXPECT_EQ(virtualSlot(&Stream::originatorReference), 26);
}

TEST(Stream, Resync_is_sync) {
    LeastStream stream;
    EXPECT_EQ(SoundFile::told(stream.resync()), SoundFile::badFormat("no data", 1));
    EXPECT_EQ(stream.syncs, 1);
}

TEST(Stream, The_reserved_hooks_do_nothing) {
    LeastStream stream;
    stream.reservedHook1();
    EXPECT_FALSE(stream.reservedHook2());
    stream.reservedHook3();
    EXPECT_EQ(stream.syncs, 0);
}

TEST(Stream, Reading_doubles_succeeds_with_nothing_read) {
    LeastStream stream;
    double sample = 7.0;
    std::uint64_t framesRead = 5;
    EXPECT_TRUE(stream.ReadFloatInterleaved(1, &sample, framesRead));
    EXPECT_EQ(framesRead, 0U);
    EXPECT_EQ(sample, 7.0);
}

TEST(Stream, Metadata_is_none_by_default) {
    LeastStream stream;
    EXPECT_EQ(stream.chunkCount(), 0U);
    EXPECT_FALSE(stream.chunk(0).valid);
    EXPECT_TRUE(stream.markers().value().empty());
    EXPECT_TRUE(stream.regions().value().empty());
    EXPECT_TRUE(stream.notes().value().empty());
    EXPECT_TRUE(stream.applicationChunks().empty());
    EXPECT_FALSE(stream.loopInfo().beats.valid);
    EXPECT_FALSE(stream.loopInfo().numerator.valid);
    EXPECT_FALSE(stream.loopInfo().denominator.valid);
    EXPECT_TRUE(stream.diagnostics().empty());
    EXPECT_TRUE(stream.originatorReference().value().isNull());
}

TEST(BadFormatError, Holds_category_code_path_and_arguments) {
    const BadFormatError error =
        BadFormatError(BadFormatError::NoFormat, "%1 of %2", "C:/x.wav").arg(1).arg("two");
    EXPECT_EQ(error.category().toStdString(), "Audio::Decode::BadFormatError");
    EXPECT_EQ(error.code(), 2U);
    EXPECT_EQ(error.kind(), 1);
    EXPECT_EQ(error.path().toStdString(), "C:/x.wav");
    EXPECT_EQ(error.format().toStdString(), "%1 of %2");
    EXPECT_EQ(error.message().toStdString(), "1 of two");
    EXPECT_EQ(BadFormatError::General, 0);
    EXPECT_EQ(BadFormatError::NoData, 1);
}

TEST(BadFormatError, Travels_beside_the_files_error) {
    const Error bad = BadFormatError(1, "bad", "p");
    const Error file = Util::File::Error(3, "file", "q");
    ASSERT_NE(bad.get<BadFormatError>(), nullptr);
    EXPECT_EQ(bad.get<BadFormatError>()->path().toStdString(), "p");
    EXPECT_EQ(bad.get<Util::File::Error>(), nullptr);
    ASSERT_NE(file.get<Util::File::Error>(), nullptr);
    EXPECT_EQ(file.category().toStdString(), "File");
}

TEST(FileType, Numbers_are_those_of_the_table) {
    EXPECT_EQ(FileTypeMedia, 1);
    EXPECT_EQ(FileTypeWAV, 2);
    EXPECT_EQ(FileTypeAIFF, 3);
    EXPECT_EQ(FileTypeOtherMedia, 5);
    EXPECT_EQ(FileTypeREX, 7);
}

} // namespace
