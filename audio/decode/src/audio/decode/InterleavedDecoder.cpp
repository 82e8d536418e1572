#include "audio/decode/InterleavedDecoder.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Audio::Decode {

InterleavedDecoder::InterleavedDecoder(String path, const char* floatRefusal, const char* int16Refusal)
    : SyncedStream(std::move(path)), floatRefusal_(floatRefusal), int16Refusal_(int16Refusal) {}

std::uint64_t InterleavedDecoder::framesToRead(std::uint64_t count) const {
    return std::min(count, framesRemaining());
}

Result InterleavedDecoder::begin(const char* operation, const char* refusal, std::uint64_t& count) const {
    if (!synced_) {
        return unexpected(bad(operation).arg(count));
    }
    const std::uint64_t asked = count;
    count = framesToRead(count);
    if (count != 0 && refusal != nullptr && !encoding_) {
        return unexpected(bad(refusal).arg(asked));
    }
    return {};
}

template<class Take>
Result InterleavedDecoder::read(
    const char* operation, const char* refusal, std::uint64_t count, std::uint64_t& framesRead, Take take) {
    class Sink final : public FrameSink {
    public:
        explicit Sink(Take& taken) : take_(taken) {}
        void take(const std::uint8_t* bytes, std::size_t frames, std::size_t done) override {
            take_(bytes, frames, done);
        }

    private:
        Take& take_;
    };
    framesRead = 0;
    if (Result begun = begin(operation, refusal, count); !begun) {
        return begun;
    }
    Sink sink(take);
    return takeFrames(count, framesRead, sink);
}

Result
InterleavedDecoder::ReadFloatInterleaved(std::uint64_t count, float* buffer, std::uint64_t& framesRead) {
    return read(
        "ReadFloatInterleaved %1 when not sync'd", floatRefusal_, count, framesRead,
        [&](const std::uint8_t* bytes, std::size_t frames, std::size_t done) {
            const std::size_t channels = format_.channels;
            Convert(encoding_.value, bytes, frames * channels, buffer + done * channels);
        });
}

Result InterleavedDecoder::ReadFloatDeinterleaved(
    std::uint64_t count, float* const* channels, std::uint64_t& framesRead) {
    return read(
        "ReadFloatDeinterleaved %1 when not sync'd", floatRefusal_, count, framesRead,
        [&](const std::uint8_t* bytes, std::size_t frames, std::size_t done) {
            Deinterleave(encoding_.value, bytes, frames, format_.channels, channels, done);
        });
}

Result InterleavedDecoder::ReadInt16Deinterleaved(
    std::uint64_t count, std::int16_t* const* channels, std::uint64_t& framesRead) {
    return read(
        "ReadInt16Deinterleaved %1 when not sync'd", int16Refusal_, count, framesRead,
        [&](const std::uint8_t* bytes, std::size_t frames, std::size_t done) {
            Deinterleave(encoding_.value, bytes, frames, format_.channels, channels, done);
        });
}

Result InterleavedDecoder::ReadInt16Interleaved(
    std::uint64_t count, std::int16_t* buffer, std::uint64_t& framesRead) {
    return read(
        "ReadInt16Interleaved %1 when not sync'd", int16Refusal_, count, framesRead,
        [&](const std::uint8_t* bytes, std::size_t frames, std::size_t done) {
            const std::size_t channels = format_.channels;
            Convert(encoding_.value, bytes, frames * channels, buffer + done * channels);
        });
}

Result InterleavedDecoder::ReadRawInterleaved(std::uint64_t count, void* buffer, std::uint64_t& framesRead) {
    return read(
        "ReadRawInterleaved %1 when not sync'd", nullptr, count, framesRead,
        [&](const std::uint8_t* bytes, std::size_t frames, std::size_t done) {
            const auto size = static_cast<std::size_t>(frameBytes());
            std::memcpy(static_cast<std::uint8_t*>(buffer) + done * size, bytes, frames * size);
        });
}

} // namespace Audio::Decode
