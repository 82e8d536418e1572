#include "audio/decode/REXDecoder.h"

#include "audio/decode/REXError.h"
#include "audio/decode/SampleConversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

namespace Audio::Decode::REX {

namespace {

constexpr std::int32_t leastSampleRate = 1'000;
constexpr std::int32_t mostSampleRate = 1'000'000;
/// One beat per minute.
constexpr std::int32_t leastTempo = 1'000;

constexpr SampleEncoding hostFloat =
    std::endian::native == std::endian::little ? SampleEncoding::Float32Little : SampleEncoding::Float32Big;

bool isValid(const Info& info) {
    return (info.channels == 1 || info.channels == 2) && info.sampleRate >= leastSampleRate &&
           info.sampleRate <= mostSampleRate && info.sliceCount >= 0 && info.originalTempo >= leastTempo &&
           info.lengthPulses >= 1 && info.timeSignatureNumerator >= 1 && info.timeSignatureDenominator >= 1;
}

void toInt16(const float* source, std::size_t count, std::int16_t* destination) {
    Convert(hostFloat, reinterpret_cast<const std::uint8_t*>(source), count, destination);
}

} // namespace

Decoder::Decoder(String path, std::shared_ptr<Library> library)
    : SyncedStream(path), file_(std::move(path)), library_(std::move(library)),
      handle_(nullptr, DeleteLoop{library_.get()}) {}

Result Decoder::sync() {
    if (synced_) {
        return {};
    }
    Result parsed = withinMemory([this] { return parse(); });
    static_cast<void>(file_.close());
    if (!parsed) {
        clear();
    }
    synced_ = parsed.has_value();
    return parsed;
}

void Decoder::clear() {
    clearStream();
    slicePositions_.clear();
    sliceLengths_.clear();
    rendered_.clear();
    handle_.reset();
}

Result Decoder::parse() {
    // The library may look at them for as long as it renders.
    std::vector<std::uint8_t> bytes;
    Info info;
    if (Result got = readFile(bytes); !got) {
        return got;
    }
    if (Result created = createHandle(bytes); !created) {
        return created;
    }
    if (Result got = readInfo(info); !got) {
        return got;
    }
    if (Result got = readSlices(info); !got) {
        return got;
    }
    return render(info);
}

Result Decoder::readFile(std::vector<std::uint8_t>& bytes) {
    if (const auto opened = file_.open(Util::File::Read); !opened) {
        return unexpected(Error(opened.error()));
    }
    // Any file may be tried as a loop. Without the library it need not be read for that.
    if (const std::int32_t loaded = library_->Load(); loaded != NoError) {
        return unexpected(bad("Can't create REX handle: %1").arg(ErrorText(loaded)));
    }
    constexpr std::uint64_t mostBytes = std::numeric_limits<std::int32_t>::max();
    const std::uint64_t size = file_.size().value;
    if (size > mostBytes) {
        return unexpected(bad("File of %1 bytes, at most %2").arg(size).arg(mostBytes));
    }
    bytes.resize(static_cast<std::size_t>(size));
    if (const auto got = file_.read(bytes.data(), size); !got) {
        return unexpected(Error(got.error()));
    }
    return {};
}

Result Decoder::createHandle(const std::vector<std::uint8_t>& bytes) {
    // An empty vector has no address, which would be another mistake than an empty file.
    const char* const buffer = bytes.empty() ? "" : reinterpret_cast<const char*>(bytes.data());
    Handle handle = nullptr;
    const std::int32_t error =
        library_->REXCreate(&handle, buffer, static_cast<std::int32_t>(bytes.size()), nullptr, nullptr);
    if (error != NoError) {
        return unexpected(bad("Can't create REX handle: %1").arg(ErrorText(error)));
    }
    handle_.reset(handle);
    return {};
}

Result Decoder::readInfo(Info& info) {
    if (const std::int32_t error = library_->REXGetInfo(handle_.get(), sizeof info, &info);
        error != NoError) {
        return unexpected(bad("Can't get file info: %1").arg(ErrorText(error)));
    }
    if (!isValid(info)) {
        return unexpected(bad("Invalid file info"));
    }
    if (info.sliceCount == 0) {
        return unexpected(bad("No active slices"));
    }
    if (info.sliceCount > mostSlices) {
        return unexpected(bad("%1 slices, at most %2").arg(info.sliceCount).arg(mostSlices));
    }
    format_.channels = static_cast<std::uint32_t>(info.channels);
    format_.bytesPerSample = sizeof(float);
    format_.sampleRate = static_cast<std::uint32_t>(info.sampleRate);
    format_.isFloat = 1;
    return {};
}

checked_value<Decoder::Place> Decoder::placeOf(const Info& info, const SliceInfo& slice) {
    if (slice.positionPulses < 0 || slice.lengthFrames < 0) {
        return {};
    }
    // Pulses over pulses in a minute at that tempo, times frames in a minute, with all common factors gone:
    // 64 bits hold it for whatever isValid lets pass.
    constexpr std::uint64_t multiplier = 125;
    constexpr std::uint64_t divisor = 32;
    static_assert(multiplier * pulsesPerQuarter == divisor * 60 * 1000);
    return Place{
        static_cast<std::uint64_t>(slice.positionPulses) * static_cast<std::uint64_t>(info.sampleRate) *
            multiplier / (divisor * static_cast<std::uint64_t>(info.originalTempo)),
        static_cast<std::uint64_t>(slice.lengthFrames)};
}

Result Decoder::readSlices(const Info& info) {
    std::uint64_t frames = 0;
    for (std::int32_t index = 0; index < info.sliceCount; ++index) {
        SliceInfo slice;
        if (const std::int32_t error = library_->REXGetSliceInfo(handle_.get(), index, sizeof slice, &slice);
            error != NoError) {
            return unexpected(bad("Can't get slice %1 info: %2").arg(index).arg(ErrorText(error)));
        }
        const checked_value<Place> place = placeOf(info, slice);
        if (!place) {
            return unexpected(bad("Invalid slice %1 info").arg(index));
        }
        frames += place.value.frames;
        if (frames > mostFrames || place.value.position + place.value.frames > mostFrames) {
            return unexpected(bad("Slices of more than %1 frames").arg(mostFrames));
        }
        slicePositions_.push_back(place.value.position);
        sliceLengths_.push_back(place.value.frames);
    }
    totalFrames_ = slicePositions_.back() + sliceLengths_.back();
    return {};
}

Result Decoder::render(const Info& info) {
    const std::uint64_t longest = *std::max_element(sliceLengths_.begin(), sliceLengths_.end());
    rendered_.resize(format_.channels);
    for (std::vector<float>& channel : rendered_) {
        channel.resize(static_cast<std::size_t>(totalFrames_));
    }
    // Not empty even where the slices are: the library gets an address.
    std::vector<std::vector<float>> one(
        format_.channels, std::vector<float>(static_cast<std::size_t>(longest) + 1));

    for (std::int32_t index = 0; index < info.sliceCount; ++index) {
        const auto at = static_cast<std::size_t>(index);
        const std::uint64_t position = slicePositions_[at];
        const std::uint64_t frames = sliceLengths_[at];
        SliceInfo slice;
        if (const std::int32_t error = library_->REXGetSliceInfo(handle_.get(), index, sizeof slice, &slice);
            error != NoError) {
            return unexpected(bad("Can't get info for slice %1: %2").arg(index).arg(ErrorText(error)));
        }
        const checked_value<Place> place = placeOf(info, slice);
        if (!place || place.value.position != position || place.value.frames != frames) {
            return unexpected(bad("Slice %1 has changed").arg(index));
        }
        // A library that writes less than it says leaves silence.
        for (std::vector<float>& channel : one) {
            std::fill_n(channel.begin(), frames, 0.0F);
        }
        std::array<float*, 2> outputs{one[0].data(), one.size() > 1 ? one[1].data() : nullptr};
        if (const std::int32_t error =
                library_->REXRenderSlice(handle_.get(), index, slice.lengthFrames, outputs.data());
            error != NoError) {
            return unexpected(bad("Can't render slice %1: %2").arg(index).arg(ErrorText(error)));
        }
        const std::uint64_t cut = std::min(totalFrames_, position + frames);
        for (std::size_t channel = 0; channel < one.size(); ++channel) {
            for (std::uint64_t frame = position; frame < cut; ++frame) {
                rendered_[channel][frame] += one[channel][frame - position];
            }
        }
    }
    return {};
}

template<class Take>
Result Decoder::read(const char* operation, std::uint64_t count, std::uint64_t& framesRead, Take take) {
    framesRead = 0;
    if (!synced_) {
        return unexpected(bad(operation).arg(count));
    }
    framesRead = std::min(count, framesRemaining());
    if (framesRead != 0) {
        take(static_cast<std::size_t>(framesRead));
        position_ += framesRead;
    }
    return {};
}

void Decoder::interleave(std::size_t count, std::uint8_t* bytes) const {
    const std::size_t stride = rendered_.size() * sizeof(float);
    for (std::size_t channel = 0; channel < rendered_.size(); ++channel) {
        const float* const samples = samplesOf(channel);
        std::uint8_t* const first = bytes + channel * sizeof(float);
        for (std::size_t i = 0; i < count; ++i) {
            std::memcpy(first + i * stride, samples + i, sizeof(float));
        }
    }
}

Result Decoder::ReadFloatInterleaved(std::uint64_t count, float* buffer, std::uint64_t& framesRead) {
    return read("ReadFloatInterleaved %1 when not sync'd", count, framesRead, [&](std::size_t frames) {
        interleave(frames, reinterpret_cast<std::uint8_t*>(buffer));
    });
}

Result
Decoder::ReadFloatDeinterleaved(std::uint64_t count, float* const* channels, std::uint64_t& framesRead) {
    return read("ReadFloatDeinterleaved %1 when not sync'd", count, framesRead, [&](std::size_t frames) {
        for (std::size_t channel = 0; channel < rendered_.size(); ++channel) {
            std::copy_n(samplesOf(channel), frames, channels[channel]);
        }
    });
}

Result Decoder::ReadInt16Deinterleaved(
    std::uint64_t count, std::int16_t* const* channels, std::uint64_t& framesRead) {
    return read("ReadInt16Deinterleaved %1 when not sync'd", count, framesRead, [&](std::size_t frames) {
        for (std::size_t channel = 0; channel < rendered_.size(); ++channel) {
            toInt16(samplesOf(channel), frames, channels[channel]);
        }
    });
}

Result Decoder::ReadInt16Interleaved(std::uint64_t count, std::int16_t* buffer, std::uint64_t& framesRead) {
    return read("ReadInt16Interleaved %1 when not sync'd", count, framesRead, [&](std::size_t frames) {
        std::array<std::int16_t, 512> piece{};
        const std::size_t channels = rendered_.size();
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const float* const samples = samplesOf(channel);
            for (std::size_t done = 0; done < frames; done += piece.size()) {
                const std::size_t length = std::min(piece.size(), frames - done);
                toInt16(samples + done, length, piece.data());
                for (std::size_t i = 0; i < length; ++i) {
                    buffer[(done + i) * channels + channel] = piece[i];
                }
            }
        }
    });
}

Result Decoder::ReadRawInterleaved(std::uint64_t count, void* buffer, std::uint64_t& framesRead) {
    return read("ReadRawInterleaved %1 when not sync'd", count, framesRead, [&](std::size_t frames) {
        interleave(frames, static_cast<std::uint8_t*>(buffer));
    });
}

} // namespace Audio::Decode::REX
