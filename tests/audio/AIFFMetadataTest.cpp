#include "audio/decode/AIFFDecoder.h"

#include "audio/SoundFileBytes.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace SoundFile;
using Audio::Decode::AIFF::Decoder;

const std::string samples(8, '\x01');

std::string marker(unsigned identifier, std::uint32_t frame, const std::string& name) {
    return big(identifier, 2) + big(frame, 4) + big(name.size(), 1) + name +
           std::string((name.size() + 1) % 2, '\0');
}

std::string markers(unsigned count, const std::string& all) {
    return aiffChunk("MARK", big(count, 2) + all);
}

/// Loops are play mode, begin, end.
std::string instrument(const std::string& sustain, const std::string& release) {
    return aiffChunk("INST", std::string(8, 'i') + sustain + release);
}
std::string loop(unsigned mode, unsigned begin, unsigned end) {
    return big(mode, 2) + big(begin, 2) + big(end, 2);
}

std::string basc(std::uint32_t beats, unsigned numerator, unsigned denominator) {
    return big(1, 4) + big(beats, 4) + big(60, 2) + big(2, 2) + big(numerator, 2) + big(denominator, 2) +
           big(1, 2);
}

std::string trns(std::uint32_t count, std::uint32_t entries) {
    std::string body = big(count, 4) + std::string(20, 'h');
    for (std::uint32_t i = 0; i < entries; ++i) {
        body += big(i + 1, 4) + big(i * 100, 4);
    }
    return body;
}

class AIFFMetadataTest : public testing::Test {
protected:
    Decoder& open(const std::string& chunksBehind) {
        decoder = std::make_unique<Decoder>(directory.file(u8"a.aiff", smallAiff(samples, chunksBehind)));
        EXPECT_EQ(told(decoder->sync()), "success");
        return *decoder;
    }

    TemporaryDirectory directory;
    std::unique_ptr<Decoder> decoder;
};

TEST_F(AIFFMetadataTest, Application_chunks_are_kept_by_signature_and_place) {
    Decoder& aiff = open(aiffChunk("APPL", "sign12345") + aiffChunk("APPL", "SIGN"));
    ASSERT_EQ(aiff.applicationChunks().size(), 2U);
    const auto first = aiff.applicationChunks()[0];
    EXPECT_EQ(first.signature, 0x7369676EU);
    EXPECT_EQ(first.position, smallAiff(samples).size() + 12);
    // The pad byte is counted.
    EXPECT_EQ(first.size, 6U);
    EXPECT_EQ(aiff.applicationChunks()[1].signature, 0x5349474EU);
    EXPECT_EQ(aiff.applicationChunks()[1].size, 0U);
    EXPECT_EQ(aiff.chunkCount(), 0U);
}

TEST_F(AIFFMetadataTest, An_application_chunk_without_a_signature_is_not_kept) {
    EXPECT_TRUE(open(aiffChunk("APPL", "ab") + aiffChunk("junk", "abcd")).applicationChunks().empty());
}

TEST_F(AIFFMetadataTest, A_signature_that_cannot_be_read_ends_sync) {
    Decoder aiff(directory.file(u8"a.aiff", smallAiff(samples, aiffChunk("APPL", "ab"))));
    EXPECT_EQ(told(aiff.sync()), "File 3: Attempt to read 4 bytes, only read 2 bytes");
}

TEST_F(AIFFMetadataTest, Markers_are_read_with_their_names) {
    Decoder& aiff =
        open(markers(3, marker(1, 100, "one") + marker(7, 0xFFFFFFFF, "") + marker(2, 5, "even")));
    const auto found = aiff.markers();
    ASSERT_TRUE(found);
    ASSERT_EQ(found->size(), 3U);
    EXPECT_EQ((*found)[0].identifier, 1U);
    EXPECT_EQ((*found)[0].frame, 100U);
    EXPECT_EQ((*found)[0].name.toStdString(), "one");
    EXPECT_EQ((*found)[1].frame, 0xFFFFFFFFU);
    EXPECT_EQ((*found)[1].name.toStdString(), "");
    EXPECT_EQ((*found)[2].identifier, 2U);
    EXPECT_EQ((*found)[2].name.toStdString(), "even");
    EXPECT_EQ(aiff.chunkCount(), 1U);
}

TEST_F(AIFFMetadataTest, Markers_end_with_their_chunk_whatever_their_number) {
    const std::string two = marker(1, 100, "one") + marker(2, 200, "two");
    const std::string behind = aiffChunk("junk", std::string(300, 'x'));
    EXPECT_EQ(open(markers(65535, two) + behind).markers()->size(), 2U);
    EXPECT_EQ(open(markers(1, two) + behind).markers()->size(), 1U);
    EXPECT_EQ(open(markers(2, two.substr(0, two.size() - 2)) + behind).markers()->size(), 1U);
    EXPECT_EQ(open(markers(2, marker(1, 100, "one") + big(2, 2)) + behind).markers()->size(), 1U);
    EXPECT_EQ(open(aiffChunk("MARK", "") + behind).markers()->size(), 0U);
    EXPECT_EQ(open(behind).markers()->size(), 0U);
}

TEST_F(AIFFMetadataTest, Regions_are_the_loops_between_markers) {
    const std::string marks = markers(3, marker(1, 100, "a") + marker(2, 300, "b") + marker(3, 350, "c"));
    const auto regions = open(marks + instrument(loop(1, 1, 2), loop(2, 2, 3))).regions();
    ASSERT_TRUE(regions);
    ASSERT_EQ(regions->size(), 2U);
    EXPECT_EQ((*regions)[0].identifier, 1U);
    EXPECT_EQ((*regions)[0].frame, 100U);
    EXPECT_EQ((*regions)[0].frames, 200U);
    EXPECT_EQ((*regions)[0].name.toStdString(), "sustain");
    EXPECT_EQ((*regions)[1].identifier, 2U);
    EXPECT_EQ((*regions)[1].frames, 50U);
    EXPECT_EQ((*regions)[1].name.toStdString(), "release");
}

TEST_F(AIFFMetadataTest, Loops_that_do_not_play_or_lack_markers_are_no_regions) {
    const std::string marks = markers(2, marker(1, 100, "a") + marker(2, 300, "b"));
    EXPECT_TRUE(open(marks + instrument(loop(0, 1, 2), loop(1, 1, 9))).regions()->empty());
    EXPECT_TRUE(open(marks + instrument(loop(1, 2, 1), loop(1, 1, 1))).regions()->empty());
    EXPECT_TRUE(open(instrument(loop(1, 1, 2), loop(1, 1, 2))).regions()->empty());
    EXPECT_TRUE(open(marks + aiffChunk("INST", std::string(18, 'x'))).regions()->empty());
}

TEST_F(AIFFMetadataTest, The_loop_has_beats_and_a_time_signature) {
    const auto loopInfo = open(aiffChunk("basc", basc(16, 3, 8))).loopInfo();
    EXPECT_EQ(loopInfo.beats, 16U);
    EXPECT_EQ(loopInfo.numerator, 3U);
    EXPECT_EQ(loopInfo.denominator, 8U);
    EXPECT_EQ(decoder->chunkCount(), 0U);
}

TEST_F(AIFFMetadataTest, Beats_that_are_unusable_leave_no_loop) {
    for (const std::uint32_t beats : {0U, 0x10000U, 0xFFFFFFFFU}) {
        const auto loopInfo = open(aiffChunk("basc", basc(beats, 3, 8))).loopInfo();
        EXPECT_FALSE(loopInfo.beats.valid);
        EXPECT_FALSE(loopInfo.numerator.valid);
        EXPECT_FALSE(loopInfo.denominator.valid);
    }
    EXPECT_EQ(open(aiffChunk("basc", basc(0xFFFF, 3, 8))).loopInfo().beats, 0xFFFFU);
}

TEST_F(AIFFMetadataTest, A_loop_chunk_below_18_bytes_is_as_none) {
    EXPECT_FALSE(open(aiffChunk("basc", basc(16, 3, 8).substr(0, 16))).loopInfo().beats.valid);
    // It was the first all the same.
    EXPECT_FALSE(open(aiffChunk("basc", "") + aiffChunk("basc", basc(16, 3, 8))).loopInfo().beats.valid);
    EXPECT_EQ(
        open(aiffChunk("basc", basc(16, 3, 8)) + aiffChunk("basc", basc(17, 3, 8))).loopInfo().beats, 16U);
}

TEST_F(AIFFMetadataTest, Transients_fill_a_table) {
    const auto& transients = open(aiffChunk("trns", trns(7, 7))).transients();
    ASSERT_EQ(transients.size(), 7U);
    EXPECT_EQ(transients[0].first, 1U);
    EXPECT_EQ(transients[0].second, 0U);
    EXPECT_EQ(transients[6].first, 7U);
    EXPECT_EQ(transients[6].second, 600U);
    EXPECT_EQ(decoder->chunkCount(), 0U);
}

TEST_F(AIFFMetadataTest, Transients_below_76_bytes_are_none) {
    // 24 bytes and six entries are 72.
    EXPECT_TRUE(open(aiffChunk("trns", trns(6, 6))).transients().empty());
    EXPECT_TRUE(open(aiffChunk("trns", trns(1, 6))).transients().empty());
    EXPECT_EQ(open(aiffChunk("trns", trns(6, 6) + "1234")).transients().size(), 6U);
}

TEST_F(AIFFMetadataTest, A_transients_chunk_too_short_for_its_count_leaves_none) {
    EXPECT_EQ(open(aiffChunk("trns", trns(20, 20))).transients().size(), 20U);
    EXPECT_TRUE(open(aiffChunk("trns", trns(21, 20))).transients().empty());
    EXPECT_TRUE(open(aiffChunk("trns", trns(0xFFFFFFFF, 20))).transients().empty());
    EXPECT_TRUE(open(aiffChunk("trns", trns(0x20000001, 20))).transients().empty());
}

TEST_F(AIFFMetadataTest, At_most_49999_transients_are_believed) {
    EXPECT_EQ(open(aiffChunk("trns", trns(49999, 49999))).transients().size(), 49999U);
    EXPECT_TRUE(open(aiffChunk("trns", trns(50000, 50000))).transients().empty());
}

TEST_F(AIFFMetadataTest, Only_the_first_transients_count) {
    EXPECT_EQ(open(aiffChunk("trns", trns(7, 7)) + aiffChunk("trns", trns(8, 8))).transients().size(), 7U);
    EXPECT_TRUE(open(aiffChunk("trns", "") + aiffChunk("trns", trns(8, 8))).transients().empty());
}

TEST_F(AIFFMetadataTest, Asking_for_markers_leaves_the_position_and_what_is_read_there) {
    Decoder& aiff = open(markers(1, marker(1, 100, "one")));
    std::int16_t value = 0;
    std::uint64_t framesRead = 0;
    ASSERT_TRUE(aiff.seek(2));
    ASSERT_TRUE(aiff.regions());
    ASSERT_TRUE(aiff.markers());
    EXPECT_EQ(aiff.position(), 2U);
    ASSERT_TRUE(aiff.ReadInt16Interleaved(1, &value, framesRead));
    EXPECT_EQ(value, 0x0101);
}

} // namespace
