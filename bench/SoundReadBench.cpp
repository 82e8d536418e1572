// Ten minutes of stereo as floats, a channel each, from the page cache: the decoders against libsndfile,
// which gives interleaved samples that are then taken apart, and against a bare read of the same bytes. And
// how long it takes to find one's way through a file of many chunks.

#include "KernelsPeers.h"
#include "RatioTable.h"

#include "audio/decode/OpenStream.h"
#include "support/AllocationCount.h"
#include "svbase/TemporaryDirectory.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sndfile.h>
#include <unistd.h>

namespace {

using Audio::Decode::Stream;

constexpr std::uint32_t sampleRate = 44100;
constexpr std::uint64_t fileFrames = std::uint64_t{600} * sampleRate;
/// The largest block of a host here.
constexpr std::uint64_t callFrames = 8192;
constexpr unsigned channels = 2;

struct Kind {
    const char* name;
    unsigned bytesPerSample;
    bool isFloat;
    bool isAiff;
    /// Of libsndfile's time.
    double limit;
};

constexpr Kind kinds[] = {
    {"WAV, 16 bits", 2, false, false, 1 / 1.3}, {"WAV, 24 bits", 3, false, false, 1 / 1.3},
    {"WAV, 32 bits", 4, false, false, 1 / 1.3}, {"WAV, float", 4, true, false, 1 / 1.2},
    {"AIFF, 16 bits", 2, false, true, 1 / 1.3}, {"AIFF, 24 bits", 3, false, true, 1 / 1.3},
};

std::string number(std::uint64_t value, unsigned bytes, bool big) {
    std::string text(bytes, '\0');
    for (unsigned i = 0; i < bytes && i < 8; ++i) {
        text[big ? bytes - 1 - i : i] = static_cast<char>(value >> (8 * i));
    }
    return text;
}

std::string wavHeader(const Kind& kind, std::uint64_t dataBytes, const std::string& chunks = {}) {
    const std::uint64_t frameBytes = std::uint64_t{channels} * kind.bytesPerSample;
    return "RIFF" + number(dataBytes + 36 + chunks.size(), 4, false) + "WAVEfmt " + number(16, 4, false) +
           number(kind.isFloat ? 3 : 1, 2, false) + number(channels, 2, false) +
           number(sampleRate, 4, false) + number(sampleRate * frameBytes, 4, false) +
           number(frameBytes, 2, false) + number(std::uint64_t{8} * kind.bytesPerSample, 2, false) + chunks +
           "data" + number(dataBytes, 4, false);
}

std::string aiffHeader(const Kind& kind, std::uint64_t dataBytes) {
    return "FORM" + number(dataBytes + 46, 4, true) + "AIFFCOMM" + number(18, 4, true) +
           number(channels, 2, true) + number(fileFrames, 4, true) +
           number(std::uint64_t{8} * kind.bytesPerSample, 2, true) + number(0x400EAC44, 4, true) +
           number(0, 6, true) + "SSND" + number(dataBytes + 8, 4, true) + number(0, 8, true);
}

/// Noise, as bytes of the kind.
std::string noise(const Kind& kind, std::size_t samples) {
    std::mt19937 random(1);
    std::string bytes;
    for (std::size_t i = 0; i < samples; ++i) {
        if (kind.isFloat) {
            const float value = std::uniform_real_distribution<float>(-1.0F, 1.0F)(random);
            std::uint32_t bits = 0;
            std::memcpy(&bits, &value, sizeof(bits));
            bytes += number(bits, 4, false);
        } else {
            bytes += number(random(), kind.bytesPerSample, false);
        }
    }
    return bytes;
}

String writeFile(const TemporaryDirectory& directory, const Kind& kind) {
    const std::uint64_t dataBytes = fileFrames * channels * kind.bytesPerSample;
    const std::string name = kind.name;
    const std::u8string fileName(name.begin(), name.end());
    const String path =
        directory.file(fileName, kind.isAiff ? aiffHeader(kind, dataBytes) : wavHeader(kind, dataBytes));
    std::ofstream out(path.c_str(), std::ios::binary | std::ios::app);
    const std::string block = noise(kind, std::size_t{channels} * sampleRate);
    for (std::uint64_t written = 0; written < dataBytes; written += block.size()) {
        out << block;
    }
    return path;
}

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "SoundReadBench: %s\n", what);
        std::exit(1);
    }
}

struct Output {
    std::vector<float> left = std::vector<float>(callFrames);
    std::vector<float> right = std::vector<float>(callFrames);
    std::vector<float> interleaved = std::vector<float>(callFrames * channels);
};

std::shared_ptr<Stream> open(const String& path) {
    std::shared_ptr<Stream> stream = Audio::Decode::openStream(path);
    require(stream != nullptr && stream->sync(), "a file of its own does not open");
    require(stream->totalFrames() == fileFrames, "a file of its own has another length");
    return stream;
}

/// From the start to the end. Returns the frames.
std::uint64_t readAll(Stream& stream, Output& output) {
    float* const arrays[] = {output.left.data(), output.right.data()};
    require(stream.seek(0).has_value(), "no way back to the start");
    std::uint64_t frames = 0;
    std::uint64_t now = 0;
    do {
        require(stream.ReadFloatDeinterleaved(callFrames, arrays, now).has_value(), "reading failed");
        frames += now;
    } while (now != 0);
    return frames;
}

void addReading(RatioTable& table, const Kind& kind, const String& path) {
    const std::string row = kind.name;
    table.AddRow(row, kind.limit);
    const auto output = std::make_shared<Output>();
    const std::shared_ptr<Stream> stream = open(path);
    const auto ours = [stream, output](benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state) {
            require(readAll(*stream, *output) == fileFrames, "frames are missing");
        }
    };
    SF_INFO info = {};
    const std::shared_ptr<SNDFILE> peer(sf_open(path.c_str(), SFM_READ, &info), sf_close);
    require(
        peer != nullptr && info.frames == static_cast<sf_count_t>(fileFrames),
        "libsndfile reads another file");
    const auto libsndfile = [peer, output](benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state) {
            sf_seek(peer.get(), 0, SEEK_SET);
            sf_count_t frames = 0;
            sf_count_t now = 0;
            while ((now = sf_readf_float(peer.get(), output->interleaved.data(), callFrames)) > 0) {
                Peers::Deinterleave(
                    output->left.data(), output->right.data(), output->interleaved.data(),
                    static_cast<std::size_t>(now));
                benchmark::ClobberMemory();
                frames += now;
            }
            require(frames == static_cast<sf_count_t>(fileFrames), "libsndfile misses frames");
        }
    };
    const auto bare = [path, output, kind](benchmark::State& state) {
        const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        require(file >= 0, "the file cannot be opened");
        const std::size_t callBytes = callFrames * channels * kind.bytesPerSample;
        for ([[maybe_unused]] auto _ : state) {
            lseek(file, 0, SEEK_SET);
            while (::read(file, output->interleaved.data(), callBytes) > 0) {
            }
        }
        ::close(file);
    };
    const auto add = [&](const char* column, const auto& body) {
        benchmark::RegisterBenchmark((row + "|" + column).c_str(), body)->Iterations(1);
    };
    add("ours", ours);
    add("libsndfile", libsndfile);
    add("read", bare);
}

std::string chunksRow(std::size_t count) {
    return "sync, " + std::to_string(count) + " chunks";
}

void addSync(RatioTable& table, std::size_t count, const TemporaryDirectory& directory) {
    std::string chunks;
    for (std::size_t i = 0; i < count; ++i) {
        chunks += "junk" + number(i % 8, 4, false) + std::string((i % 8 + 1) / 2 * 2, 'x');
    }
    const std::string name = "chunks" + std::to_string(count);
    const String path =
        directory.file(std::u8string(name.begin(), name.end()), wavHeader(kinds[0], 4, chunks) + "data");
    table.AddRow(chunksRow(count));
    const auto iterations = static_cast<benchmark::IterationCount>(1000000 / count);
    const auto ours = [path, count](benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state) {
            const auto stream = Audio::Decode::createDecoder(path, Audio::Decode::FileTypeWAV);
            require(stream->sync() && stream->chunkCount() == count, "chunks are missing");
        }
    };
    // libsndfile is no peer here: it gives up on a header of more than 100 KiB.
    const auto bare = [path](benchmark::State& state) {
        std::vector<char> bytes(65536);
        for ([[maybe_unused]] auto _ : state) {
            const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
            while (::read(file, bytes.data(), bytes.size()) > 0) {
            }
            ::close(file);
        }
    };
    benchmark::RegisterBenchmark((chunksRow(count) + "|ours").c_str(), ours)->Iterations(iterations);
    benchmark::RegisterBenchmark((chunksRow(count) + "|read").c_str(), bare)->Iterations(iterations);
}

/// Of all reads of a file behind the first.
void printAllocations(const Kind& kind, const String& path) {
    const std::shared_ptr<Stream> stream = open(path);
    Output output;
    float* const arrays[] = {output.left.data(), output.right.data()};
    std::uint64_t framesRead = 0;
    require(stream->ReadFloatDeinterleaved(1, arrays, framesRead).has_value(), "reading failed");
    const std::uint64_t before = AllocationCount();
    const std::uint64_t frames = readAll(*stream, output);
    const std::uint64_t made = AllocationCount() - before;
    const std::uint64_t reads = frames / callFrames + 1;
    std::printf(
        "%-28s %llu allocations in %llu reads\n", kind.name, static_cast<unsigned long long>(made),
        static_cast<unsigned long long>(reads));
}

} // namespace

int main(int argc, char** argv) {
    const TemporaryDirectory directory;
    RatioTable table;
    table.SetFloor("read");
    table.UseProcessorTime();
    std::vector<String> paths;
    for (const Kind& kind : kinds) {
        paths.push_back(writeFile(directory, kind));
        addReading(table, kind, paths.back());
    }
    constexpr std::size_t counts[] = {1000, 10000, 100000};
    for (const std::size_t count : counts) {
        addSync(table, count, directory);
    }
    const int code = RunRatioTable(argc, argv, table);
    for (std::size_t i = 1; i < std::size(counts); ++i) {
        // Ten times the chunks: more would be more than linear, but for what grows out of a cache.
        constexpr double mostGrowth = 12;
        const double growth = table.GetMinimum(chunksRow(counts[i]), "ours") /
                              table.GetMinimum(chunksRow(counts[i - 1]), "ours");
        std::printf(
            "sync of %zu chunks takes %.2f times as long as of %zu  at most %.0f: %s\n", counts[i], growth,
            counts[i - 1], mostGrowth, growth <= mostGrowth ? "met" : "MISSED");
    }
    for (std::size_t i = 0; i < std::size(kinds); ++i) {
        printAllocations(kinds[i], paths[i]);
    }
    return code;
}
