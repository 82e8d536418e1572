// What the system's media library adds to the search for a decoder, with a library of the test's own.

#include "audio/decode/OpenStream.h"

#include "audio/SoundFileBytes.h"
#include "audio/StandInMediaLibrary_win32.h"
#include "audio/decode/PlatformDecoders.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace SoundFile;
using namespace Audio::Decode;

const std::string nothingKnown(100, 'x');

class OpenMediaStreamTest : public testing::Test {
protected:
    /// "false", or the type and whether it is compressed.
    std::string detect(const std::string& bytes, const std::u8string& name = u8"file") {
        bool isCompressed = true;
        std::uint32_t type = 99;
        const bool found = detectFileType(directory.file(name, bytes), isCompressed, type);
        return found ? std::to_string(type) + (isCompressed ? " compressed" : "") : "false";
    }
    void TearDown() override {
        EXPECT_EQ(library.mistakes, 0U);
        EXPECT_EQ(library.references(), 0);
    }

    TemporaryDirectory directory;
    StandInMediaLibrary library;
};

TEST_F(OpenMediaStreamTest, The_library_knows_its_files_by_their_first_bytes) {
    library.answers["WMValidateData"] = S_OK;
    EXPECT_EQ(detect(nothingKnown), "1 compressed");
    EXPECT_EQ(library.calls, std::vector<std::string>{"WMValidateData 100 bytes xxxx"});
    library.answers["WMValidateData"] = S_FALSE;
    EXPECT_EQ(detect(nothingKnown + std::string(3000, 'y'), u8"a.wav"), "1 compressed");
    EXPECT_EQ(library.calls.back(), "WMValidateData 2048 bytes xxxx");
    // Before it the formats that are read here, behind it the rest.
    library.calls.clear();
    EXPECT_EQ(detect(smallWav("abcd")), "2");
    EXPECT_EQ(detect(smallAiff("abcd")), "3");
    EXPECT_EQ(detect(nothingKnown.substr(0, 11)), "false");
    EXPECT_TRUE(library.calls.empty());
    EXPECT_EQ(detect("CAT " + big(0, 4) + "REX2"), "1 compressed");
    library.answers["WMValidateData"] = E_INVALIDARG;
    EXPECT_EQ(detect("CAT " + big(0, 4) + "REX2"), "7");
}

TEST_F(OpenMediaStreamTest, Its_names_count_where_nothing_else_tells) {
    for (const char8_t* name : {u8"a.wma", u8"a.MP3", u8"a.wmv", u8"a.b.Asf"}) {
        EXPECT_EQ(detect(nothingKnown, name), "1 compressed");
    }
    EXPECT_EQ(detect(nothingKnown, u8"a.wav"), "2");
    EXPECT_EQ(library.callsOf("WMCreateSyncReader"), 0U);
    library.setFunctions(true, false);
    EXPECT_EQ(detect(nothingKnown, u8"a.mp3"), "1 compressed");
    library.setMissing();
    EXPECT_FALSE(PlatformDecoders::HasMediaLibrary());
    EXPECT_EQ(detect(nothingKnown, u8"a.mp3"), "false");
}

TEST_F(OpenMediaStreamTest, It_is_the_first_to_try_what_nobody_knows) {
    EXPECT_EQ(detect(nothingKnown), "1 compressed");
    EXPECT_EQ(library.callsOf("WMCreateSyncReader"), 1U);
    library.calls.clear();
    library.failingOpens = 1;
    EXPECT_EQ(detect(nothingKnown), "5 compressed");
    EXPECT_EQ(library.callsOf("WMCreateSyncReader"), 2U);
    library.calls.clear();
    library.answers["Open"] = E_FAIL;
    // The second time is by its other number.
    EXPECT_EQ(detect(nothingKnown), "false");
    EXPECT_EQ(library.callsOf("WMCreateSyncReader"), 2U);
}

TEST_F(OpenMediaStreamTest, A_stream_of_its_kinds_is_read_through_it) {
    library.bytes = std::string(400, 'x');
    for (const std::uint32_t type : {1U, 5U}) {
        const auto stream = createDecoder(directory / u8"a", type);
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(stream->fileType(), 1U);
        EXPECT_EQ(stream->totalFrames(), 0U);
        ASSERT_EQ(told(stream->sync()), "success");
        library.offset = 0;
        std::string samples(400, '\0');
        std::uint64_t framesRead = 0;
        ASSERT_EQ(told(stream->ReadRawInterleaved(100, samples.data(), framesRead)), "success");
        EXPECT_EQ(samples, library.bytes);
    }
    const auto stream = openStream(directory.file(u8"song.mp3", nothingKnown));
    ASSERT_NE(stream, nullptr);
    library.answers["Open"] = E_ACCESSDENIED;
    EXPECT_EQ(told(stream->sync()), badFormat("Unable to open file. 0x80070005"));
}

TEST_F(OpenMediaStreamTest, A_WAV_named_mp3_reads_as_WAV) {
    const auto stream = openStream(directory.file(u8"song.mp3", smallWav("abcd")));
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->fileType(), 2U);
    EXPECT_TRUE(library.calls.empty());
}

} // namespace
