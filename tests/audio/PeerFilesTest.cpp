// Files that other programs have written, compared with what libsndfile reads of them. peer_files.py makes
// both.

#include "audio/decode/OpenStream.h"

#include "audio/SoundFileBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Audio::Decode;
using SoundFile::told;

const std::string folder = std::string(TARVIK_SOUND_FILES) + "/";

std::string unhex(const std::string& text) {
    std::string bytes;
    for (std::size_t i = 0; text != "-" && i + 1 < text.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

struct PeerMarker {
    std::uint64_t frame;
    std::string name;
};

struct PeerFile {
    std::string name;
    std::uint32_t type = 0;
    std::uint64_t frames = 0;
    Format format;
    std::vector<PeerMarker> markers;
    bool hasReference = false;
    std::string reference;
    std::vector<unsigned> loop;
    /// First frame and number of frames.
    std::vector<std::pair<std::uint64_t, std::uint64_t>> regions;

    String path() const { return String(folder + name); }
    /// libsndfile's reading.
    std::string reading(const char* kind) const {
        std::ifstream in(folder + name + "." + kind, std::ios::binary);
        EXPECT_TRUE(in) << name;
        return {std::istreambuf_iterator<char>(in), {}};
    }
    bool isConverted() const { return format.bytesPerSample >= 2 && format.bytesPerSample <= 4; }
};

std::vector<PeerFile> readManifest() {
    std::vector<PeerFile> files;
    std::ifstream in(folder + "manifest");
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string kind;
        words >> kind;
        if (kind == "file") {
            PeerFile& file = files.emplace_back();
            words >> file.name >> file.type >> file.format.channels >> file.format.sampleRate >>
                file.frames >> file.format.bytesPerSample >> file.format.isFloat >> file.format.channelMask;
        } else if (kind == "marker") {
            std::uint64_t frame = 0;
            std::string name;
            words >> frame >> name;
            files.back().markers.push_back({frame, unhex(name)});
        } else if (kind == "reference") {
            std::string text;
            words >> text;
            files.back().hasReference = true;
            files.back().reference = unhex(text);
        } else if (kind == "loop") {
            files.back().loop.resize(3);
            words >> files.back().loop[0] >> files.back().loop[1] >> files.back().loop[2];
        } else if (kind == "region") {
            auto& [frame, frames] = files.back().regions.emplace_back();
            words >> frame >> frames;
        }
        EXPECT_FALSE(words.fail()) << line;
    }
    return files;
}

const std::vector<PeerFile>& peerFiles() {
    static const std::vector<PeerFile> files = readManifest();
    return files;
}

std::shared_ptr<Stream> synced(const PeerFile& file) {
    const std::shared_ptr<Stream> stream = openStream(file.path());
    EXPECT_NE(stream, nullptr) << file.name;
    if (stream != nullptr) {
        EXPECT_EQ(told(stream->sync()), "success") << file.name;
    }
    return stream;
}

/// Whether the samples are those bytes; says where they differ.
template<class T>
testing::AssertionResult sameSamples(const std::vector<T>& got, const std::string& expected) {
    if (got.size() * sizeof(T) != expected.size()) {
        return testing::AssertionFailure()
               << got.size() << " samples, expected " << expected.size() / sizeof(T);
    }
    for (std::size_t i = 0; i < got.size(); ++i) {
        T peer{};
        std::memcpy(&peer, expected.data() + i * sizeof(T), sizeof(T));
        if (std::memcmp(&peer, &got[i], sizeof(T)) != 0) {
            return testing::AssertionFailure() << "sample " << i << " is " << got[i] << ", expected " << peer;
        }
    }
    return testing::AssertionSuccess();
}

/// Frame by frame from arrays of one channel each.
template<class T>
std::vector<T> interleaved(const std::vector<std::vector<T>>& channels) {
    std::vector<T> result;
    for (std::size_t i = 0; i < channels[0].size(); ++i) {
        for (const std::vector<T>& channel : channels) {
            result.push_back(channel[i]);
        }
    }
    return result;
}

template<class T>
std::vector<T*> pointers(std::vector<std::vector<T>>& channels, std::size_t offset) {
    std::vector<T*> result;
    for (std::vector<T>& channel : channels) {
        result.push_back(channel.data() + offset);
    }
    return result;
}

TEST(PeerFiles, There_are_files_of_every_kind) {
    EXPECT_GT(peerFiles().size(), 90U);
    for (const char* name :
         {"rf64-24.wav", "extensible-float.wav", "bext.wav", "labels.wav", "several-data.wav", "sowt-24.aifc",
          "aiff-float-2.aiff", "markers.aiff", "instrument.aiff", "sustained.aiff", "odd.aiff", "sox-24.aifc",
          "python.aifc", "ffmpeg-rf64.wav", "ffmpeg-bext.wav"}) {
        EXPECT_TRUE(std::any_of(peerFiles().begin(), peerFiles().end(), [&](const PeerFile& file) {
            return file.name == name;
        })) << name;
    }
}

TEST(PeerFiles, Every_field_of_the_format_is_libsndfiles) {
    for (const PeerFile& file : peerFiles()) {
        SCOPED_TRACE(file.name);
        bool isCompressed = true;
        std::uint32_t type = 0;
        EXPECT_TRUE(detectFileType(file.path(), isCompressed, type));
        EXPECT_EQ(type, file.type);
        EXPECT_FALSE(isCompressed);
        const auto stream = synced(file);
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(stream->fileType(), file.type);
        EXPECT_EQ(stream->format().channels, file.format.channels);
        EXPECT_EQ(stream->format().sampleRate, file.format.sampleRate);
        EXPECT_EQ(stream->format().bytesPerSample, file.format.bytesPerSample);
        EXPECT_EQ(stream->format().isFloat, file.format.isFloat);
        EXPECT_EQ(stream->format().channelMask, file.format.channelMask);
        EXPECT_EQ(stream->totalFrames(), file.frames);
        EXPECT_FALSE(stream->isTruncated());
        EXPECT_TRUE(stream->diagnostics().empty());
    }
}

TEST(PeerFiles, Every_float_is_libsndfiles_to_the_bit) {
    for (const PeerFile& file : peerFiles()) {
        SCOPED_TRACE(file.name);
        const auto stream = synced(file);
        ASSERT_NE(stream, nullptr);
        const std::size_t channels = file.format.channels;
        const auto frames = static_cast<std::size_t>(file.frames);
        std::vector<float> samples(frames * channels);
        std::uint64_t framesRead = 0;
        if (!file.isConverted()) {
            EXPECT_FALSE(stream->ReadFloatInterleaved(frames, samples.data(), framesRead));
            continue;
        }
        const std::string expected = file.reading("f32");
        ASSERT_EQ(told(stream->ReadFloatInterleaved(frames + 1, samples.data(), framesRead)), "success");
        EXPECT_EQ(framesRead, frames);
        EXPECT_TRUE(sameSamples(samples, expected));

        ASSERT_TRUE(stream->seek(0));
        std::vector<std::vector<float>> apart(channels, std::vector<float>(frames));
        for (std::size_t done = 0, piece = 1; done < frames; piece = piece * 5 % 7919) {
            ASSERT_TRUE(stream->ReadFloatDeinterleaved(piece, pointers(apart, done).data(), framesRead));
            ASSERT_NE(framesRead, 0U);
            done += static_cast<std::size_t>(framesRead);
        }
        EXPECT_TRUE(sameSamples(interleaved(apart), expected));
    }
}

TEST(PeerFiles, Every_int16_of_integers_is_libsndfiles) {
    for (const PeerFile& file : peerFiles()) {
        if (!file.isConverted() || file.format.isFloat != 0) {
            continue;
        }
        SCOPED_TRACE(file.name);
        const auto stream = synced(file);
        ASSERT_NE(stream, nullptr);
        const std::size_t channels = file.format.channels;
        const auto frames = static_cast<std::size_t>(file.frames);
        const std::string expected = file.reading("s16");
        std::vector<std::int16_t> samples(frames * channels);
        std::uint64_t framesRead = 0;
        ASSERT_EQ(told(stream->ReadInt16Interleaved(frames, samples.data(), framesRead)), "success");
        EXPECT_EQ(framesRead, frames);
        EXPECT_TRUE(sameSamples(samples, expected));
        ASSERT_TRUE(stream->seek(0));
        std::vector<std::vector<std::int16_t>> apart(channels, std::vector<std::int16_t>(frames));
        ASSERT_TRUE(stream->ReadInt16Deinterleaved(frames, pointers(apart, 0).data(), framesRead));
        EXPECT_EQ(framesRead, frames);
        EXPECT_TRUE(sameSamples(interleaved(apart), expected));
    }
}

TEST(PeerFiles, The_raw_bytes_are_the_files) {
    for (const PeerFile& file : peerFiles()) {
        SCOPED_TRACE(file.name);
        const auto stream = synced(file);
        ASSERT_NE(stream, nullptr);
        const std::size_t frameBytes = std::size_t{file.format.channels} * file.format.bytesPerSample;
        const auto frames = static_cast<std::size_t>(file.frames);
        std::vector<char> bytes(frames * frameBytes);
        std::uint64_t framesRead = 0;
        ASSERT_EQ(told(stream->ReadRawInterleaved(frames, bytes.data(), framesRead)), "success");
        EXPECT_EQ(framesRead, frames);
        EXPECT_TRUE(sameSamples(bytes, file.reading("raw")));
    }
}

TEST(PeerFiles, Any_frame_can_be_sought) {
    for (const PeerFile& file : peerFiles()) {
        if (!file.isConverted()) {
            continue;
        }
        SCOPED_TRACE(file.name);
        const auto stream = synced(file);
        ASSERT_NE(stream, nullptr);
        const std::size_t frameBytes = sizeof(float) * file.format.channels;
        const std::string expected = file.reading("f32");
        for (std::uint64_t i = 0; i < 50 && file.frames != 0; ++i) {
            const std::uint64_t frame = i * 7919 * 7919 % file.frames;
            std::vector<float> samples(file.format.channels);
            std::uint64_t framesRead = 0;
            ASSERT_TRUE(stream->seek(frame));
            ASSERT_TRUE(stream->ReadFloatInterleaved(1, samples.data(), framesRead));
            ASSERT_EQ(framesRead, 1U);
            ASSERT_TRUE(sameSamples(
                samples, expected.substr(static_cast<std::size_t>(frame) * frameBytes, frameBytes)));
        }
    }
}

TEST(PeerFiles, Markers_regions_references_and_loops_are_libsndfiles) {
    for (const PeerFile& file : peerFiles()) {
        SCOPED_TRACE(file.name);
        const auto stream = synced(file);
        ASSERT_NE(stream, nullptr);
        const auto markers = stream->markers();
        ASSERT_EQ(told(markers), "success");
        ASSERT_EQ(markers->size(), file.markers.size());
        for (std::size_t i = 0; i < markers->size(); ++i) {
            EXPECT_EQ((*markers)[i].frame, file.markers[i].frame);
            EXPECT_EQ((*markers)[i].name.toStdString(), file.markers[i].name);
        }
        const auto regions = stream->regions();
        ASSERT_EQ(told(regions), "success");
        ASSERT_EQ(regions->size(), file.regions.size());
        for (std::size_t i = 0; i < regions->size(); ++i) {
            EXPECT_EQ((*regions)[i].frame, file.regions[i].first);
            EXPECT_EQ((*regions)[i].frames, file.regions[i].second);
        }
        EXPECT_TRUE(stream->notes());
        const auto reference = stream->originatorReference();
        ASSERT_TRUE(reference);
        EXPECT_EQ(!reference->isNull(), file.hasReference);
        EXPECT_EQ(reference->toStdString(), file.reference);
        const LoopInfo loop = stream->loopInfo();
        ASSERT_EQ(loop.beats.valid, !file.loop.empty());
        if (loop.beats) {
            EXPECT_EQ(
                file.loop,
                (std::vector<unsigned>{loop.beats.value, loop.numerator.value, loop.denominator.value}));
        }
    }
}

} // namespace
