// Files that are damaged in every way that can be thought of: what becomes of them is what the rules,
// followed the slow way, say, and nothing that they hold can make an operation do anything but succeed or
// fail.

#include "audio/decode/AIFFDecoder.h"
#include "audio/decode/OpenStream.h"
#include "audio/decode/WAVDecoder.h"

#include "audio/FileModel.h"
#include "audio/SoundFileBytes.h"
#include "audio/WithoutMediaLibrary.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace SoundFile;
using Audio::Decode::Stream;

constexpr std::size_t frames = 24;

std::string noise(std::size_t count) {
    std::mt19937 random(1);
    std::string bytes;
    while (bytes.size() < count) {
        bytes += static_cast<char>(random());
    }
    return bytes;
}

std::string wavMetadata() {
    const std::string cue = little(1, 4) + little(5, 4) + "data" + little(0, 4) + little(0, 4) + little(5, 4);
    const std::string label = wavChunk("labl", little(1, 4) + "name") +
                              wavChunk("note", little(1, 4) + "odd") +
                              wavChunk("ltxt", little(1, 4) + little(7, 4) + "rgn " + little(0, 8) + "text");
    return wavChunk("odd ", "123") + wavChunk("cue ", little(1, 4) + cue) + wavChunk("LIST", "adtl" + label);
}

std::string aiffMetadata() {
    const std::string mark = big(1, 2) + big(5, 4) + "\x03one" + big(2, 2) + big(9, 4) +
                             std::string(
                                 "\x04"
                                 "four\0",
                                 6);
    const std::string loops = big(1, 2) + big(1, 2) + big(2, 2);
    return aiffChunk("odd ", "123") + aiffChunk("MARK", big(2, 2) + mark) +
           aiffChunk("INST", std::string(8, 'i') + loops + loops) + aiffChunk("APPL", "signature") +
           aiffChunk(
               "basc", big(1, 4) + big(8, 4) + big(60, 2) + big(0, 2) + big(4, 2) + big(4, 2) + big(1, 2)) +
           aiffChunk("trns", big(3, 4) + std::string(72, 't'));
}

std::string wavFile(const std::string& format, std::size_t frameBytes, const std::string& before = {}) {
    return riff(
        before + wavChunk("fmt ", format) + wavChunk("data", noise(frames * frameBytes)) + wavMetadata());
}

std::string aiffFile(const std::string& kind, const std::string& commonBody, std::size_t frameBytes) {
    return form(
        kind, aiffChunk("COMM", commonBody) + aiffChunk("SSND", sound(noise(frames * frameBytes), 2)) +
                  aiffMetadata());
}

struct Sample {
    std::string name;
    std::string bytes;
};

/// One valid file of each kind.
std::vector<Sample> validFiles() {
    const std::string ds64 = wavChunk("ds64", little(0, 8) + little(frames * 2, 8) + little(0, 12));
    std::string rf64 = wavFile(plainFormat(1, 1, 16), 2, ds64);
    const std::size_t data = rf64.find("data");
    rf64 = "RF64" + rf64.substr(4, data) + little(0xFFFFFFFF, 4) + rf64.substr(data + 8);
    return {
        {"wav 16", wavFile(plainFormat(1, 2, 16), 4)},
        {"wav 8", wavFile(plainFormat(1, 1, 8), 1)},
        {"wav float", wavFile(plainFormat(3, 1, 32), 4)},
        {"extensible", wavFile(extensibleFormat(1, 2, 24, 3), 6)},
        {"wav 24", wavFile(plainFormat(1, 1, 24), 3)},
        {"wav 32", wavFile(plainFormat(1, 2, 32), 8)},
        {"extensible float", wavFile(extensibleFormat(3, 1, 32, 4), 4)},
        {"bext", wavFile(plainFormat(1, 1, 16), 2, wavChunk("bext", std::string(602, 'b')))},
        {"rf64", rf64},
        {"aiff", aiffFile("AIFF", common(2, frames, 16), 4)},
        {"aiff 8", aiffFile("AIFF", common(1, frames, 8), 1)},
        {"aiff 24", aiffFile("AIFF", common(1, frames, 24), 3)},
        {"aiff 32", aiffFile("AIFF", common(2, frames, 32), 8)},
        {"aifc none", aiffFile("AIFC", common(1, frames, 16, rate44100, "NONE"), 2)},
        {"aifc FL32", aiffFile("AIFC", common(1, frames, 16, rate44100, "FL32"), 4)},
        {"aifc", aiffFile("AIFC", common(1, frames, 24, rate44100, "sowt"), 3)},
        {"aifc float", aiffFile("AIFC", common(1, frames, 32, rate44100, "fl32"), 4)},
    };
}

bool isAiff(const std::string& bytes) {
    return bytes.compare(0, 4, "FORM") == 0;
}

class DamagedFilesTest : public testing::Test {
protected:
    /// asAiff: which decoder is given the bytes.
    void check(const std::string& bytes, bool asAiff) {
        const String path = directory.file(u8"file", bytes);
        const Outcome expected = asAiff ? aiffOutcome(bytes) : wavOutcome(bytes);
        if (asAiff) {
            Audio::Decode::AIFF::Decoder decoder(path);
            checkSync(decoder, bytes, expected);
            ASSERT_NO_FATAL_FAILURE(checkMetadata(decoder, expected));
        } else {
            Audio::Decode::WAV::Decoder decoder(path);
            checkSync(decoder, bytes, expected);
            ASSERT_NO_FATAL_FAILURE(checkMetadata(decoder, expected));
        }
        bool isCompressed = false;
        std::uint32_t type = 0;
        Audio::Decode::detectFileType(path, isCompressed, type);
    }

    static void checkSync(Stream& stream, const std::string& bytes, const Outcome& expected) {
        ASSERT_EQ(told(stream.sync()), expected.told);
        if (expected.told == "success") {
            ASSERT_EQ(stream.format(), expected.format);
            ASSERT_EQ(stream.totalFrames(), expected.frames);
            ASSERT_EQ(stream.isTruncated(), expected.isTruncated);
            ASSERT_EQ(chunksOf(stream), expected.otherChunks);
            checkRawBytes(stream, bytes, expected);
        } else {
            ASSERT_EQ(stream.totalFrames(), 0U);
            ASSERT_EQ(stream.format(), Audio::Decode::Format());
            ASSERT_EQ(stream.chunkCount(), 0U);
        }
        ASSERT_EQ(diagnosticsOf(stream), expected.diagnostics);
        exercise(stream);
    }

    static std::vector<OtherChunk> chunksOf(const Stream& stream) {
        std::vector<OtherChunk> chunks;
        for (std::size_t i = 0; i < stream.chunkCount(); ++i) {
            const Audio::Decode::ChunkRecord chunk = stream.chunk(i).value;
            chunks.push_back({big(chunk.identifier, 4), chunk.position, chunk.size, chunk.afterData});
        }
        return chunks;
    }

    static std::vector<std::string> diagnosticsOf(const Stream& stream) {
        std::vector<std::string> texts;
        for (const String& diagnostic : stream.diagnostics()) {
            texts.push_back(diagnostic.toStdString());
        }
        return texts;
    }

    /// What is read of a file that was refused is nothing, and of any other what the model has.
    static void checkMetadata(Audio::Decode::WAV::Decoder& decoder, const Outcome& expected) {
        const bool isSynced = expected.told == "success";
        ASSERT_EQ(
            std::string(decoder.bextData().begin(), decoder.bextData().end()), isSynced ? expected.bext : "");
        const auto points = decoder.cuePoints();
        const auto labels = decoder.labels();
        const auto notes = decoder.notes();
        const auto labeledTexts = decoder.labeledText();
        if (!isSynced) {
            ASSERT_TRUE(points->empty() && labels->empty() && notes->empty() && labeledTexts->empty());
            return;
        }
        std::array<char, 32> reference{};
        ASSERT_EQ(told(decoder.GetOriginatorReference(reference)), "success");
        ASSERT_EQ(
            std::string(reference.data(), reference.size()),
            expected.bext.empty() ? std::string(reference.size(), '\0') : expected.bext.substr(288, 32));
        ASSERT_EQ(told(points), expected.cuePoints.told);
        ASSERT_EQ(told(labels), expected.labels.told);
        ASSERT_EQ(told(notes), expected.notes.told);
        ASSERT_EQ(told(labeledTexts), expected.labeledTexts.told);
        ASSERT_EQ(
            remarksOf(
                points, [](const auto& point) { return Remark{point.identifier, point.sampleOffset, {}}; }),
            expected.cuePoints.list);
        const auto plain = [](const auto& text) {
            return Remark{text.cueIdentifier, 0, text.text.toStdString()};
        };
        ASSERT_EQ(remarksOf(labels, plain), expected.labels.list);
        ASSERT_EQ(remarksOf(notes, plain), expected.notes.list);
        ASSERT_EQ(
            remarksOf(
                labeledTexts,
                [](const auto& text) {
                    return Remark{text.cueIdentifier, text.sampleLength, text.text.toStdString()};
                }),
            expected.labeledTexts.list);
    }

    static std::vector<Remark> remarksOf(const auto& read, auto remarkOf) {
        std::vector<Remark> remarks;
        if (read) {
            for (const auto& entry : *read) {
                remarks.push_back(remarkOf(entry));
            }
        }
        return remarks;
    }

    static void checkMetadata(const Audio::Decode::AIFF::Decoder& decoder, const Outcome& expected) {
        std::vector<Application> applications;
        for (const auto& chunk : decoder.applicationChunks()) {
            applications.push_back({big(chunk.signature, 4), chunk.position, chunk.size});
        }
        std::vector<unsigned> loop;
        const Audio::Decode::LoopInfo info = decoder.loopInfo();
        for (const checked_value<unsigned>& value : {info.beats, info.numerator, info.denominator}) {
            if (value) {
                loop.push_back(value.value);
            }
        }
        std::vector<std::uint64_t> transients;
        for (const Audio::Decode::TransientEntry& entry : decoder.transients()) {
            transients.insert(transients.end(), {entry.first, entry.second});
        }
        const Outcome all = expected.told == "success" ? expected : Outcome();
        ASSERT_EQ(applications, all.applications);
        ASSERT_EQ(loop, all.loop);
        ASSERT_EQ(transients, all.transients);
    }

    /// What is read raw is what stands in the file.
    static void checkRawBytes(Stream& stream, const std::string& bytes, const Outcome& expected) {
        const std::uint64_t frameBytes =
            std::uint64_t{expected.format.channels} * expected.format.bytesPerSample;
        if (expected.dataStart >= bytes.size() || frameBytes == 0 || frameBytes > bytes.size()) {
            return;
        }
        const std::uint64_t there = (bytes.size() - expected.dataStart) / frameBytes;
        std::string raw(bytes.size() + frameBytes, '\0');
        std::uint64_t framesRead = 0;
        const auto result = stream.ReadRawInterleaved(there + 1, raw.data(), framesRead);
        ASSERT_EQ(framesRead, std::min(expected.frames, there));
        ASSERT_EQ(result.has_value(), expected.frames <= there) << told(result);
        ASSERT_EQ(
            raw.substr(0, static_cast<std::size_t>(framesRead * frameBytes)),
            bytes.substr(
                static_cast<std::size_t>(expected.dataStart),
                static_cast<std::size_t>(framesRead * frameBytes)));
    }

    /// Every operation once; none may do harm.
    static void exercise(Stream& stream) {
        for (std::size_t i = 0; i <= stream.chunkCount(); ++i) {
            stream.chunk(i);
        }
        static_cast<void>(stream.markers());
        static_cast<void>(stream.regions());
        static_cast<void>(stream.notes());
        static_cast<void>(stream.originatorReference());
        stream.applicationChunks();
        stream.loopInfo();
        stream.diagnostics();
        for (const std::uint64_t frame :
             {std::uint64_t{1}, stream.totalFrames(), stream.totalFrames() + 1, stream.totalFrames() / 2,
              std::uint64_t{0}}) {
            static_cast<void>(stream.seek(frame));
            constexpr std::uint64_t count = 3;
            const std::size_t channels = stream.format().channels;
            std::vector<float> floats(count * std::max<std::size_t>(channels, 1));
            std::vector<std::int16_t> shorts(floats.size());
            std::vector<float*> floatArrays;
            std::vector<std::int16_t*> shortArrays;
            for (std::size_t i = 0; i < channels; ++i) {
                floatArrays.push_back(floats.data() + i * count);
                shortArrays.push_back(shorts.data() + i * count);
            }
            std::uint64_t framesRead = 0;
            const std::uint64_t before = stream.position();
            static_cast<void>(stream.ReadFloatInterleaved(count, floats.data(), framesRead));
            ASSERT_LE(framesRead, count);
            ASSERT_EQ(stream.position(), before + framesRead);
            static_cast<void>(stream.ReadFloatDeinterleaved(count, floatArrays.data(), framesRead));
            static_cast<void>(stream.ReadInt16Interleaved(count, shorts.data(), framesRead));
            static_cast<void>(stream.ReadInt16Deinterleaved(count, shortArrays.data(), framesRead));
            ASSERT_LE(stream.position(), stream.totalFrames());
        }
    }

    TemporaryDirectory directory;
    WithoutMediaLibrary alone;
};

TEST_F(DamagedFilesTest, The_valid_files_are_valid) {
    for (const Sample& sample : validFiles()) {
        SCOPED_TRACE(sample.name);
        const Outcome outcome = isAiff(sample.bytes) ? aiffOutcome(sample.bytes) : wavOutcome(sample.bytes);
        EXPECT_EQ(outcome.told, "success");
        EXPECT_EQ(outcome.frames, frames);
        EXPECT_FALSE(outcome.isTruncated);
        EXPECT_GE(outcome.otherChunks.size(), 3U);
        check(sample.bytes, isAiff(sample.bytes));
    }
}

TEST_F(DamagedFilesTest, Every_prefix_ends_as_the_rules_say) {
    for (const Sample& sample : validFiles()) {
        for (std::size_t size = 0; size < sample.bytes.size(); ++size) {
            SCOPED_TRACE(sample.name + ", " + std::to_string(size) + " bytes");
            check(sample.bytes.substr(0, size), isAiff(sample.bytes));
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST_F(DamagedFilesTest, Every_flipped_byte_of_the_headers_ends_as_the_rules_say) {
    for (const Sample& sample : validFiles()) {
        // Everything but the samples.
        const std::size_t data = sample.bytes.find(isAiff(sample.bytes) ? "SSND" : "data") + 16;
        const std::size_t behind = sample.bytes.find("odd ");
        for (std::size_t i = 0; i < sample.bytes.size(); i = i + 1 == data ? behind : i + 1) {
            for (const int flip : {0x01, 0x20, 0x80, 0xFF}) {
                SCOPED_TRACE(
                    sample.name + ", byte " + std::to_string(i) + " flipped by " + std::to_string(flip));
                std::string bytes = sample.bytes;
                bytes[i] = static_cast<char>(bytes[i] ^ flip);
                check(bytes, isAiff(sample.bytes));
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

TEST_F(DamagedFilesTest, Every_four_bytes_set_to_a_size_end_as_the_rules_say) {
    for (const Sample& sample : validFiles()) {
        const bool big4 = isAiff(sample.bytes);
        const std::size_t data = sample.bytes.find(big4 ? "SSND" : "data") + 16;
        const std::size_t behind = sample.bytes.find("odd ");
        for (std::size_t i = 0; i + 4 <= sample.bytes.size(); i = i + 1 == data ? behind : i + 1) {
            for (const std::uint64_t size : {0U, 1U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
                SCOPED_TRACE(sample.name + ", " + std::to_string(size) + " at " + std::to_string(i));
                std::string bytes = sample.bytes;
                bytes.replace(i, 4, big4 ? big(size, 4) : little(size, 4));
                check(bytes, big4);
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

TEST_F(DamagedFilesTest, Random_damage_ends_as_the_rules_say) {
    std::mt19937 random(1);
    const std::vector<Sample> samples = validFiles();
    constexpr const char* names[] = {"fmt ", "data", "COMM", "SSND", "bext",
                                     "LIST", "cue ", "MARK", "ds64", "RIFF"};
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        std::string bytes = samples[random() % samples.size()].bytes;
        const bool asAiff = isAiff(bytes);
        for (unsigned edits = 1 + random() % 4; edits != 0 && bytes.size() > 8; --edits) {
            const std::size_t at = random() % (bytes.size() - 4);
            switch (random() % 5) {
            case 0:
                bytes[at] = static_cast<char>(random());
                break;
            case 1:
                bytes.replace(at, 4, names[random() % std::size(names)]);
                break;
            case 2:
                bytes.erase(at, 1 + random() % 20);
                break;
            case 3:
                bytes.insert(at, bytes.substr(random() % bytes.size(), random() % 40));
                break;
            default:
                bytes.replace(at, 4, asAiff ? big(random() % 300, 4) : little(random() % 300, 4));
                break;
            }
        }
        check(bytes, asAiff);
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_F(DamagedFilesTest, A_file_for_the_other_decoder_is_refused) {
    for (const Sample& sample : validFiles()) {
        check(sample.bytes, !isAiff(sample.bytes));
    }
}

TEST_F(DamagedFilesTest, A_million_chunks_are_walked) {
    constexpr std::size_t million = 1'000'000;
    std::string wavChunks;
    std::string aiffChunks;
    for (std::size_t i = 0; i < million; ++i) {
        wavChunks += wavChunk("junk", std::string(i % 3, 'x'));
        aiffChunks += aiffChunk("junk", std::string(i % 3, 'x'));
    }
    Audio::Decode::WAV::Decoder wav(directory.file(u8"a", smallWav("abcd", wavChunks)));
    ASSERT_EQ(told(wav.sync()), "success");
    EXPECT_EQ(wav.chunkCount(), million);
    EXPECT_EQ(wav.chunk(million - 1).value.size, (million - 1) % 3);
    EXPECT_TRUE(wav.markers()->empty());
    Audio::Decode::AIFF::Decoder aiff(directory.file(u8"a", smallAiff("abcd", aiffChunks)));
    ASSERT_EQ(told(aiff.sync()), "success");
    EXPECT_EQ(aiff.chunkCount(), million);
    EXPECT_TRUE(aiff.markers()->empty());
}

TEST_F(DamagedFilesTest, A_million_labels_are_found) {
    constexpr std::uint32_t million = 1'000'000;
    std::string cues;
    std::string labels = "adtl";
    for (std::uint32_t i = 0; i < million; ++i) {
        cues += little(i, 4) + little(0, 16) + little(i * 2, 4);
        labels += wavChunk("labl", little(million - 1 - i, 4) + "x");
    }
    Audio::Decode::WAV::Decoder wav(directory.file(
        u8"a", smallWav("abcd", wavChunk("cue ", little(million, 4) + cues) + wavChunk("LIST", labels))));
    ASSERT_EQ(told(wav.sync()), "success");
    const auto markers = wav.markers();
    ASSERT_TRUE(markers);
    ASSERT_EQ(markers->size(), million);
    EXPECT_EQ(markers->back().frame, (million - 1) * 2);
    EXPECT_EQ(markers->back().name.toStdString(), "x");
}

TEST_F(DamagedFilesTest, What_a_file_makes_us_remember_is_bounded) {
    // A tail of zeros is a chunk without a name or a body every eight bytes.
    constexpr std::size_t chunks = 5'000'000;
    Audio::Decode::WAV::Decoder wav(directory.file(u8"a", smallWav("abcd", std::string(chunks * 8, '\0'))));
    ASSERT_EQ(told(wav.sync()), "success");
    EXPECT_EQ(wav.totalFrames(), 2U);
    EXPECT_EQ(wav.chunkCount(), std::size_t{1} << 22U);
    ASSERT_EQ(wav.diagnostics().size(), 1U);
    EXPECT_EQ(
        wav.diagnostics()[0].toStdString(), "More than 4194304 chunks of a kind; the rest is left out.");
}

TEST_F(DamagedFilesTest, What_other_applications_make_us_remember_is_bounded) {
    constexpr std::size_t chunks = 4'200'000;
    const std::string chunk = aiffChunk("APPL", "self");
    std::string all;
    all.reserve(chunks * chunk.size());
    for (std::size_t i = 0; i < chunks; ++i) {
        all += chunk;
    }
    Audio::Decode::AIFF::Decoder aiff(directory.file(u8"a", smallAiff("abcd", all)));
    ASSERT_EQ(told(aiff.sync()), "success");
    EXPECT_EQ(aiff.applicationChunks().size(), std::size_t{1} << 22U);
    EXPECT_EQ(aiff.diagnostics().size(), 1U);
}

TEST_F(DamagedFilesTest, More_cue_points_than_that_are_an_error) {
    constexpr std::uint32_t half = 1U << 21U;
    const std::string points = wavChunk("cue ", little(half, 4) + std::string(std::size_t{half} * 24, '\0'));
    Audio::Decode::WAV::Decoder wav(directory.file(u8"a", smallWav("abcd", points + points)));
    ASSERT_EQ(told(wav.sync()), "success");
    EXPECT_EQ(wav.cuePoints()->size(), std::size_t{2} * half);
    const std::string one = wavChunk("cue ", little(1, 4) + std::string(24, '\0'));
    Audio::Decode::WAV::Decoder more(directory.file(u8"b", smallWav("abcd", points + one + points)));
    ASSERT_EQ(told(more.sync()), "success");
    EXPECT_EQ(told(more.cuePoints()), badFormat("More than 4194304 cue points"));
}

TEST_F(DamagedFilesTest, A_size_that_wraps_to_nothing_goes_on_in_the_body) {
    // Odd, with room for its pad byte: the size of 32 bits becomes 0, in a file with a hole of 4 GiB.
    const std::string head = form(
        "AIFF", "junk" + big(0xFFFFFFFF, 4) + aiffChunk("COMM", common(1, 2, 16)) +
                    aiffChunk("SSND", sound("abcd")) + "rest" + big(0xFFFFFFFE, 4));
    directory.file(u8"a", head);
    std::filesystem::resize_file(directory.path() / "a", std::uint64_t{head.size()} + 0xFFFFFFFEU);
    Audio::Decode::AIFF::Decoder aiff(directory / u8"a");
    ASSERT_EQ(told(aiff.sync()), "success");
    EXPECT_EQ(aiff.totalFrames(), 2U);
    ASSERT_EQ(aiff.chunkCount(), 2U);
    EXPECT_EQ(aiff.chunk(0).value.size, 0U);
    EXPECT_EQ(aiff.chunk(1).value.size, 0xFFFFFFFEU);
    EXPECT_TRUE(aiff.diagnostics().empty());
}

} // namespace
