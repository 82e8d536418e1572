#include "audio/decode/SampleFileDecoder.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace Audio::Decode {

namespace {

Result failed(const Util::File::Error& error) {
    return unexpected(Error(error));
}

} // namespace

SampleFileDecoder::SampleFileDecoder(String path, const char* floatRefusal, const char* int16Refusal)
    : file_(std::move(path)), floatRefusal_(floatRefusal), int16Refusal_(int16Refusal) {}

Result SampleFileDecoder::sync() {
    if (synced_) {
        return {};
    }
    clear();
    if (const auto opened = file_.open(); !opened) {
        return failed(opened.error());
    }
    if (Result parsed = withinMemory([this] { return parse(); }); !parsed) {
        clear();
        return parsed;
    }
    encoding_ = encoding();
    if (encoding_) {
        file_.reserveFor(frameBytes());
    }
    synced_ = true;
    return {};
}

void SampleFileDecoder::clear() {
    file_.close();
    truncated_ = false;
    format_ = {};
    totalFrames_ = 0;
    dataStart_ = {};
    dataSize_ = {};
    bigEndian_ = false;
    position_ = 0;
    encoding_ = {};
    otherChunks_.clear();
    diagnostics_.clear();
    leavesOut_ = false;
    forget();
}

BadFormatError SampleFileDecoder::bad(const char* format, std::uint32_t code) const {
    return {code, format, file_.path()};
}

const std::uint8_t* SampleFileDecoder::bytesAt(std::uint64_t position, std::uint64_t count, Result& result) {
    const auto bytes = file_.view(position, count, count);
    if (!bytes) {
        result = failed(bytes.error());
        return nullptr;
    }
    return bytes->data();
}

Result SampleFileDecoder::readAt(std::uint64_t position, void* buffer, std::size_t count) {
    Result result;
    if (const std::uint8_t* const bytes = bytesAt(position, count, result)) {
        std::memcpy(buffer, bytes, count);
    }
    return result;
}

checked_value<ChunkRecord> SampleFileDecoder::chunk(std::size_t index) const {
    return index < otherChunks_.size() ? otherChunks_[index] : checked_value<ChunkRecord>();
}

std::uint64_t SampleFileDecoder::frameBytes() const {
    return std::uint64_t{format_.channels} * format_.bytesPerSample;
}

checked_value<SampleEncoding> SampleFileDecoder::encoding() const {
    if (format_.channels == 0) {
        return {};
    }
    const auto pick = [this](SampleEncoding little, SampleEncoding big) { return bigEndian_ ? big : little; };
    switch (format_.bytesPerSample) {
    case 2:
        return format_.isFloat != 0 ? checked_value<SampleEncoding>()
                                    : pick(SampleEncoding::Int16Little, SampleEncoding::Int16Big);
    case 3:
        return format_.isFloat != 0 ? checked_value<SampleEncoding>()
                                    : pick(SampleEncoding::Int24Little, SampleEncoding::Int24Big);
    case 4:
        return format_.isFloat != 0 ? pick(SampleEncoding::Float32Little, SampleEncoding::Float32Big)
                                    : pick(SampleEncoding::Int32Little, SampleEncoding::Int32Big);
    default:
        return {};
    }
}

/// Beyond what a file can have where the product does not fit: seeking there is refused.
std::uint64_t SampleFileDecoder::filePosition(std::uint64_t frame) const {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t start = dataStart_.value;
    const std::uint64_t bytes = frameBytes();
    return bytes != 0 && frame > (most - start) / bytes ? most : start + frame * bytes;
}

Result SampleFileDecoder::seek(std::uint64_t frame) {
    if (frame == position_) {
        return {};
    }
    if (!synced_) {
        return unexpected(bad("Seek to %1 when not sync'd").arg(frame));
    }
    if (frame > totalFrames_) {
        return unexpected(bad("Seek to %1, total sample frames %2").arg(frame).arg(totalFrames_));
    }
    position_ = frame;
    if (const auto moved = file_.seek(filePosition(frame)); !moved) {
        return failed(moved.error());
    }
    return {};
}

Result SampleFileDecoder::begin(const char* operation, const char* refusal, std::uint64_t& count) const {
    if (!synced_) {
        return unexpected(bad(operation).arg(count));
    }
    const std::uint64_t asked = count;
    count = std::min(count, framesRemaining());
    if (count != 0 && refusal != nullptr && !encoding_) {
        return unexpected(bad(refusal).arg(asked));
    }
    return {};
}

template<class Take>
Result SampleFileDecoder::takeFrames(std::uint64_t count, std::uint64_t& framesRead, Take take) {
    const std::uint64_t bytesPerFrame = frameBytes();
    while (framesRead < count) {
        const std::uint64_t left = count - framesRead;
        const auto bytes = file_.view(filePosition(position_), bytesPerFrame, left * bytesPerFrame);
        if (!bytes) {
            return failed(bytes.error());
        }
        const std::uint64_t frames = std::min<std::uint64_t>(bytes->size() / bytesPerFrame, left);
        take(bytes->data(), static_cast<std::size_t>(frames), static_cast<std::size_t>(framesRead));
        framesRead += frames;
        position_ += frames;
    }
    return {};
}

Result
SampleFileDecoder::ReadFloatInterleaved(std::uint64_t count, float* buffer, std::uint64_t& framesRead) {
    framesRead = 0;
    if (Result begun = begin("ReadFloatInterleaved %1 when not sync'd", floatRefusal_, count); !begun) {
        return begun;
    }
    const std::size_t channels = format_.channels;
    return takeFrames(
        count, framesRead, [&](const std::uint8_t* bytes, std::size_t frames, std::size_t done) {
            Convert(encoding_.value, bytes, frames * channels, buffer + done * channels);
        });
}

Result SampleFileDecoder::ReadFloatDeinterleaved(
    std::uint64_t count, float* const* channels, std::uint64_t& framesRead) {
    framesRead = 0;
    if (Result begun = begin("ReadFloatDeinterleaved %1 when not sync'd", floatRefusal_, count); !begun) {
        return begun;
    }
    return takeFrames(
        count, framesRead, [&](const std::uint8_t* bytes, std::size_t frames, std::size_t done) {
            Deinterleave(encoding_.value, bytes, frames, format_.channels, channels, done);
        });
}

Result SampleFileDecoder::ReadInt16Deinterleaved(
    std::uint64_t count, std::int16_t* const* channels, std::uint64_t& framesRead) {
    framesRead = 0;
    if (Result begun = begin("ReadInt16Deinterleaved %1 when not sync'd", int16Refusal_, count); !begun) {
        return begun;
    }
    return takeFrames(
        count, framesRead, [&](const std::uint8_t* bytes, std::size_t frames, std::size_t done) {
            Deinterleave(encoding_.value, bytes, frames, format_.channels, channels, done);
        });
}

Result SampleFileDecoder::ReadInt16Interleaved(
    std::uint64_t count, std::int16_t* buffer, std::uint64_t& framesRead) {
    framesRead = 0;
    if (Result begun = begin("ReadInt16Interleaved %1 when not sync'd", int16Refusal_, count); !begun) {
        return begun;
    }
    const std::size_t channels = format_.channels;
    return takeFrames(
        count, framesRead, [&](const std::uint8_t* bytes, std::size_t frames, std::size_t done) {
            Convert(encoding_.value, bytes, frames * channels, buffer + done * channels);
        });
}

Result SampleFileDecoder::ReadRawInterleaved(std::uint64_t count, void* buffer, std::uint64_t& framesRead) {
    framesRead = 0;
    if (Result begun = begin("ReadRawInterleaved %1 when not sync'd", nullptr, count); !begun) {
        return begun;
    }
    // Not through takeFrames: a frame that nothing converts may be larger than any window should be.
    std::uint64_t copied = 0;
    const std::uint64_t bytes = count * frameBytes();
    const auto got = file_.read(filePosition(position_), buffer, bytes, copied);
    framesRead = got ? count : copied / frameBytes();
    position_ += framesRead;
    if (!got) {
        return failed(got.error());
    }
    return {};
}

} // namespace Audio::Decode
