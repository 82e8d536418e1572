#include "audio/REXDecoderFixture.h"
#include "audio/decode/REXError.h"

namespace {

using namespace Audio::Decode;
using REX::ErrorText;
using SoundFile::badFormat;
using SoundFile::told;

using REXDecoderTest = REXDecoderFixture;

TEST_F(REXDecoderTest, Every_operation_before_sync_says_so_with_its_count) {
    Stream& stream = rex("");
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
    EXPECT_TRUE(stream.seek(0));
    EXPECT_EQ(stream.fileType(), 7U);
    EXPECT_EQ(stream.totalFrames(), 0U);
    EXPECT_EQ(stream.framesRemaining(), 0U);
    EXPECT_EQ(stream.format(), Format());
    EXPECT_FALSE(stream.isTruncated());
    EXPECT_EQ(StandIn::TakeCalls(), "") << "the library is not even loaded";
}

TEST_F(REXDecoderTest, Sync_makes_its_calls_in_order) {
    const REXLoop loop(1, {{0, 10}, {15360, 10}});
    synced(loop);
    EXPECT_EQ(
        StandIn::TakeCalls(), "Open, Create " + std::to_string(loop.bytes().size()) +
                                  ", GetInfo 36, GetSliceInfo 0, GetSliceInfo 1, GetSliceInfo 0, "
                                  "RenderSlice 0, GetSliceInfo 1, RenderSlice 1");
    EXPECT_EQ(told(decoder->sync()), "success");
    EXPECT_EQ(told(decoder->resync()), "success");
    EXPECT_EQ(StandIn::TakeCalls(), "") << "a synced stream has nothing to do";
}

TEST_F(REXDecoderTest, Destruction_deletes_the_loop_and_the_last_to_go_closes_the_library) {
    synced(REXLoop(1, {{0, 10}}));
    auto other = std::make_unique<REX::Decoder>(directory / u8"a.rx2", library);
    ASSERT_EQ(told(other->sync()), "success");
    EXPECT_EQ(StandIn::OpenLoops(), 2U);
    library.reset();
    StandIn::TakeCalls();
    decoder.reset();
    EXPECT_EQ(StandIn::TakeCalls(), "Delete");
    other.reset();
    EXPECT_EQ(StandIn::TakeCalls(), "Delete, Close");
    EXPECT_EQ(StandIn::OpenLoops(), 0U);
}

TEST_F(REXDecoderTest, Destruction_of_an_unsynced_decoder_calls_nothing) {
    rex(REXLoop(1, {{0, 10}}).bytes());
    decoder.reset();
    EXPECT_EQ(StandIn::TakeCalls(), "");
}

TEST_F(REXDecoderTest, An_absent_library_is_told_with_its_load_code) {
    for (const std::int32_t code : {100, 101, 102, 103, 104, 109}) {
        library = std::make_shared<REX::Library>(
            [code](REX::Functions&, std::shared_ptr<Util::Module>&) { return code; });
        EXPECT_EQ(
            syncing(REXLoop(1, {{0, 10}})),
            badFormat("Can't create REX handle: " + ErrorText(code).toStdString()));
        EXPECT_EQ(decoder->format(), Format());
    }
    EXPECT_EQ(
        told(rex("no loop").sync()),
        badFormat("Can't create REX handle: the operating system is too old for the REX library (109)"));
}

TEST_F(REXDecoderTest, A_library_that_is_installed_meanwhile_is_found) {
    bool installed = false;
    library = std::make_shared<REX::Library>(
        [&](REX::Functions& functions, std::shared_ptr<Util::Module>&) -> std::int32_t {
            functions = installed ? standInFunctions() : REX::Functions();
            return installed ? REX::NoError : REX::LibraryNotFound;
        });
    EXPECT_EQ(
        syncing(REXLoop(1, {{0, 10}})),
        badFormat("Can't create REX handle: the REX library was not found (103)"));
    installed = true;
    EXPECT_EQ(told(decoder->sync()), "success");
    EXPECT_EQ(decoder->totalFrames(), 10U);
}

TEST_F(REXDecoderTest, A_library_that_does_not_open_says_so_itself) {
    REX::Functions functions = standInFunctions();
    functions.Open = [] {};
    library = libraryOf(functions);
    EXPECT_EQ(
        syncing(REXLoop(1, {{0, 10}})),
        badFormat("Can't create REX handle: the REX library is not initialised (200)"));
}

TEST_F(REXDecoderTest, Each_failing_call_ends_sync_with_its_text) {
    using Order = REXLoop::Order;
    struct Case {
        Order order;
        const char* text;
    };
    const Case cases[] = {
        {{StandIn::CallCreate, 0, 105}, "Can't create REX handle: out of memory (105)"},
        {{StandIn::CallCreate, 0, 107},
         "Can't create REX handle: the file is newer than the REX library (107)"},
        {{StandIn::CallGetInfo, 0, 203}, "Can't get file info: invalid size (203)"},
        {{StandIn::CallGetSliceInfo, 0, 205}, "Can't get slice 0 info: invalid slice (205)"},
        {{StandIn::CallGetSliceInfo, 2, 666}, "Can't get slice 2 info: undefined error (666)"},
        {{StandIn::CallGetSliceInfo, 0, 202, 2}, "Can't get info for slice 0: invalid handle (202)"},
        {{StandIn::CallGetSliceInfo, 2, 205, 2}, "Can't get info for slice 2: invalid slice (205)"},
        {{StandIn::CallRenderSlice, 0, 207}, "Can't render slice 0: the buffer is too small (207)"},
        {{StandIn::CallRenderSlice, 1, 4711}, "Can't render slice 1: unknown error (4711)"},
        {{StandIn::CallRenderSlice, 2, 0}, "Can't render slice 2: unknown error (0)"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(syncing(REXLoop(2, {{0, 100}, {64, 100}, {128, 100}}).failing(c.order)), badFormat(c.text));
        EXPECT_EQ(StandIn::OpenLoops(), 0U) << "a failure leaves no loop open";
        EXPECT_EQ(decoder->totalFrames(), 0U);
        EXPECT_EQ(decoder->format(), Format());
        float sample = 0;
        EXPECT_FALSE(decoder->ReadFloatInterleaved(1, &sample, framesRead));
    }
}

TEST_F(REXDecoderTest, A_failed_sync_may_be_tried_again) {
    ASSERT_EQ(syncing(REXLoop(2, {{0, 0}}).with(REXLoop::Channels, 3)), badFormat("Invalid file info"));
    const String path = directory.file(u8"a.rx2", REXLoop(1, {{0, 10, 3}}).bytes());
    EXPECT_EQ(told(decoder->sync()), "success");
    EXPECT_EQ(decoder->format(), (Format{1, 4, 44100, 1, 0}));
    EXPECT_EQ(samples()[0][9], StandIn::sample(3, 0, 9));
    EXPECT_EQ(StandIn::OpenLoops(), 1U);
}

TEST_F(REXDecoderTest, A_loop_tells_nothing_beside_its_samples) {
    Stream& stream = synced(REXLoop(1, {{0, 10}}));
    EXPECT_EQ(stream.chunkCount(), 0U);
    EXPECT_TRUE(stream.markers().value().empty());
    EXPECT_TRUE(stream.regions().value().empty());
    EXPECT_TRUE(stream.notes().value().empty());
    EXPECT_FALSE(stream.loopInfo().beats);
    EXPECT_TRUE(stream.originatorReference().value().isNull());
}

} // namespace
