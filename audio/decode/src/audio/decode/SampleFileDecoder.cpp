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
    : InterleavedDecoder(path, floatRefusal, int16Refusal), file_(std::move(path)) {}

Result SampleFileDecoder::sync() {
    if (synced_) {
        return {};
    }
    clear();
    if (const auto opened = file_.open(); !opened) {
        return failed(opened.error());
    }
    if (Result parsed = withinMemory([this] { return parse(); }); !parsed) {
        // What was odd may be why it failed.
        std::vector<String> odd = std::move(diagnostics_);
        clear();
        diagnostics_ = std::move(odd);
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
    clearStream();
    file_.close();
    truncated_ = false;
    dataStart_ = {};
    dataSize_ = {};
    bigEndian_ = false;
    encoding_ = {};
    otherChunks_.clear();
    diagnostics_.clear();
    leavesOut_ = false;
    forget();
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

Result SampleFileDecoder::moved(std::uint64_t frame) {
    if (const auto sought = file_.seek(filePosition(frame)); !sought) {
        return failed(sought.error());
    }
    return {};
}

Result SampleFileDecoder::takeFrames(std::uint64_t count, std::uint64_t& framesRead, FrameSink& sink) {
    const std::uint64_t bytesPerFrame = frameBytes();
    while (framesRead < count) {
        const std::uint64_t left = count - framesRead;
        const auto bytes = file_.view(filePosition(position_), bytesPerFrame, left * bytesPerFrame);
        if (!bytes) {
            return failed(bytes.error());
        }
        const std::uint64_t frames = std::min<std::uint64_t>(bytes->size() / bytesPerFrame, left);
        sink.take(bytes->data(), static_cast<std::size_t>(frames), static_cast<std::size_t>(framesRead));
        framesRead += frames;
        position_ += frames;
    }
    return {};
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
