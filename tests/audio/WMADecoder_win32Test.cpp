#include "audio/decode/WMADecoder_win32.h"

#include "audio/SoundFileBytes.h"
#include "audio/StandInMediaLibrary_win32.h"
#include "audio/WMADecoderTest_win32.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <objbase.h>

namespace {

using namespace Audio::Decode;
using namespace Audio::Decode::WMA;
using SoundFile::badFormat;
using SoundFile::told;

TEST_F(WMADecoderTest, Nothing_is_asked_of_the_library_before_sync) {
    Decoder decoder(path);
    EXPECT_EQ(decoder.fileType(), 1U);
    EXPECT_EQ(decoder.format(), Format());
    EXPECT_EQ(decoder.totalFrames(), 0U);
    EXPECT_EQ(decoder.framesRemaining(), 0U);
    EXPECT_EQ(decoder.position(), 0U);
    EXPECT_FALSE(decoder.isTruncated());
    EXPECT_FALSE(decoder.isTotalExceeded());
    EXPECT_TRUE(library.calls.empty());
}

TEST_F(WMADecoderTest, Sync_takes_its_steps_in_order) {
    Decoder decoder(path);
    ASSERT_EQ(told(decoder.sync()), "success");
    EXPECT_EQ(
        library.calls, (std::vector<std::string>{
                           "WMCreateSyncReader",
                           "Open C:\\Music\\a.mp3",
                           "SetOutputSetting 0 EnableDiscreteOutput type 3 size 4 value 1",
                           "SetOutputSetting 0 SpeakerConfig type 0 size 4 value 0",
                           "GetOutputCount",
                           "GetOutputProps 0",
                           "output type size",
                           "output type",
                           "GetStreamNumberForOutput 0",
                           "QueryInterface",
                           "query header Duration of stream 0",
                           "header Duration of stream 0",
                           "SetReadStreamSamples 1 not compressed",
                           "GetOutputFormatCount 0",
                           "GetOutputFormat 0 0",
                           "format type size",
                           "format type",
                           "format set type as it was",
                           "SetOutputProps 0 format",
                       }));
    EXPECT_EQ(decoder.format(), (Format{2, 2, 1000, 0, 0}));
    EXPECT_EQ(decoder.totalFrames(), 3000U);
    EXPECT_EQ(decoder.framesRemaining(), 3000U);
    EXPECT_EQ(decoder.position(), 0U);
    // Of everything that was asked for on the way the reader alone is still held.
    EXPECT_EQ(library.references(), 1);
}

TEST_F(WMADecoderTest, A_synced_decoder_stays_as_it_is) {
    Decoder decoder(path);
    ASSERT_TRUE(decoder.sync());
    ASSERT_TRUE(decoder.seek(7));
    const std::size_t calls = library.calls.size();
    EXPECT_EQ(told(decoder.sync()), "success");
    EXPECT_EQ(told(decoder.resync()), "success");
    EXPECT_EQ(library.calls.size(), calls);
    EXPECT_EQ(decoder.position(), 7U);
}

TEST_F(WMADecoderTest, Names_beyond_ascii_and_long_ones_reach_the_library) {
    // "Größe" and a Chinese character.
    const std::string named("Gr\xC3\xB6\xC3\x9F"
                            "e \xE9\x9F\xB3");
    Decoder decoder(String("D:/" + named + ".wma"));
    ASSERT_TRUE(decoder.sync());
    EXPECT_EQ(library.calls.at(1), "Open D:\\" + named + ".wma");
    // Beyond the length that the system takes as it stands.
    const std::string folder = std::string(200, 'x');
    library.calls.clear();
    Decoder distant(String("C:/" + folder + "/" + folder + ".mp3"));
    ASSERT_TRUE(distant.sync());
    EXPECT_EQ(library.calls.at(1), "Open \\\\?\\C:\\" + folder + "\\" + folder + ".mp3");
}

TEST_F(WMADecoderTest, The_reader_is_closed_and_let_go_with_the_decoder) {
    {
        Decoder decoder(path);
        ASSERT_TRUE(decoder.sync());
        std::array<float, 2> frame{};
        std::uint64_t got = 0;
        ASSERT_TRUE(decoder.ReadFloatInterleaved(1, frame.data(), got));
        EXPECT_EQ(library.callsOf("Close"), 0U);
    }
    EXPECT_EQ(library.calls.back(), "Close");
    EXPECT_EQ(library.callsOf("Close"), 1U);
    EXPECT_EQ(library.references(), 0);
}

TEST_F(WMADecoderTest, A_library_that_cannot_be_loaded_is_an_error) {
    Decoder decoder(path);
    library.setMissing();
    EXPECT_EQ(told(decoder.sync()), badFormat("Failed to load WMA library"));
    library.setFunctions(false, true);
    EXPECT_EQ(told(decoder.sync()), badFormat("Failed to load WMCreateSyncReader"));
    EXPECT_TRUE(library.calls.empty());
    library.setFunctions(true, false);
    EXPECT_EQ(told(decoder.sync()), "success");
}

struct Failure {
    const char* call;
    const char* message;
};

class WMADecoderFailureTest : public WMADecoderTest, public testing::WithParamInterface<Failure> {};

TEST_P(WMADecoderFailureTest, Ends_sync_with_its_message_and_leaves_the_decoder_to_be_tried_again) {
    Decoder decoder(path);
    const auto [call, message] = GetParam();
    // Codes of the system have the upper bit; that they are shown unsigned and wholly is the point.
    for (const auto& [code, text] :
         {std::pair{0xC00D0BEAUL, "C00D0BEA"}, std::pair{0x80004005UL, "80004005"}}) {
        library.answers[call] = static_cast<HRESULT>(code);
        const Result result = decoder.sync();
        EXPECT_EQ(told(result), badFormat(std::string(message) + " 0x" + text));
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().format().toStdString(), std::string(message) + " 0x%1");
        ASSERT_EQ(result.error().arguments().size(), 1U);
        EXPECT_EQ(result.error().arguments()[0].toStdString(), text);
        EXPECT_EQ(result.error().get<BadFormatError>()->path(), path);
        // Nothing came after what failed but the end.
        std::vector<std::string> calls = library.calls;
        if (std::string(call) != "WMCreateSyncReader") {
            EXPECT_EQ(calls.back(), "Close");
            calls.pop_back();
        }
        EXPECT_TRUE(calls.back().starts_with(call)) << calls.back();
        EXPECT_EQ(library.references(), 0);
        EXPECT_EQ(decoder.format(), Format());
        EXPECT_EQ(decoder.totalFrames(), 0U);
        EXPECT_EQ(decoder.framesRemaining(), 0U);
        std::uint64_t got = 9;
        float sample = 0;
        EXPECT_EQ(
            told(decoder.ReadFloatInterleaved(1, &sample, got)),
            badFormat("ReadFloatInterleaved 1 when not sync'd"));
        EXPECT_EQ(got, 0U);
    }
    library.answers.erase(call);
    EXPECT_EQ(told(decoder.sync()), "success");
    EXPECT_EQ(decoder.totalFrames(), 3000U);
    EXPECT_EQ(readRest(decoder, 1000), library.bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, WMADecoderFailureTest,
    testing::Values(
        Failure{"WMCreateSyncReader", "Unable to create reader."}, Failure{"Open", "Unable to open file."},
        Failure{"GetOutputCount", "Unable to read outputs."},
        Failure{"GetOutputProps", "Unable to read output formats."},
        Failure{"output type size", "Unable to read output formats."},
        Failure{"output type", "Unable to read output formats."},
        Failure{"GetStreamNumberForOutput", "Unable to determine stream."},
        Failure{"QueryInterface", "Unable to read header."},
        Failure{"query header", "Unable to set query for header."},
        Failure{"header", "Invalid header information."},
        Failure{"SetReadStreamSamples", "Unable to set output to uncompressed."},
        Failure{"GetOutputFormatCount", "Unable to count output formats."},
        Failure{"GetOutputFormat", "Unable to read output format."},
        Failure{"format type size", "Unable to read output format."},
        Failure{"format type", "Unable to read output format."},
        Failure{"format set type", "Unable to set output format."},
        Failure{"SetOutputProps", "Unable to set output."}),
    [](const auto& parameter) {
        std::string name = parameter.param.call;
        std::replace(name.begin(), name.end(), ' ', '_');
        return name;
    });

TEST_F(WMADecoderTest, A_success_without_an_object_is_a_failure) {
    Decoder decoder(path);
    for (const auto& [call, message] :
         {std::pair{"WMCreateSyncReader", "Unable to create reader."},
          std::pair{"GetOutputProps", "Unable to read output formats."},
          std::pair{"QueryInterface", "Unable to read header."},
          std::pair{"GetOutputFormat", "Unable to read output format."}}) {
        library.givesNothing = call;
        EXPECT_EQ(told(decoder.sync()), badFormat(std::string(message) + " 0x80004003"));
        EXPECT_EQ(library.references(), 0);
    }
}

TEST_F(WMADecoderTest, Settings_that_the_library_refuses_are_no_failure) {
    library.answers["SetOutputSetting"] = E_NOTIMPL;
    Decoder decoder(path);
    EXPECT_EQ(told(decoder.sync()), "success");
    EXPECT_EQ(library.callsOf("SetOutputSetting"), 2U);
}

TEST_F(WMADecoderTest, The_first_output_that_is_audio_is_read) {
    const auto audio = library.outputs[0];
    auto video = audio;
    video.type.major.Data1 = 0x73646976;
    auto second = audio;
    second.stream = 5;
    second.formats[0].wave = waveFormat(1, 24, 8000);
    auto third = audio;
    third.stream = 6;
    library.outputs = {video, second, third};
    Decoder decoder(path);
    ASSERT_EQ(told(decoder.sync()), "success");
    EXPECT_EQ(decoder.format(), (Format{1, 3, 8000, 0, 0}));
    EXPECT_EQ(library.callsOf("GetOutputProps 2"), 0U);
    // Its channels too are to come as they are.
    EXPECT_EQ(library.callsOf("SetOutputSetting 1"), 2U);
    EXPECT_EQ(library.callsOf("GetStreamNumberForOutput 1"), 1U);
    EXPECT_EQ(library.callsOf("SetReadStreamSamples 5"), 1U);
    EXPECT_EQ(library.callsOf("SetOutputProps 1"), 1U);
    library.frameBytes = 3;
    std::array<float, 1> sample{};
    std::uint64_t got = 0;
    ASSERT_TRUE(decoder.ReadFloatInterleaved(1, sample.data(), got));
    EXPECT_EQ(library.calls.at(library.calls.size() - 2), "GetNextSample of stream 5");
}

TEST_F(WMADecoderTest, A_file_without_sound_is_an_error) {
    Decoder decoder(path);
    library.outputs[0].type.major.Data1 = 0x73646976;
    EXPECT_EQ(told(decoder.sync()), badFormat("No audio streams found."));
    library.outputs.clear();
    EXPECT_EQ(told(decoder.sync()), badFormat("No audio streams found."));
    EXPECT_EQ(library.references(), 0);
}

TEST_F(WMADecoderTest, The_first_format_of_integers_is_chosen) {
    const auto good = library.outputs[0].formats[0];
    auto noAudio = good;
    noAudio.major.Data1 = 0x73646976;
    auto compressed = good;
    compressed.sub.Data1 = 0x161;
    auto noWave = good;
    noWave.format.Data1 = 1;
    auto empty = good;
    empty.wave.clear();
    auto cut = good;
    cut.wave.resize(15);
    // 24 bits, each in a room of 32.
    auto roomy = good;
    roomy.wave = waveFormat(2, 24, 44100);
    roomy.wave.replace(12, 2, SoundFile::little(8, 2));
    auto second = good;
    second.wave = waveFormat(6, 24, 48000);
    library.outputs[0].formats = {
        noAudio,
        compressed,
        noWave,
        empty,
        cut,
        {.wave = waveFormat(0, 16, 44100)},
        {.wave = waveFormat(2, 0, 44100)},
        {.wave = waveFormat(2, 16, 0)},
        roomy,
        second,
        good};
    Decoder decoder(path);
    ASSERT_EQ(told(decoder.sync()), "success");
    EXPECT_EQ(decoder.format(), (Format{6, 3, 48000, 0, 0}));
    EXPECT_EQ(library.callsOf("GetOutputFormat 0 10"), 0U);
    EXPECT_EQ(library.calls.back(), "SetOutputProps 0 format");
    EXPECT_EQ(library.references(), 1);
}

TEST_F(WMADecoderTest, An_output_without_a_format_of_integers_is_an_error) {
    Decoder decoder(path);
    library.outputs[0].formats[0].sub.Data1 = 3;
    EXPECT_EQ(told(decoder.sync()), badFormat("Unable to read output format. 0xC00D0BBB"));
    library.outputs[0].formats.clear();
    EXPECT_EQ(told(decoder.sync()), badFormat("Unable to read output format. 0xC00D0BBB"));
}

TEST_F(WMADecoderTest, The_shortest_wave_format_and_the_extensible_one_are_understood) {
    setFormat(waveFormat(1, 16, 22050).substr(0, 16));
    Decoder shortest(path);
    ASSERT_EQ(told(shortest.sync()), "success");
    EXPECT_EQ(shortest.format(), (Format{1, 2, 22050, 0, 0}));
    setFormat(extensibleWaveFormat(6, 24, 96000, 0x3F));
    Decoder surround(path);
    ASSERT_EQ(told(surround.sync()), "success");
    EXPECT_EQ(surround.format(), (Format{6, 3, 96000, 0, 0x3F}));
    EXPECT_EQ(library.callsOf("format set type as it was"), 2U);
    // Says that it is extended, and is not.
    setFormat(waveFormat(2, 16, 44100, 0xFFFE));
    Decoder cut(path);
    ASSERT_EQ(told(cut.sync()), "success");
    EXPECT_EQ(cut.format(), (Format{2, 2, 44100, 0, 0}));
}

TEST_F(WMADecoderTest, A_duration_that_is_no_64_bit_number_is_an_error) {
    Decoder decoder(path);
    library.durationType = WMT_TYPE_DWORD;
    EXPECT_EQ(told(decoder.sync()), badFormat("Invalid header information. 0xC00D002F"));
    library.durationType = WMT_TYPE_QWORD;
    for (const WORD size : {WORD{0}, WORD{4}, WORD{9}, WORD{65535}}) {
        library.durationBytes = size;
        EXPECT_EQ(told(decoder.sync()), badFormat("Invalid header information. 0xC00D002F"));
    }
}

TEST_F(WMADecoderTest, The_total_is_the_duration_times_the_rate_rounded_down) {
    for (const auto& [duration, rate, frames] :
         {std::tuple{0ULL, 44100U, 0ULL}, std::tuple{50'416'326ULL, 44100U, 222'335ULL},
          std::tuple{226ULL, 44100U, 0ULL}, std::tuple{227ULL, 44100U, 1ULL},
          std::tuple{9'999'999ULL, 48000U, 47'999ULL}, std::tuple{10'000'000ULL, 48000U, 48'000ULL},
          // A year, the product of which has more than 64 bits.
          std::tuple{31'536'000ULL * 10'000'000ULL, 192'000U, 31'536'000ULL * 192'000ULL},
          std::tuple{~0ULL, 8000U, 14'757'395'258'967'641ULL}}) {
        library.duration = duration;
        setFormat(waveFormat(2, 16, rate));
        Decoder decoder(path);
        ASSERT_TRUE(decoder.sync());
        EXPECT_EQ(decoder.totalFrames(), frames) << duration << " at " << rate;
    }
}

TEST_F(WMADecoderTest, COM_is_left_to_the_thread) {
    {
        Decoder decoder(path);
        ASSERT_TRUE(decoder.sync());
        readRest(decoder, 1000);
    }
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    EXPECT_EQ(CoGetApartmentType(&type, &qualifier), CO_E_NOTINITIALIZED);
}

} // namespace
