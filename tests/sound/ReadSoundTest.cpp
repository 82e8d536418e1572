#include "audio/sound/ReadSound.h"

#include "audio/SoundFileBytes.h"
#include "svbase/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace SoundFile;
using Audio::Sound::ReadOptions;
using Audio::Sound::readSound;
using Audio::Sound::SoundReport;
using testing::ElementsAre;

class ReadSoundTest : public testing::Test {
protected:
    SoundReport read(const std::string& bytes, const ReadOptions& options = {}) const {
        return readSound(directory.file(u8"a", bytes), options);
    }
    SoundReport readHead(const std::string& bytes, std::uint64_t frames) const {
        ReadOptions options;
        options.headFrames = frames;
        return read(bytes, options);
    }

    TemporaryDirectory directory;
};

/// 0.5 and -0.5 in 16 bits of AIFF.
const std::string half("\x40\x00\xC0\x00", 4);

std::vector<std::string> errorsOf(const SoundReport& report) {
    std::vector<std::string> texts;
    for (const String& error : report.errors) {
        texts.push_back(error.toStdString());
    }
    return texts;
}

std::string wav16(unsigned channels, const std::vector<int>& samples) {
    std::string bytes;
    for (const int sample : samples) {
        bytes += little(static_cast<std::uint16_t>(sample), 2);
    }
    return riff(wavChunk("fmt ", plainFormat(1, channels, 16)) + wavChunk("data", bytes));
}

std::string cuePoint(std::uint32_t identifier, std::uint32_t frame) {
    return little(identifier, 4) + little(frame, 4) + "data" + little(0, 8) + little(frame, 4);
}

TEST_F(ReadSoundTest, A_wav_file_tells_its_format_its_levels_and_its_head) {
    const SoundReport report = readHead(wav16(2, {16384, -32768, 0, 0, -8192, 0}), 2);
    EXPECT_THAT(errorsOf(report), ElementsAre());
    EXPECT_TRUE(report.isOpen);
    EXPECT_EQ(report.path, directory / u8"a");
    EXPECT_EQ(report.fileType, Audio::Decode::FileTypeWAV);
    EXPECT_EQ(report.format, (Audio::Decode::Format{2, 2, 44100, 0, 0}));
    EXPECT_EQ(report.bits, 16U);
    EXPECT_EQ(report.frames, 3U);
    EXPECT_EQ(report.framesRead, 3U);
    EXPECT_FALSE(report.isTruncated);
    ASSERT_EQ(report.levels.size(), 2U);
    EXPECT_EQ(report.levels[0].peak, checked_value<float>(0.5F));
    EXPECT_DOUBLE_EQ(report.levels[0].rms.value, std::sqrt((0.25 + 0.0625) / 3));
    EXPECT_EQ(report.levels[1].peak, checked_value<float>(1.0F));
    EXPECT_DOUBLE_EQ(report.levels[1].rms.value, std::sqrt(1.0 / 3));
    EXPECT_THAT(report.head, ElementsAre(0.5F, -1.0F, 0.0F, 0.0F));
}

TEST_F(ReadSoundTest, What_a_wav_file_says_beside_its_samples_is_told) {
    std::string bext(602, '\0');
    bext.replace(288, 8, "REF-0815");
    const std::string list = wavChunk("labl", little(1, 4) + "one") +
                             wavChunk("labl", little(9, 4) + "none") +
                             wavChunk("note", little(1, 4) + "remark") +
                             wavChunk("ltxt", little(1, 4) + little(5, 4) + "rgn " + little(0, 8) + "part");
    const SoundReport report = read(smallWav(
        "abcd", wavChunk("bext", bext) + wavChunk("cue ", little(1, 4) + cuePoint(1, 2)) +
                    wavChunk("LIST", "adtl" + list)));
    EXPECT_THAT(errorsOf(report), ElementsAre());
    EXPECT_EQ(report.originatorReference, "REF-0815");
    ASSERT_EQ(report.markers.size(), 1U);
    EXPECT_EQ(report.markers[0].name, "one");
    ASSERT_EQ(report.labels.size(), 2U);
    EXPECT_EQ(report.labels[1].cueIdentifier, 9U);
    EXPECT_EQ(report.labels[1].text, "none");
    ASSERT_EQ(report.notes.size(), 1U);
    EXPECT_EQ(report.notes[0].text, "remark");
    ASSERT_EQ(report.regions.size(), 1U);
    EXPECT_EQ(report.regions[0].frames, 5U);
}

TEST_F(ReadSoundTest, What_an_aiff_file_says_beside_its_samples_is_told) {
    const std::string basc = big(1, 4) + big(8, 4) + big(60, 2) + big(2, 2) + big(3, 2) + big(4, 2) +
                             big(2, 2) + std::string(66, '\0');
    const SoundReport report = read(form(
        "AIFF", aiffChunk("COMM", common(1, 2, 12)) + aiffChunk("basc", basc) +
                    aiffChunk("APPL", "signdata") + aiffChunk("SSND", sound(half)) + "junk" + big(1000, 4)));
    EXPECT_THAT(errorsOf(report), ElementsAre());
    EXPECT_EQ(report.fileType, Audio::Decode::FileTypeAIFF);
    EXPECT_EQ(report.bits, 12U);
    EXPECT_EQ(report.loop.beats, checked_value<unsigned>(8));
    ASSERT_EQ(report.applications.size(), 1U);
    EXPECT_EQ(report.applications[0].size, 4U);
    ASSERT_EQ(report.diagnostics.size(), 1U);
    EXPECT_EQ(
        report.diagnostics[0],
        "Chunk 'junk' has a size (1000 B) that is larger than the remaining file (0 B).");
}

TEST_F(ReadSoundTest, A_truncated_file_is_read_as_far_as_it_goes) {
    std::string bytes = wav16(1, {1, 2, 3, 4});
    bytes.resize(bytes.size() - 3);
    const SoundReport report = read(bytes);
    EXPECT_THAT(errorsOf(report), ElementsAre());
    EXPECT_TRUE(report.isTruncated);
    EXPECT_EQ(report.frames, 2U);
    EXPECT_EQ(report.framesRead, 2U);
}

TEST_F(ReadSoundTest, A_file_without_samples_has_channels_without_levels) {
    const SoundReport report = readHead(wav16(2, {}), 5);
    EXPECT_THAT(errorsOf(report), ElementsAre());
    EXPECT_EQ(report.frames, 0U);
    ASSERT_EQ(report.levels.size(), 2U);
    EXPECT_FALSE(report.levels[0].peak);
    EXPECT_TRUE(report.head.empty());
}

TEST_F(ReadSoundTest, A_file_of_many_pieces_is_measured_to_its_end) {
    constexpr std::size_t frames = 200'001;
    std::vector<int> samples(2 * frames, 16384);
    samples[2 * frames - 1] = -32768;
    const SoundReport report = readHead(wav16(2, samples), frames - 1);
    EXPECT_EQ(report.framesRead, frames);
    EXPECT_EQ(report.levels[0].peak, checked_value<float>(0.5F));
    EXPECT_EQ(report.levels[1].peak, checked_value<float>(1.0F));
    EXPECT_DOUBLE_EQ(report.levels[0].rms.value, 0.5);
    EXPECT_NEAR(report.levels[1].rms.value, std::sqrt((0.25 * (frames - 1) + 1) / frames), 1e-15);
    // The head goes through all pieces, too.
    EXPECT_EQ(report.head, std::vector<float>(2 * (frames - 1), 0.5F));
}

TEST_F(ReadSoundTest, A_head_longer_than_the_file_is_the_file) {
    EXPECT_THAT(readHead(wav16(1, {16384, -16384}), 1'000'000).head, ElementsAre(0.5F, -0.5F));
}

TEST_F(ReadSoundTest, As_many_channels_as_a_file_can_have_are_measured) {
    constexpr unsigned channels = 65535;
    std::vector<int> samples(3 * std::size_t{channels}, 0);
    samples[0] = 16384;
    samples[2 * channels - 1] = -16384;
    const SoundReport report = readHead(wav16(channels, samples), 1);
    EXPECT_THAT(errorsOf(report), ElementsAre());
    EXPECT_EQ(report.framesRead, 3U);
    ASSERT_EQ(report.levels.size(), channels);
    EXPECT_EQ(report.levels.front().peak, checked_value<float>(0.5F));
    EXPECT_EQ(report.levels[1].peak, checked_value<float>(0.0F));
    EXPECT_EQ(report.levels.back().peak, checked_value<float>(0.5F));
    EXPECT_EQ(report.head.size(), channels);
}

TEST_F(ReadSoundTest, Progress_is_told_after_each_piece_up_to_the_end) {
    ReadOptions options;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> told;
    options.progress = [&](std::uint64_t done, std::uint64_t all) { told.emplace_back(done, all); };
    read(wav16(1, std::vector<int>(200'000, 1)), options);
    ASSERT_GE(told.size(), 3U);
    std::uint64_t before = 0;
    for (const auto& [done, all] : told) {
        EXPECT_GE(done, before);
        EXPECT_EQ(all, 200'000U);
        before = done;
    }
    EXPECT_GT(told.front().first, 0U);
    EXPECT_LT(told.front().first, 200'000U);
    EXPECT_EQ(told.back().first, 200'000U);
}

TEST_F(ReadSoundTest, Samples_that_cannot_be_converted_are_an_error_beside_the_rest) {
    const SoundReport report =
        readHead(riff(wavChunk("fmt ", plainFormat(1, 1, 8)) + wavChunk("data", "abcd")), 2);
    EXPECT_TRUE(report.isOpen);
    EXPECT_EQ(report.frames, 4U);
    EXPECT_EQ(report.framesRead, 0U);
    EXPECT_TRUE(report.levels.empty());
    EXPECT_TRUE(report.head.empty());
    EXPECT_THAT(errorsOf(report), ElementsAre("ReadFloatInterleaved 65536 called, unsupported conversion"));
}

TEST_F(ReadSoundTest, Samples_that_end_early_are_measured_as_far_as_they_go) {
    const SoundReport report =
        readHead(form("AIFF", aiffChunk("COMM", common(1, 100, 16)) + aiffChunk("SSND", sound(half))), 9);
    EXPECT_EQ(report.frames, 100U);
    EXPECT_EQ(report.framesRead, 2U);
    EXPECT_FALSE(report.isTruncated);
    ASSERT_EQ(report.levels.size(), 1U);
    EXPECT_EQ(report.levels[0].peak, checked_value<float>(0.5F));
    EXPECT_THAT(report.head, ElementsAre(0.5F, -0.5F));
    ASSERT_EQ(report.errors.size(), 1U);
    EXPECT_TRUE(report.errors[0].startsWith("Attempt to read "));
}

TEST_F(ReadSoundTest, A_damaged_chunk_is_told_once_and_keeps_nothing_else_back) {
    const SoundReport report = read(smallWav("abcd", wavChunk("cue ", "abc")));
    EXPECT_THAT(errorsOf(report), ElementsAre("Invalid size for cue points"));
    EXPECT_TRUE(report.markers.empty());
    EXPECT_EQ(report.framesRead, 2U);
    EXPECT_EQ(report.levels.size(), 1U);
}

TEST_F(ReadSoundTest, A_file_that_is_not_there_is_told_with_the_systems_reason) {
    const SoundReport report = readSound("/nonexistent/a.wav", {});
    EXPECT_FALSE(report.isOpen);
    EXPECT_THAT(
        errorsOf(report), ElementsAre("Could not determine the filetype of \"/nonexistent/a.wav\": Error "
                                      "opening file: No such file or directory"));
}

TEST_F(ReadSoundTest, A_folder_is_no_sound_file) {
    std::filesystem::create_directory(directory.path() / "a.wav");
    const SoundReport report = readSound(directory / u8"a.wav", {});
    EXPECT_FALSE(report.isOpen);
    ASSERT_EQ(report.errors.size(), 1U);
    EXPECT_TRUE(report.errors[0].startsWith("Could not determine the filetype of \""));
    EXPECT_TRUE(report.errors[0].indexOf("a.wav\": Error opening file: "));
}

TEST_F(ReadSoundTest, A_file_that_is_too_short_for_any_format_is_told_with_its_length) {
    const SoundReport report = read("RIFF");
    EXPECT_FALSE(report.isOpen);
    ASSERT_EQ(report.errors.size(), 1U);
    EXPECT_TRUE(report.errors[0].endsWith("\": Attempt to read 12 bytes, only read 4 bytes"));
}

TEST_F(ReadSoundTest, A_file_of_no_known_kind_is_told_as_such) {
    const SoundReport report = read("This is no sound at all.");
    EXPECT_FALSE(report.isOpen);
    ASSERT_EQ(report.errors.size(), 1U);
    EXPECT_TRUE(report.errors[0].endsWith(String("\"") + (directory / u8"a") + "\""));
}

TEST_F(ReadSoundTest, A_file_that_is_not_what_its_name_says_gives_its_decoders_error) {
    const SoundReport report = readSound(directory.file(u8"a.wav", "This is no sound at all."), {});
    EXPECT_FALSE(report.isOpen);
    EXPECT_THAT(errorsOf(report), ElementsAre("Invalid RIFF header"));
}

} // namespace
