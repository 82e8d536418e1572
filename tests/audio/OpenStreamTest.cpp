#include "audio/decode/OpenStream.h"

#include "audio/SoundFileBytes.h"
#include "audio/WithoutMediaLibrary.h"
#include "audio/decode/PlatformDecoders.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

using namespace SoundFile;
using namespace Audio::Decode;

const std::string nothingKnown(100, 'x');

class OpenStreamTest : public testing::Test {
protected:
    /// "false", or the type and whether it is compressed.
    std::string detect(const std::string& bytes, const std::u8string& name = u8"file") {
        return detectPath(directory.file(name, bytes));
    }
    static std::string detectPath(const String& path) {
        bool isCompressed = true;
        std::uint32_t type = 99;
        if (!detectFileType(path, isCompressed, type)) {
            EXPECT_FALSE(isCompressed);
            EXPECT_EQ(type, 0U);
            return "false";
        }
        return std::to_string(type) + (isCompressed ? " compressed" : "");
    }

    TemporaryDirectory directory;
    WithoutMediaLibrary alone;
};

TEST_F(OpenStreamTest, An_unreadable_path_yields_no_type) {
    EXPECT_EQ(detectPath(directory / u8"missing.wav"), "false");
    EXPECT_EQ(detectPath(directory / u8""), "false");
    EXPECT_EQ(openStream(directory / u8"missing.wav"), nullptr);
}

TEST_F(OpenStreamTest, An_11_byte_file_yields_no_type_whatever_its_name) {
    for (const char8_t* name : {u8"a.wav", u8"a.aiff", u8"a.rc2", u8"a.mp3", u8"a"}) {
        EXPECT_EQ(detect(riff("").substr(0, 11), name), "false");
        EXPECT_EQ(detect("", name), "false");
    }
}

TEST_F(OpenStreamTest, Contents_tell_the_type_whatever_the_name) {
    for (const char8_t* name : {u8"a", u8"a.mp3", u8"a.aiff", u8"a.wav", u8"a.rcy"}) {
        EXPECT_EQ(detect(riff(""), name), "2");
        EXPECT_EQ(detect("RF64" + riff("").substr(4), name), "2");
        EXPECT_EQ(detect(form("AIFF", ""), name), "3");
        EXPECT_EQ(detect(form("AIFC", ""), name), "3");
        EXPECT_EQ(detect("CAT " + big(0, 4) + "REX2", name), "7");
    }
}

TEST_F(OpenStreamTest, Half_a_signature_is_none) {
    EXPECT_EQ(detect("RIFF" + little(4, 4) + "AVI "), "false");
    EXPECT_EQ(detect("FORM" + big(4, 4) + "ILBM"), "false");
    EXPECT_EQ(detect("CAT " + big(4, 4) + "REX1"), "false");
    EXPECT_EQ(detect("RIFX" + big(4, 4) + "WAVE"), "false");
    EXPECT_EQ(detect("FORM" + big(4, 4) + "WAVE"), "false");
}

TEST_F(OpenStreamTest, Without_a_signature_the_name_decides) {
    EXPECT_EQ(detect(nothingKnown, u8"a.wav"), "2");
    EXPECT_EQ(detect(nothingKnown, u8"a.WAV"), "2");
    EXPECT_EQ(detect(nothingKnown, u8"a.b.Bwf"), "2");
    EXPECT_EQ(detect(nothingKnown, u8"a.aif"), "3");
    EXPECT_EQ(detect(nothingKnown, u8"a.AIFF"), "3");
    EXPECT_EQ(detect(nothingKnown, u8"a.rc2"), "7");
    EXPECT_EQ(detect(nothingKnown, u8"a.rcy"), "7");
    EXPECT_EQ(detect(nothingKnown, u8"h\u00E9.\u97F3.wav"), "2");
}

TEST_F(OpenStreamTest, A_name_of_another_kind_or_none_yields_no_type) {
    EXPECT_EQ(detect(nothingKnown, u8"wav"), "false");
    EXPECT_EQ(detect(nothingKnown, u8"a.wave"), "false");
    EXPECT_EQ(detect(nothingKnown, u8"a.wav.txt"), "false");
    EXPECT_EQ(detect(nothingKnown, u8"a.aifc"), "false");
    EXPECT_EQ(detect(nothingKnown, u8"a.rex"), "false");
    EXPECT_EQ(detect(nothingKnown, u8"a."), "false");
}

TEST_F(OpenStreamTest, A_dot_in_the_name_of_a_folder_makes_no_extension) {
    std::filesystem::create_directory(directory.path() / "songs.wav");
    EXPECT_EQ(detect(nothingKnown, u8"songs.wav/song"), "false");
    EXPECT_EQ(detect(nothingKnown, u8"songs.wav/song.aif"), "3");
}

TEST_F(OpenStreamTest, Names_of_the_media_library_do_not_count_where_there_is_none) {
    ASSERT_FALSE(PlatformDecoders::HasMediaLibrary());
    for (const char8_t* name : {u8"a.wma", u8"a.MP3", u8"a.wmv", u8"a.asf"}) {
        EXPECT_EQ(detect(nothingKnown, name), "false");
    }
}

TEST_F(OpenStreamTest, Only_the_start_of_the_file_is_looked_at) {
    EXPECT_EQ(detect(nothingKnown + riff("")), "false");
    EXPECT_EQ(detect(riff("") + std::string(10'000, 'x')), "2");
}

TEST_F(OpenStreamTest, Numbers_without_a_decoder_give_null) {
    for (const std::uint32_t type : {0U, 4U, 6U, 8U, 9U, 10U, 11U, 12U, 13U, 0xFFFFFFFFU}) {
        EXPECT_EQ(createDecoder(directory / u8"a.wav", type), nullptr) << type;
    }
}

TEST_F(OpenStreamTest, Decoders_are_made_unsynced_and_know_their_type) {
    const String path = directory.file(u8"a", smallWav("abcd"));
    for (const std::uint32_t type : {FileTypeWAV, FileTypeAIFF}) {
        const auto decoder = createDecoder(path, type);
        ASSERT_NE(decoder, nullptr);
        EXPECT_EQ(decoder->fileType(), type);
        EXPECT_EQ(decoder->totalFrames(), 0U);
    }
    // Not even the file need be there.
    EXPECT_NE(createDecoder(directory / u8"missing", FileTypeWAV), nullptr);
}

TEST_F(OpenStreamTest, A_WAV_named_mp3_reads_as_WAV) {
    const auto stream = openStream(directory.file(u8"song.mp3", smallWav("abcd")));
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->fileType(), 2U);
    EXPECT_EQ(told(stream->sync()), "success");
    EXPECT_EQ(stream->totalFrames(), 2U);
}

TEST_F(OpenStreamTest, A_misnamed_AIFF_is_caught_by_its_contents) {
    const auto stream = openStream(directory.file(u8"song.wav", smallAiff("abcd")));
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->fileType(), 3U);
    EXPECT_EQ(told(stream->sync()), "success");
}

TEST_F(OpenStreamTest, A_stream_by_its_name_alone_fails_to_sync) {
    const auto stream = openStream(directory.file(u8"song.wav", nothingKnown));
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(told(stream->sync()), badFormat("Invalid RIFF header"));
}

TEST_F(OpenStreamTest, What_no_decoder_is_known_for_is_null) {
    EXPECT_EQ(openStream(directory.file(u8"a.txt", nothingKnown)), nullptr);
}

TEST_F(OpenStreamTest, A_platform_makes_no_decoders_but_its_own) {
    for (const std::uint32_t type : {0U, 2U, 3U, 4U, 6U, 8U, 12U}) {
        EXPECT_EQ(PlatformDecoders::Create(directory / u8"a", type), nullptr);
    }
}

} // namespace
