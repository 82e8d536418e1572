#include "audio/decode/WAVDecoder.h"

#include "audio/SoundFileBytes.h"
#include "support/AllocationCount.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

namespace {

using namespace SoundFile;
using Audio::Decode::WAV::Decoder;

const std::string samples(8, '\x01');

std::string cuePoint(std::uint32_t identifier, std::uint32_t sampleOffset) {
    return little(identifier, 4) + little(sampleOffset + 1, 4) + "data" + little(7, 4) + little(8, 4) +
           little(sampleOffset, 4);
}

std::string adtl(const std::string& chunks) {
    return wavChunk("LIST", "adtl" + chunks);
}

std::string labeledTextBody(std::uint32_t cue, std::uint32_t length, const std::string& text) {
    return little(cue, 4) + little(length, 4) + "rgn " + little(1, 2) + little(2, 2) + little(3, 2) +
           little(4, 2) + text;
}

class WAVMetadataTest : public testing::Test {
protected:
    Decoder& open(const std::string& chunksBehind) {
        decoder = std::make_unique<Decoder>(directory.file(u8"a.wav", smallWav(samples, chunksBehind)));
        EXPECT_EQ(told(decoder->sync()), "success");
        return *decoder;
    }

    TemporaryDirectory directory;
    std::unique_ptr<Decoder> decoder;
};

TEST_F(WAVMetadataTest, Cue_points_are_read_field_by_field) {
    Decoder& wav = open(wavChunk("cue ", little(2, 4) + cuePoint(5, 100) + cuePoint(0xFFFFFFFF, 0)));
    const auto points = wav.cuePoints();
    ASSERT_TRUE(points);
    ASSERT_EQ(points->size(), 2U);
    EXPECT_EQ((*points)[0].identifier, 5U);
    EXPECT_EQ((*points)[0].position, 101U);
    EXPECT_EQ((*points)[0].chunkName, 0x64617461U);
    EXPECT_EQ((*points)[0].chunkStart, 7U);
    EXPECT_EQ((*points)[0].blockStart, 8U);
    EXPECT_EQ((*points)[0].sampleOffset, 100U);
    EXPECT_EQ((*points)[1].identifier, 0xFFFFFFFFU);
    // The chunk stays among the others.
    EXPECT_EQ(wav.chunkCount(), 1U);
}

TEST_F(WAVMetadataTest, Cue_points_before_the_data_are_found_too) {
    decoder = std::make_unique<Decoder>(directory.file(
        u8"a.wav", riff(wavChunk("cue ", little(1, 4) + cuePoint(1, 2)) + smallWav(samples).substr(12))));
    ASSERT_TRUE(decoder->sync());
    ASSERT_TRUE(decoder->cuePoints());
    EXPECT_EQ(decoder->cuePoints()->size(), 1U);
    EXPECT_FALSE(decoder->chunk(0).value.afterData);
}

TEST_F(WAVMetadataTest, A_cue_chunk_whose_size_is_not_that_of_its_count_is_an_error) {
    const std::string error = badFormat("Invalid size for cue points");
    const std::string two = cuePoint(1, 2) + cuePoint(2, 3);
    EXPECT_EQ(told(open(wavChunk("cue ", little(1, 4) + two)).cuePoints()), error);
    EXPECT_EQ(told(open(wavChunk("cue ", little(3, 4) + two)).cuePoints()), error);
    EXPECT_EQ(told(open(wavChunk("cue ", little(2, 4) + two + "x")).cuePoints()), error);
    EXPECT_EQ(told(open(wavChunk("cue ", little(2, 4) + two.substr(1))).cuePoints()), error);
    EXPECT_EQ(told(open(wavChunk("cue ", "abc")).cuePoints()), error);
    EXPECT_EQ(told(open(wavChunk("cue ", "")).cuePoints()), error);
    // 24 times this count is 24 modulo 2^32.
    EXPECT_EQ(told(open(wavChunk("cue ", little(0x20000001, 4) + cuePoint(1, 2))).cuePoints()), error);
    EXPECT_EQ(told(decoder->markers()), error);
    EXPECT_EQ(told(decoder->regions()), error);
    EXPECT_EQ(told(open(wavChunk("cue ", little(0, 4))).cuePoints()), "success");
}

TEST_F(WAVMetadataTest, Labels_and_notes_are_texts_to_the_end_of_the_chunk) {
    Decoder& wav = open(adtl(
        wavChunk("labl", little(1, 4) + std::string("one\0", 4)) + wavChunk("note", little(1, 4) + "remark") +
        wavChunk("labl", little(2, 4) + "three") + wavChunk("labl", little(3, 4)) +
        wavChunk("labl", little(4, 4) + std::string("cut\0off", 7))));
    const auto labels = wav.labels();
    ASSERT_TRUE(labels);
    ASSERT_EQ(labels->size(), 4U);
    EXPECT_EQ((*labels)[0].cueIdentifier, 1U);
    EXPECT_EQ((*labels)[0].text.toStdString(), "one");
    EXPECT_EQ((*labels)[1].text.toStdString(), "three");
    EXPECT_EQ((*labels)[2].text.toStdString(), "");
    EXPECT_EQ((*labels)[3].text.toStdString(), "cut");
    const auto notes = wav.notes();
    ASSERT_TRUE(notes);
    ASSERT_EQ(notes->size(), 1U);
    EXPECT_EQ((*notes)[0].text.toStdString(), "remark");
}

TEST_F(WAVMetadataTest, Labels_and_notes_below_4_bytes_are_an_error) {
    EXPECT_EQ(told(open(adtl(wavChunk("labl", "abc"))).labels()), badFormat("Invalid size for label"));
    EXPECT_EQ(told(decoder->markers()), badFormat("Invalid size for label"));
    EXPECT_EQ(told(decoder->notes()), "success");
    EXPECT_EQ(told(open(adtl(wavChunk("note", "abc"))).notes()), badFormat("Invalid size for label"));
    EXPECT_EQ(told(decoder->labels()), "success");
}

TEST_F(WAVMetadataTest, Labelled_texts_are_read_field_by_field) {
    const auto texts = open(adtl(wavChunk("ltxt", labeledTextBody(9, 1000, "verse")))).labeledText();
    ASSERT_TRUE(texts);
    ASSERT_EQ(texts->size(), 1U);
    EXPECT_EQ((*texts)[0].cueIdentifier, 9U);
    EXPECT_EQ((*texts)[0].sampleLength, 1000U);
    EXPECT_EQ((*texts)[0].purpose, 0x72676E20U);
    EXPECT_EQ((*texts)[0].country, 1U);
    EXPECT_EQ((*texts)[0].language, 2U);
    EXPECT_EQ((*texts)[0].dialect, 3U);
    EXPECT_EQ((*texts)[0].codePage, 4U);
    EXPECT_EQ((*texts)[0].text.toStdString(), "verse");
}

TEST_F(WAVMetadataTest, A_labelled_text_below_20_bytes_is_an_error) {
    EXPECT_EQ(
        told(open(adtl(wavChunk("ltxt", labeledTextBody(9, 1, "").substr(0, 19)))).labeledText()),
        badFormat("Invalid size for labeled text"));
    EXPECT_EQ(told(decoder->regions()), badFormat("Invalid size for labeled text"));
    EXPECT_EQ(told(open(adtl(wavChunk("ltxt", labeledTextBody(9, 1, "")))).labeledText()), "success");
}

TEST_F(WAVMetadataTest, Only_lists_of_labels_are_walked) {
    const std::string label = wavChunk("labl", little(1, 4) + "one");
    EXPECT_TRUE(open(wavChunk("LIST", "INFO" + label)).labels()->empty());
    EXPECT_TRUE(open(wavChunk("LIST", "ADTL" + label)).labels()->empty());
    EXPECT_TRUE(open(wavChunk("LIST", "adt")).labels()->empty());
    EXPECT_TRUE(open(wavChunk("list", "adtl" + label)).labels()->empty());
    EXPECT_EQ(open(wavChunk("LIST", "INFO" + label) + adtl(label) + adtl(label)).labels()->size(), 2U);
}

TEST_F(WAVMetadataTest, A_list_in_a_list_is_skipped) {
    const std::string label = wavChunk("labl", little(1, 4) + "one");
    const auto labels = open(adtl(adtl(label) + wavChunk("labl", little(2, 4) + "two"))).labels();
    ASSERT_TRUE(labels);
    ASSERT_EQ(labels->size(), 1U);
    EXPECT_EQ((*labels)[0].cueIdentifier, 2U);
}

TEST_F(WAVMetadataTest, A_label_that_runs_past_its_list_ends_the_walk_silently) {
    const std::string good = wavChunk("labl", little(1, 4) + "one");
    const auto labels =
        open(adtl(good + "labl" + little(100, 4) + "abcd") + wavChunk("junk", std::string(200, 'x')))
            .labels();
    ASSERT_TRUE(labels);
    EXPECT_EQ(labels->size(), 1U);
    EXPECT_EQ(open(adtl(good + "labl\x04")).labels()->size(), 1U);
    // Without the pad byte of the last one the list ends before it would be.
    EXPECT_EQ(open(wavChunk("LIST", "adtl" + good.substr(0, good.size() - 1))).labels()->size(), 1U);
}

TEST_F(WAVMetadataTest, Markers_are_cue_points_with_their_first_label) {
    Decoder& wav = open(
        wavChunk("cue ", little(2, 4) + cuePoint(5, 100) + cuePoint(6, 200)) +
        adtl(wavChunk("labl", little(6, 4) + "six") + wavChunk("labl", little(6, 4) + "again")));
    const auto markers = wav.markers();
    ASSERT_TRUE(markers);
    ASSERT_EQ(markers->size(), 2U);
    EXPECT_EQ((*markers)[0].identifier, 5U);
    EXPECT_EQ((*markers)[0].frame, 100U);
    EXPECT_TRUE((*markers)[0].name.isNull());
    EXPECT_EQ((*markers)[1].frame, 200U);
    EXPECT_EQ((*markers)[1].name.toStdString(), "six");
}

TEST_F(WAVMetadataTest, Regions_are_labelled_texts_of_some_length_from_their_cue_point) {
    Decoder& wav = open(
        wavChunk("cue ", little(2, 4) + cuePoint(5, 100) + cuePoint(6, 200)) +
        adtl(
            wavChunk("ltxt", labeledTextBody(6, 50, "")) + wavChunk("ltxt", labeledTextBody(5, 0, "none")) +
            wavChunk("ltxt", labeledTextBody(7, 50, "of nothing")) +
            wavChunk("ltxt", labeledTextBody(5, 30, "five")) + wavChunk("labl", little(6, 4) + "six")));
    const auto regions = wav.regions();
    ASSERT_TRUE(regions);
    ASSERT_EQ(regions->size(), 2U);
    EXPECT_EQ((*regions)[0].identifier, 6U);
    EXPECT_EQ((*regions)[0].frame, 200U);
    EXPECT_EQ((*regions)[0].frames, 50U);
    EXPECT_EQ((*regions)[0].name.toStdString(), "six");
    EXPECT_EQ((*regions)[1].name.toStdString(), "five");
}

TEST_F(WAVMetadataTest, Asking_for_metadata_leaves_the_position_and_what_is_read_there) {
    Decoder& wav =
        open(wavChunk("cue ", little(1, 4) + cuePoint(5, 100)) + adtl(wavChunk("labl", little(5, 4) + "x")));
    std::int16_t first = 0;
    std::int16_t second = 0;
    std::uint64_t framesRead = 0;
    ASSERT_TRUE(wav.seek(1));
    ASSERT_TRUE(wav.ReadInt16Interleaved(1, &first, framesRead));
    ASSERT_TRUE(wav.markers());
    ASSERT_TRUE(wav.regions());
    EXPECT_EQ(wav.position(), 2U);
    ASSERT_TRUE(wav.ReadInt16Interleaved(1, &second, framesRead));
    EXPECT_EQ(second, 0x0101);
    EXPECT_EQ(wav.position(), 3U);
}

TEST_F(WAVMetadataTest, Before_sync_there_is_no_metadata) {
    Decoder wav(
        directory.file(u8"a.wav", smallWav(samples, wavChunk("cue ", little(1, 4) + cuePoint(5, 100)))));
    EXPECT_TRUE(wav.cuePoints()->empty());
    EXPECT_TRUE(wav.markers()->empty());
    EXPECT_TRUE(wav.labels()->empty());
}

TEST_F(WAVMetadataTest, A_file_that_has_shrunk_under_its_cue_points_is_the_files_error) {
    Decoder& wav =
        open(wavChunk("junk", std::string(200'000, 'x')) + wavChunk("cue ", little(1, 4) + cuePoint(5, 100)));
    float sample = 0;
    std::uint64_t framesRead = 0;
    ASSERT_TRUE(wav.ReadFloatInterleaved(1, &sample, framesRead));
    std::filesystem::resize_file(directory.path() / "a.wav", 1000);
    EXPECT_EQ(told(wav.cuePoints()), "File 3: Attempt to read 28 bytes, only read 0 bytes");
    ASSERT_TRUE(wav.ReadFloatInterleaved(1, &sample, framesRead));
    EXPECT_EQ(framesRead, 1U);
    EXPECT_EQ(wav.position(), 2U);
}

/// A body of the Broadcast Wave chunk with those 32 bytes where the reference is.
std::string bext(const std::string& reference, std::size_t bytes = 602) {
    return (std::string(256, 'd') + std::string(32, 'o') + reference + std::string(1000, 'r'))
        .substr(0, bytes);
}

const std::string reference32 = "0123456789abcdef0123456789ABCDEF";

TEST_F(WAVMetadataTest, The_originator_reference_is_32_bytes_without_a_terminator) {
    Decoder& wav = open(wavChunk("bext", bext(reference32)));
    std::array<char, 32> bytes{};
    EXPECT_EQ(told(wav.GetOriginatorReference(bytes)), "success");
    EXPECT_EQ(std::string(bytes.data(), bytes.size()), reference32);
    EXPECT_EQ(wav.originatorReference()->toStdString(), reference32);
    const std::string shorter = "short" + std::string(27, '\0');
    Decoder& other = open(wavChunk("bext", bext(shorter)));
    EXPECT_EQ(told(other.GetOriginatorReference(bytes)), "success");
    EXPECT_EQ(std::string(bytes.data(), bytes.size()), shorter);
    EXPECT_EQ(other.originatorReference()->toStdString(), "short");
}

TEST_F(WAVMetadataTest, The_originator_reference_needs_sync) {
    Decoder wav(directory.file(u8"a.wav", smallWav(samples, wavChunk("bext", bext(reference32)))));
    std::array<char, 32> bytes{};
    EXPECT_EQ(
        told(wav.GetOriginatorReference(bytes)), badFormat("GetOriginatorReference 32 when not sync'd"));
    EXPECT_EQ(
        wav.GetOriginatorReference(bytes).error().format().toStdString(),
        "GetOriginatorReference %1 when not sync'd");
    EXPECT_FALSE(wav.originatorReference());
}

TEST_F(WAVMetadataTest, Without_a_bext_chunk_the_originator_reference_is_zeros) {
    Decoder& wav = open("");
    std::array<char, 32> bytes{};
    bytes.fill('x');
    EXPECT_EQ(told(wav.GetOriginatorReference(bytes)), "success");
    EXPECT_EQ(std::string(bytes.data(), bytes.size()), std::string(32, '\0'));
    EXPECT_TRUE(wav.originatorReference()->isNull());
    EXPECT_TRUE(wav.bextData().empty());
}

TEST_F(WAVMetadataTest, The_bext_chunk_is_kept_whole_and_among_the_other_chunks) {
    const std::string body = bext(reference32, 707);
    Decoder& wav = open(wavChunk("bext", body) + wavChunk("junk", ""));
    EXPECT_EQ(std::string(wav.bextData().begin(), wav.bextData().end()), body);
    ASSERT_EQ(wav.chunkCount(), 2U);
    EXPECT_EQ(wav.chunk(0).value.size, 707U);
}

TEST_F(WAVMetadataTest, The_last_of_several_bext_chunks_counts_and_all_are_among_the_other_chunks) {
    const std::string last = bext(std::string(32, 'z'), 602);
    Decoder& wav = open(wavChunk("bext", bext(reference32, 707)) + wavChunk("bext", last));
    EXPECT_EQ(std::string(wav.bextData().begin(), wav.bextData().end()), last);
    EXPECT_EQ(wav.originatorReference()->toStdString(), std::string(32, 'z'));
    ASSERT_EQ(wav.chunkCount(), 2U);
    EXPECT_EQ(wav.chunk(0).value.size, 707U);
    EXPECT_EQ(wav.chunk(1).value.size, 602U);
}

TEST_F(WAVMetadataTest, A_bext_chunk_below_602_bytes_ends_sync) {
    Decoder wav(directory.file(u8"a.wav", smallWav(samples, wavChunk("bext", bext(reference32, 601)))));
    EXPECT_EQ(told(wav.sync()), badFormat("Invalid size for BWF bext chunk"));
    EXPECT_TRUE(wav.bextData().empty());
    // Where the file ends within it, it is a chunk that is too long, and the walk ends.
    Decoder cut(
        directory.file(u8"b.wav", smallWav(samples, "bext" + little(602, 4) + bext(reference32, 600))));
    EXPECT_EQ(told(cut.sync()), "success");
    EXPECT_TRUE(cut.bextData().empty());
}

TEST_F(WAVMetadataTest, A_label_is_given_to_all_cue_points_of_its_identifier_until_names_take_64_MiB) {
    constexpr std::uint32_t points = 100;
    const std::string label(1'000'000, 'l');
    std::string cues = little(points, 4);
    for (std::uint32_t i = 0; i < points; ++i) {
        cues += little(7, 4) + little(0, 16) + little(i, 4);
    }
    Decoder wav(directory.file(
        u8"a.wav", smallWav(
                       samples, wavChunk("cue ", cues) +
                                    wavChunk("LIST", "adtl" + wavChunk("labl", little(7, 4) + label)))));
    ASSERT_EQ(told(wav.sync()), "success");
    const auto markers = wav.markers();
    ASSERT_TRUE(markers);
    ASSERT_EQ(markers->size(), points);
    constexpr std::size_t named = (std::size_t{1} << 26U) / 1'000'000;
    for (std::size_t i = 0; i < points; ++i) {
        EXPECT_EQ((*markers)[i].name.isNull(), i >= named) << i;
    }
    EXPECT_TRUE((*markers)[named - 1].name == String(label));
}

TEST_F(WAVMetadataTest, Labels_whose_identifiers_collide_in_a_hash_are_found_as_fast) {
    // Multiples of a prime that a table of so many entries has as its size: a minute and more if each were
    // looked for among all others.
    constexpr std::uint32_t prime = 42043;
    constexpr std::uint32_t labels = 42000;
    constexpr std::uint32_t points = 200000;
    std::string list = "adtl";
    for (std::uint32_t i = 0; i < labels; ++i) {
        list += wavChunk("labl", little(std::uint64_t{i} * prime, 4) + "x");
    }
    std::string cues = little(points, 4);
    for (std::uint32_t i = 0; i < points; ++i) {
        cues += little(std::uint64_t{i % (2 * labels)} * prime, 4) + little(0, 16) + little(i, 4);
    }
    Decoder wav(
        directory.file(u8"a.wav", smallWav(samples, wavChunk("cue ", cues) + wavChunk("LIST", list))));
    ASSERT_EQ(told(wav.sync()), "success");
    const auto markers = wav.markers();
    ASSERT_TRUE(markers);
    ASSERT_EQ(markers->size(), points);
    EXPECT_FALSE(markers->front().name.isNull());
    EXPECT_TRUE((*markers)[labels].name.isNull());
}

TEST_F(WAVMetadataTest, Metadata_that_finds_no_memory_is_an_error_and_no_exception) {
    const std::string text(100'000, 't');
    const std::string list = "adtl" + wavChunk("labl", little(1, 4) + text) +
                             wavChunk("note", little(1, 4) + text) +
                             wavChunk("ltxt", little(1, 4) + little(5, 4) + little(0, 12) + text);
    Decoder wav(directory.file(
        u8"a.wav", smallWav(
                       samples, wavChunk("cue ", little(1, 4) + little(1, 4) + little(0, 20)) +
                                    wavChunk("LIST", list))));
    ASSERT_EQ(told(wav.sync()), "success");
    const std::string refused = badFormat("Not enough memory for what the file holds");
    const auto starved = [&](auto ask) {
        const WithoutMemory without(text.size());
        return told(ask());
    };
    EXPECT_EQ(starved([&] { return wav.labels(); }), refused);
    EXPECT_EQ(starved([&] { return wav.notes(); }), refused);
    EXPECT_EQ(starved([&] { return wav.labeledText(); }), refused);
    EXPECT_EQ(starved([&] { return wav.markers(); }), refused);
    EXPECT_EQ(starved([&] { return wav.regions(); }), refused);
    EXPECT_EQ(told(wav.regions()), "success");
}

TEST_F(WAVMetadataTest, A_bext_chunk_that_finds_no_memory_ends_sync) {
    std::string body = bext(reference32);
    body.resize(10'000'000, 'h');
    Decoder wav(directory.file(u8"a.wav", smallWav(samples, wavChunk("bext", body))));
    std::string result;
    {
        const WithoutMemory without(body.size());
        result = told(wav.sync());
    }
    EXPECT_EQ(result, badFormat("Invalid size for BWF bext chunk"));
    EXPECT_EQ(told(wav.sync()), "success");
    EXPECT_EQ(wav.bextData().size(), body.size());
}

} // namespace
