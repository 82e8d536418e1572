#include "audio/sound/ReportText.h"

#include "audio/decode/FourCC.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace Audio::Sound;
using Audio::Decode::fourCC;

SoundReport small() {
    SoundReport report;
    report.path = "a.wav";
    report.isOpen = true;
    report.fileType = Audio::Decode::FileTypeWAV;
    report.format = {1, 2, 44100, 0, 0};
    report.bits = 16;
    report.frames = report.framesRead = 66150;
    report.levels = {Levels{0.5F, 0.25, 0, 0}};
    return report;
}

SoundReport full() {
    SoundReport report = small();
    report.format = {2, 4, 48000, 1, 3};
    report.bits = 32;
    report.frames = 96000;
    report.framesRead = 1000;
    report.isTruncated = true;
    report.diagnostics = {"odd chunk"};
    report.originatorReference = "REF-0815";
    report.loop = {8U, 3U, 4U};
    report.markers = {{1, 48000, "one"}, {2, 0, String()}};
    report.regions = {{1, 48000, 24, "part"}};
    report.labels = {{1, "one"}, {9, "none"}};
    report.notes = {{2, "remark"}};
    report.applications = {{fourCC("sign"), 100, 5}};
    report.levels = {Levels{1.0F, 0.5, 0, 0}, Levels{{}, {}, 7, 1}};
    report.head = {0.1F, -1.0F, 1e-40F, 3.0e38F};
    report.errors = {"what was wrong"};
    return report;
}

bool contains(const std::string& text, const std::string& piece) {
    return text.find(piece) != std::string::npos;
}

TEST(ReportText, A_plain_file_takes_a_few_lines) {
    EXPECT_EQ(
        reportText(small()), "a.wav\n"
                             "  kind        WAV\n"
                             "  format      1 channel, 16-bit integer, 44100 Hz\n"
                             "  frames      66150\n"
                             "  duration    0:01.500\n"
                             "  truncated   no\n"
                             "  channel 1   peak 0.500000 (-6.02 dB), RMS 0.250000 (-12.04 dB)\n");
}

TEST(ReportText, Everything_that_a_file_has_is_told) {
    EXPECT_EQ(
        reportText(full()), "a.wav\n"
                            "  kind        WAV\n"
                            "  format      2 channels, 32-bit float, 48000 Hz\n"
                            "  speakers    0x3\n"
                            "  frames      96000\n"
                            "  duration    0:02.000\n"
                            "  truncated   yes\n"
                            "  odd         odd chunk\n"
                            "  reference   REF-0815\n"
                            "  loop        8 beats, 3/4\n"
                            "  marker      1 at frame 48000 (0:01.000): one\n"
                            "  marker      2 at frame 0 (0:00.000)\n"
                            "  region      1 at frame 48000 (0:01.000), 24 frames: part\n"
                            "  label       9, no such marker: none\n"
                            "  note        2: remark\n"
                            "  data of     'sign', 5 bytes\n"
                            "  read        1000 frames\n"
                            "  channel 1   peak 1.000000 (0.00 dB), RMS 0.500000 (-6.02 dB)\n"
                            "  channel 2   no samples to measure, 7 NaN left out, 1 infinite left out\n"
                            "  sample 0                0.1              -1\n"
                            "  sample 1              1e-40           3e+38\n");
}

TEST(ReportText, Of_a_file_that_was_not_opened_there_is_no_text) {
    SoundReport report;
    report.path = "a.wav";
    report.errors = {"Invalid RIFF header"};
    EXPECT_EQ(reportText(report), "");
}

TEST(ReportText, Silence_is_minus_infinity_decibels) {
    SoundReport report = small();
    report.levels = {Levels{0.0F, 0.0, 0, 0}};
    EXPECT_TRUE(contains(reportText(report), "peak 0.000000 (-inf dB), RMS 0.000000 (-inf dB)"));
}

TEST(ReportText, Samples_that_are_no_finite_numbers_are_named) {
    SoundReport report = small();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    report.head = {std::numeric_limits<float>::quiet_NaN(), infinity, -infinity, -0.0F};
    const std::string text = reportText(report);
    EXPECT_TRUE(contains(text, "sample 0                nan\n")) << text;
    EXPECT_TRUE(contains(text, "sample 1                inf\n"));
    EXPECT_TRUE(contains(text, "sample 2               -inf\n"));
    EXPECT_TRUE(contains(text, "sample 3                 -0\n"));
    const Json::Value head = reportJson(report)["head"];
    EXPECT_EQ(head[0][0].asString(), "NaN");
    EXPECT_EQ(head[1][0].asString(), "Infinity");
    EXPECT_EQ(head[2][0].asString(), "-Infinity");
    EXPECT_TRUE(contains(jsonText(report), "-0.0"));
}

TEST(ReportText, Texts_of_a_file_cannot_steer_the_terminal) {
    SoundReport report = full();
    const String steering = "a\x1b[2J\xC2\x9B\x07\xE9";
    report.path = report.originatorReference = report.markers[0].name = report.regions[0].name =
        report.labels[1].text = report.notes[0].text = report.diagnostics[0] = steering;
    report.applications[0].signature = 0x1B5B324A;
    const std::string text = reportText(report);
    for (const char* bytes : {"\x1b", "\x07", "\xC2\x9B", "\xE9"}) {
        EXPECT_FALSE(contains(text, bytes)) << text;
    }
    const std::string shown = "a\xEF\xBF\xBD[2J\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD";
    std::size_t count = 0;
    for (std::size_t at = text.find(shown); at != std::string::npos; at = text.find(shown, at + 1)) {
        ++count;
    }
    EXPECT_EQ(count, 7U) << text;
    EXPECT_TRUE(contains(text, "'\xEF\xBF\xBD[2J'"));
}

TEST(ReportText, Durations_have_hours_where_there_are_any) {
    EXPECT_EQ(durationText(0, 44100), "0:00.000");
    EXPECT_EQ(durationText(1, 44100), "0:00.000");
    EXPECT_EQ(durationText(44099, 44100), "0:00.999");
    EXPECT_EQ(durationText(std::uint64_t{3599} * 1000 + 999, 1000), "59:59.999");
    EXPECT_EQ(durationText(std::uint64_t{3723} * 1000 + 4, 1000), "1:02:03.004");
    EXPECT_EQ(durationText(std::uint64_t{1} << 40U, 1), "305419896:36:16.000");
    EXPECT_EQ(durationText(1, 0), "");
}

TEST(ReportText, Json_has_a_member_for_every_fact) {
    const Json::Value json = reportJson(full());
    EXPECT_EQ(json["file"].asString(), "a.wav");
    EXPECT_EQ(json["errors"][0].asString(), "what was wrong");
    EXPECT_EQ(json["kind"].asString(), "WAV");
    EXPECT_EQ(json["channels"].asUInt(), 2U);
    EXPECT_EQ(json["bits"].asUInt(), 32U);
    EXPECT_TRUE(json["float"].asBool());
    EXPECT_EQ(json["sampleRate"].asUInt(), 48000U);
    EXPECT_EQ(json["channelMask"].asUInt(), 3U);
    EXPECT_EQ(json["frames"].asUInt64(), 96000U);
    EXPECT_EQ(json["seconds"].asDouble(), 2.0);
    EXPECT_TRUE(json["truncated"].asBool());
    EXPECT_EQ(json["diagnostics"][0].asString(), "odd chunk");
    EXPECT_EQ(json["originatorReference"].asString(), "REF-0815");
    EXPECT_EQ(json["loop"]["beats"].asUInt(), 8U);
    EXPECT_EQ(json["loop"]["numerator"].asUInt(), 3U);
    EXPECT_EQ(json["loop"]["denominator"].asUInt(), 4U);
    EXPECT_EQ(json["markers"][0]["identifier"].asUInt(), 1U);
    EXPECT_EQ(json["markers"][0]["frame"].asUInt64(), 48000U);
    EXPECT_EQ(json["markers"][0]["name"].asString(), "one");
    EXPECT_FALSE(json["markers"][1].isMember("name"));
    EXPECT_EQ(json["regions"][0]["frames"].asUInt64(), 24U);
    EXPECT_EQ(json["regions"][0]["name"].asString(), "part");
    EXPECT_EQ(json["labels"].size(), 2U);
    EXPECT_EQ(json["labels"][1]["marker"].asUInt(), 9U);
    EXPECT_EQ(json["labels"][1]["text"].asString(), "none");
    EXPECT_EQ(json["notes"][0]["text"].asString(), "remark");
    EXPECT_EQ(json["applications"][0]["signature"].asString(), "sign");
    EXPECT_EQ(json["applications"][0]["bytes"].asUInt(), 5U);
    EXPECT_EQ(json["framesRead"].asUInt64(), 1000U);
    EXPECT_EQ(json["levels"][0]["peak"].asDouble(), 1.0);
    EXPECT_EQ(json["levels"][0]["rms"].asDouble(), 0.5);
    EXPECT_TRUE(json["levels"][1]["peak"].isNull());
    EXPECT_TRUE(json["levels"][1]["rms"].isNull());
    EXPECT_EQ(json["levels"][1]["nan"].asUInt64(), 7U);
    EXPECT_EQ(json["levels"][1]["infinite"].asUInt64(), 1U);
    EXPECT_EQ(json["head"].size(), 2U);
    EXPECT_EQ(json["head"][1].size(), 2U);
}

TEST(ReportText, Json_of_a_file_that_was_not_opened_has_its_name_and_the_errors) {
    SoundReport report;
    report.path = "a.wav";
    report.errors = {"Invalid RIFF header"};
    EXPECT_EQ(reportJson(report).getMemberNames(), (std::vector<std::string>{"errors", "file"}));
}

TEST(ReportText, Json_of_a_plain_file_has_no_reference_and_no_loop_and_empty_lists) {
    const Json::Value json = reportJson(small());
    EXPECT_FALSE(json.isMember("originatorReference"));
    EXPECT_FALSE(json.isMember("loop"));
    for (const char* list :
         {"errors", "diagnostics", "markers", "regions", "labels", "notes", "applications", "head"}) {
        EXPECT_TRUE(json[list].isArray() && json[list].empty()) << list;
    }
}

TEST(ReportText, Texts_that_are_no_utf_8_keep_their_bytes_in_json) {
    SoundReport report = full();
    report.path = report.originatorReference = report.markers[0].name = report.regions[0].name =
        report.labels[1].text = report.notes[0].text = "\xE9";
    report.applications[0].signature = 0xE9E9E9E9;
    const Json::Value json = reportJson(report);
    EXPECT_EQ(json["fileBytes"].asString(), "e9");
    EXPECT_EQ(json["originatorReferenceBytes"].asString(), "e9");
    EXPECT_EQ(json["markers"][0]["nameBytes"].asString(), "e9");
    EXPECT_EQ(json["regions"][0]["nameBytes"].asString(), "e9");
    EXPECT_EQ(json["labels"][1]["textBytes"].asString(), "e9");
    EXPECT_EQ(json["notes"][0]["textBytes"].asString(), "e9");
    EXPECT_EQ(json["applications"][0]["signatureBytes"].asString(), "e9e9e9e9");
}

TEST(ReportText, Json_numbers_tell_neighbouring_floats_apart) {
    SoundReport report = small();
    const float next = std::nextafter(0.1F, 1.0F);
    report.head = {0.1F, next};
    const std::string text = jsonText(report);
    EXPECT_TRUE(contains(text, "0.100000001")) << text;
    EXPECT_TRUE(contains(text, "0.100000009"));
}

TEST(ReportText, Samples_of_every_length_stand_apart) {
    SoundReport report = small();
    report.format.channels = 2;
    report.head = {-1.28197835e-05F, -0.000117033924F};
    EXPECT_TRUE(contains(reportText(report), " -1.28197835e-05 -0.000117033924\n")) << reportText(report);
}

TEST(ReportText, A_label_is_told_unless_it_is_its_markers_name) {
    SoundReport report = full();
    report.markers = {{7, 0, "one"}, {8, 0, String()}};
    report.labels = {{7, "one"}, {7, "two"}, {8, "withheld"}};
    const std::string text = reportText(report);
    EXPECT_FALSE(contains(text, "  label       7: one\n")) << text;
    EXPECT_TRUE(contains(text, "  label       7: two\n")) << text;
    EXPECT_TRUE(contains(text, "  label       8: withheld\n")) << text;
}

} // namespace
