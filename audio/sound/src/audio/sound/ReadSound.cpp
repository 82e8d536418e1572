#include "audio/sound/ReadSound.h"

#include "audio/decode/AIFFDecoder.h"
#include "audio/decode/OpenStream.h"
#include "audio/decode/WAVDecoder.h"
#include "svbase/util/File.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <system_error>
#include <utility>

namespace Audio::Sound {

namespace {

using Decode::Stream;

/// Samples of all channels that are read at a time: enough that calls do not count, and little memory.
constexpr std::uint64_t samplesAtATime = 1U << 16U;

/// With what the system says about it.
String told(const Util::File::Error& error) {
    String message = error.message();
    if (!error.osError() || error.osError().value == 0) {
        return message;
    }
    const std::error_code code(static_cast<int>(error.osError().value), std::generic_category());
    return message + ": " + String(code.message());
}

String told(const Decode::Error& error) {
    const auto* const ofFile = error.get<Util::File::Error>();
    return ofFile != nullptr ? told(*ofFile) : error.message();
}

/// Why no decoder was found: the file's own trouble where it has any.
String whyUnknown(const String& path) {
    const String unknown = String("Could not determine the filetype of \"%1\"").arg(path);
    Util::File file(path);
    std::array<char, 12> head{};
    auto result = file.open(Util::File::Read);
    if (result) {
        result = file.read(head.data(), head.size());
    }
    return result ? unknown : unknown + ": " + told(result.error());
}

/// Keeps the value, or the error.
template<class T>
void keep(expected<T, Decode::Error> result, T& value, SoundReport& report) {
    if (result) {
        value = std::move(*result);
    } else {
        report.errors.push_back(told(result.error()));
    }
}

void readMetadata(Stream& stream, SoundReport& report) {
    report.isOpen = true;
    report.fileType = stream.fileType();
    report.format = stream.format();
    report.bits = report.format.bytesPerSample * 8;
    report.frames = stream.totalFrames();
    report.isTruncated = stream.isTruncated();
    report.loop = stream.loopInfo();
    report.applications = stream.applicationChunks();
    keep(stream.originatorReference(), report.originatorReference, report);
    keep(stream.markers(), report.markers, report);
    keep(stream.regions(), report.regions, report);
    keep(stream.notes(), report.notes, report);
    if (const auto* const aiff = dynamic_cast<const Decode::AIFF::Decoder*>(&stream)) {
        report.bits = aiff->sampleBits();
    }
    if (auto* const wav = dynamic_cast<Decode::WAV::Decoder*>(&stream)) {
        keep(wav->labels(), report.labels, report);
    }
    // Last: reading the lists may have found something, too.
    report.diagnostics = stream.diagnostics();
    // One damaged chunk is in the way of everything that leans on it.
    report.errors.erase(std::unique(report.errors.begin(), report.errors.end()), report.errors.end());
}

void readSamples(Stream& stream, const ReadOptions& options, SoundReport& report) {
    const std::size_t channels = report.format.channels;
    const auto framesAtATime = static_cast<std::size_t>(samplesAtATime / std::max<std::size_t>(channels, 1));
    const std::size_t room = std::max<std::size_t>(framesAtATime, 1);
    std::vector<float> samples(room * channels);
    std::vector<float*> arrays(channels);
    for (std::size_t channel = 0; channel < channels; ++channel) {
        arrays[channel] = samples.data() + channel * room;
    }
    std::vector<LevelMeter> meters(channels);

    // To the end that reading finds, which for some formats is not the one that their headers tell.
    Decode::Result result;
    std::uint64_t got = 0;
    do {
        result = stream.ReadFloatDeinterleaved(room, arrays.data(), got);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            meters[channel].add(arrays[channel], static_cast<std::size_t>(got));
        }
        for (std::size_t i = 0; i < got && report.framesRead + i < options.headFrames; ++i) {
            for (const float* const array : arrays) {
                report.head.push_back(array[i]);
            }
        }
        report.framesRead += got;
        if (options.progress) {
            options.progress(report.framesRead, report.frames);
        }
    } while (result && got != 0);
    if (!result) {
        report.errors.push_back(told(result.error()));
    }
    if (result || report.framesRead != 0) {
        for (const LevelMeter& meter : meters) {
            report.levels.push_back(meter.levels());
        }
    }
}

} // namespace

SoundReport readSound(const String& path, const ReadOptions& options) {
    SoundReport report;
    report.path = path;
    const std::shared_ptr<Stream> stream = Decode::openStream(path);
    if (stream == nullptr) {
        report.errors.push_back(whyUnknown(path));
    } else if (const Decode::Result opened = stream->sync(); !opened) {
        report.errors.push_back(told(opened.error()));
    } else {
        readMetadata(*stream, report);
        readSamples(*stream, options, report);
    }
    return report;
}

} // namespace Audio::Sound
