// Files that ffmpeg has encoded, read through the system's media library and compared with ffmpeg's own
// reading of them. media_files.py makes both.

#include "audio/decode/OpenStream.h"
#include "audio/decode/WMADecoder_win32.h"

#include "audio/SoundFileBytes.h"
#include "support/AllocationCount.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <objbase.h>

namespace {

using namespace Audio::Decode;
using SoundFile::told;

using Samples = std::vector<std::int16_t>;

const std::string folder = std::string(TARVIK_MEDIA_FILES) + "/";

struct MediaFile {
    std::string name;
    std::uint32_t channels = 0;
    std::uint32_t sampleRate = 0;
    /// Of the sound that went in.
    std::uint64_t frames = 0;

    String path() const { return String(folder + name); }
    bool isWindowsMedia() const { return name.ends_with(".wma"); }
    /// How far beside a frame a seek may land. The time that the library is told is cut to 100 nanoseconds,
    /// which may be the frame before. The packets of Windows Media files tell their own times in
    /// milliseconds.
    std::uint64_t seekFrames() const { return isWindowsMedia() ? sampleRate / 1000 + 1 : 1; }
    /// Of Windows Media files the first block after a start or a seek has nothing before it to lean on, and
    /// is another each time that Wine's library decodes it.
    std::size_t unsettledFrames() const { return isWindowsMedia() ? 4'096 : 0; }
    /// ffmpeg's reading.
    Samples reading() const {
        std::ifstream in(folder + name + ".s16", std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(in), {}};
        Samples samples(bytes.size() / 2);
        std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
        return samples;
    }
};

std::vector<MediaFile> readManifest() {
    std::vector<MediaFile> files;
    std::ifstream in(folder + "manifest");
    MediaFile file;
    while (in >> file.name >> file.channels >> file.sampleRate >> file.frames) {
        files.push_back(file);
    }
    return files;
}

class MediaFilesTest : public testing::Test {
protected:
    MediaFilesTest() { EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK); }
    ~MediaFilesTest() override { CoUninitialize(); }

    static std::shared_ptr<Stream> synced(const String& path) {
        const std::shared_ptr<Stream> stream = openStream(path);
        EXPECT_NE(stream, nullptr) << path.toStdString();
        if (stream != nullptr) {
            EXPECT_EQ(told(stream->sync()), "success") << path.toStdString();
        }
        return stream;
    }

    /// From the position to the end, in reads of so many frames.
    static Samples readRest(Stream& stream, std::uint64_t step) {
        const std::size_t channels = stream.format().channels;
        Samples all;
        std::uint64_t got = 0;
        do {
            const std::size_t there = all.size();
            all.resize(there + static_cast<std::size_t>(step) * channels);
            EXPECT_EQ(told(stream.ReadInt16Interleaved(step, all.data() + there, got)), "success");
            all.resize(there + static_cast<std::size_t>(got) * channels);
        } while (got != 0);
        return all;
    }

    const std::vector<MediaFile> files = readManifest();
};

/// The largest difference between samples of two readings, but for the unsettled ones.
int differenceOf(const MediaFile& file, const Samples& one, const Samples& other) {
    int most = one.size() == other.size() ? 0 : 65'536;
    for (std::size_t i = file.unsettledFrames() * file.channels; i < std::min(one.size(), other.size());
         ++i) {
        most = std::max(most, std::abs(one[i] - other[i]));
    }
    return most;
}

/// Wine's library dithers where the decoder gives it more than 16 bits.
constexpr int dither = 3;

/// How much louder the one channel is than its difference from the other, in decibels. lag: how many frames
/// later the one begins than the other.
double likeness(
    const Samples& one, std::size_t channel, const Samples& other, std::size_t otherChannel,
    std::size_t channels, long lag, std::size_t from, std::size_t frames) {
    double signal = 0;
    double noise = 0;
    for (std::size_t i = from; i < from + frames; ++i) {
        const std::size_t at = static_cast<std::size_t>(static_cast<long>(i) + lag);
        if (at * channels + otherChannel >= other.size() || i * channels + channel >= one.size()) {
            break;
        }
        const double a = one[i * channels + channel];
        const double difference = a - other[at * channels + otherChannel];
        signal += a * a;
        noise += difference * difference;
    }
    return 10 * std::log10(signal / std::max(noise, 1e-9));
}

/// By how many frames the first channels are most alike: how much silence the one decoder leaves in front
/// that the other takes away.
long lagOf(const Samples& one, const Samples& other, std::size_t channels) {
    constexpr long most = 5000;
    long best = 0;
    double bestLikeness = -1e9;
    for (long lag = -most; lag <= most; ++lag) {
        const double like = likeness(one, 0, other, 0, channels, lag, 20'000, 400);
        if (like > bestLikeness) {
            bestLikeness = like;
            best = lag;
        }
    }
    return best;
}

TEST_F(MediaFilesTest, There_are_files_of_each_kind) {
    ASSERT_EQ(files.size(), 3U);
    EXPECT_EQ(files[0].name, "stereo.mp3");
    EXPECT_EQ(files[1].name, "mono.mp3");
    EXPECT_EQ(files[2].name, "stereo.wma");
}

TEST_F(MediaFilesTest, The_kind_the_format_and_the_length_are_told) {
    for (const MediaFile& file : files) {
        SCOPED_TRACE(file.name);
        bool isCompressed = false;
        std::uint32_t type = 0;
        EXPECT_TRUE(detectFileType(file.path(), isCompressed, type));
        EXPECT_EQ(type, 1U);
        EXPECT_TRUE(isCompressed);
        const auto stream = synced(file.path());
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(stream->fileType(), 1U);
        EXPECT_EQ(stream->format(), (Format{file.channels, 2, file.sampleRate, 0, 0}));
        // Encoders put up to some frames of their own before the sound and behind it.
        EXPECT_GE(stream->totalFrames(), file.frames);
        EXPECT_LE(stream->totalFrames(), file.frames + 4 * 1152);
        EXPECT_EQ(stream->framesRemaining(), stream->totalFrames());
        EXPECT_FALSE(stream->isTruncated());
    }
}

TEST_F(MediaFilesTest, Every_channel_is_what_ffmpeg_reads_of_it) {
    for (const MediaFile& file : files) {
        SCOPED_TRACE(file.name);
        const auto stream = synced(file.path());
        ASSERT_NE(stream, nullptr);
        const Samples samples = readRest(*stream, 4096);
        const Samples peer = file.reading();
        // ffmpeg gives up the last packets of some.
        ASSERT_GE(peer.size(), file.frames * file.channels * 9 / 10);
        const long lag = lagOf(samples, peer, file.channels);
        // Without the ends, where one decoder may have left away what the other gave.
        const auto frames = static_cast<std::size_t>(file.frames) - 10'000;
        for (std::size_t i = 0; i < file.channels; ++i) {
            for (std::size_t j = 0; j < file.channels; ++j) {
                const double like = likeness(samples, i, peer, j, file.channels, lag, 5'000, frames);
                if (i == j) {
                    // Two decoders of one standard, each rounded to 16 bits.
                    EXPECT_GT(like, 60) << "channel " << i << ", lag " << lag;
                } else {
                    EXPECT_LT(like, 3) << "channels " << i << " and " << j;
                }
            }
        }
    }
}

TEST_F(MediaFilesTest, The_size_of_the_reads_makes_no_difference) {
    for (const MediaFile& file : files) {
        SCOPED_TRACE(file.name);
        const auto stream = synced(file.path());
        const auto second = synced(file.path());
        ASSERT_NE(stream, nullptr);
        ASSERT_NE(second, nullptr);
        const Samples whole = readRest(*stream, 1'000'000);
        EXPECT_GE(whole.size(), file.frames * file.channels);
        EXPECT_LE(differenceOf(file, whole, readRest(*second, 777)), file.isWindowsMedia() ? dither : 0);
        EXPECT_EQ(second->position(), whole.size() / file.channels);
    }
}

TEST_F(MediaFilesTest, Floats_deinterleaved_are_the_integers_scaled) {
    for (const MediaFile& file : files) {
        SCOPED_TRACE(file.name);
        const auto stream = synced(file.path());
        const auto second = synced(file.path());
        ASSERT_NE(stream, nullptr);
        ASSERT_NE(second, nullptr);
        constexpr std::size_t frames = 30'000;
        std::vector<std::vector<float>> apart(file.channels, std::vector<float>(frames));
        std::vector<float*> channels;
        for (std::vector<float>& channel : apart) {
            channels.push_back(channel.data());
        }
        std::uint64_t got = 0;
        ASSERT_TRUE(stream->ReadFloatDeinterleaved(frames, channels.data(), got));
        ASSERT_EQ(got, frames);
        Samples samples(frames * file.channels);
        ASSERT_TRUE(second->ReadInt16Interleaved(frames, samples.data(), got));
        Samples fromFloats;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const float scaled = apart[i % file.channels][i / file.channels] * 32768.0F;
            ASSERT_EQ(scaled, std::round(scaled));
            fromFloats.push_back(static_cast<std::int16_t>(scaled));
        }
        EXPECT_LE(differenceOf(file, fromFloats, samples), file.isWindowsMedia() ? dither : 0);
    }
}

TEST_F(MediaFilesTest, A_seek_gives_what_a_straight_read_has_there) {
    for (const MediaFile& file : files) {
        SCOPED_TRACE(file.name);
        const auto stream = synced(file.path());
        ASSERT_NE(stream, nullptr);
        const Samples straight = readRest(*stream, 4096);
        const std::size_t unsettled = file.unsettledFrames();
        const std::size_t frames = unsettled + 3000;
        // Where the straight read was settled, too.
        const std::uint64_t first = 1 + unsettled;
        std::mt19937 random(7);
        for (int i = 0; i < 25; ++i) {
            const std::uint64_t frame = first + random() % (file.frames - first - frames);
            ASSERT_EQ(told(stream->seek(frame)), "success");
            EXPECT_EQ(stream->position(), frame);
            Samples samples(frames * file.channels);
            std::uint64_t got = 0;
            ASSERT_EQ(told(stream->ReadInt16Interleaved(frames, samples.data(), got)), "success");
            ASSERT_EQ(got, frames);
            EXPECT_EQ(stream->position(), frame + frames);
            int best = 65'536;
            for (std::uint64_t at = frame - file.seekFrames(); at <= frame + file.seekFrames(); ++at) {
                int most = 0;
                for (std::size_t j = unsettled * file.channels; j < samples.size() && most < best; ++j) {
                    const int there = straight[static_cast<std::size_t>(at) * file.channels + j];
                    most = std::max(most, std::abs(samples[j] - there));
                }
                best = std::min(best, most);
            }
            EXPECT_LE(best, dither) << "frame " << frame;
        }
    }
}

TEST_F(MediaFilesTest, After_the_end_the_sound_can_be_read_again) {
    const auto stream = synced(files.at(0).path());
    ASSERT_NE(stream, nullptr);
    const Samples straight = readRest(*stream, 4096);
    std::array<std::int16_t, 2> frame{};
    std::uint64_t got = 9;
    ASSERT_EQ(told(stream->ReadInt16Interleaved(1, frame.data(), got)), "success");
    EXPECT_EQ(got, 0U);
    ASSERT_TRUE(stream->seek(0));
    EXPECT_EQ(differenceOf(files.at(0), readRest(*stream, 4096), straight), 0);
    ASSERT_EQ(told(stream->seek(stream->totalFrames())), "success");
    EXPECT_TRUE(readRest(*stream, 4096).size() <= 2 * files.at(0).channels);
}

TEST_F(MediaFilesTest, A_file_whose_header_says_half_is_read_to_its_end) {
    const auto whole = synced(files.at(0).path());
    const auto stream = synced(String(folder + "says-less.mp3"));
    ASSERT_NE(whole, nullptr);
    ASSERT_NE(stream, nullptr);
    const auto* const decoder = dynamic_cast<const WMA::Decoder*>(stream.get());
    ASSERT_NE(decoder, nullptr);
    const std::uint64_t told = stream->totalFrames();
    EXPECT_LT(told, 3 * files.at(0).frames / 5);
    EXPECT_FALSE(decoder->isTotalExceeded());
    const Samples samples = readRest(*stream, 1000);
    EXPECT_TRUE(samples == readRest(*whole, 1000));
    EXPECT_TRUE(decoder->isTotalExceeded());
    EXPECT_GT(stream->totalFrames(), stream->position());
    EXPECT_LE(stream->totalFrames(), stream->position() + 1024);
    EXPECT_EQ(stream->position(), samples.size() / 2);
}

TEST_F(MediaFilesTest, Reading_allocates_nothing_after_the_first_read) {
    for (const MediaFile& file : files) {
        SCOPED_TRACE(file.name);
        const auto stream = synced(file.path());
        ASSERT_NE(stream, nullptr);
        std::vector<float> samples(std::size_t{5000} * file.channels);
        std::uint64_t got = 0;
        ASSERT_TRUE(stream->ReadFloatInterleaved(1, samples.data(), got));
        const std::uint64_t before = AllocationCount();
        std::uint64_t frames = 0;
        do {
            const bool read{stream->ReadFloatInterleaved(5000, samples.data(), got)};
            ASSERT_TRUE(read);
            frames += got;
        } while (got != 0);
        const bool sought{stream->seek(20'000)};
        const bool read{stream->ReadFloatInterleaved(5000, samples.data(), got)};
        EXPECT_EQ(AllocationCount() - before, 0U);
        EXPECT_TRUE(sought && read);
        EXPECT_GE(frames, file.frames - 1);
    }
}

TEST_F(MediaFilesTest, The_system_has_one_library_for_all_decoders) {
    const auto library = WMA::MediaLibrary::system();
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(library, WMA::MediaLibrary::system());
    EXPECT_NE(library->entryPoints().createSyncReader, nullptr);
}

TEST_F(MediaFilesTest, The_library_is_asked_what_a_file_is_only_where_it_survives_that) {
    const bool isWine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    const auto library = WMA::MediaLibrary::system();
    EXPECT_EQ(library->entryPoints().validateData == nullptr, isWine);
    const std::vector<std::uint8_t> noSound(100, 'x');
    EXPECT_FALSE(library->IsMediaData(noSound));
}

TEST_F(MediaFilesTest, What_the_library_cannot_open_is_told_with_its_code) {
    const TemporaryDirectory directory;
    WMA::Decoder missing(directory / u8"missing.mp3");
    EXPECT_EQ(told(missing.sync()), SoundFile::badFormat("Unable to open file. 0x80070002"));
    WMA::Decoder nothing(directory.file(u8"nothing.mp3", "no sound at all, and not MP3 either"));
    const std::string message = told(nothing.sync());
    const std::string start = SoundFile::badFormat("Unable to open file. 0x");
    ASSERT_TRUE(message.starts_with(start)) << message;
    EXPECT_EQ(message.size(), start.size() + 8) << message;
    EXPECT_EQ(nothing.totalFrames(), 0U);
}

} // namespace
