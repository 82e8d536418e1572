#pragma once

#include "audio/decode/SampleConversion.h"
#include "audio/decode/SyncedStream.h"

#include <cstddef>
#include <cstdint>

namespace Audio::Decode {

/// A decoder whose samples come as bytes, frame by frame, in one of the encodings of SampleConversion.h or in
/// one that can only be read raw.
class InterleavedDecoder : public SyncedStream {
public:
    using Stream::ReadFloatInterleaved;
    Result ReadFloatInterleaved(std::uint64_t count, float* buffer, std::uint64_t& framesRead) final;
    Result
    ReadFloatDeinterleaved(std::uint64_t count, float* const* channels, std::uint64_t& framesRead) final;
    Result ReadInt16Deinterleaved(
        std::uint64_t count, std::int16_t* const* channels, std::uint64_t& framesRead) final;
    Result ReadInt16Interleaved(std::uint64_t count, std::int16_t* buffer, std::uint64_t& framesRead) final;
    Result ReadRawInterleaved(std::uint64_t count, void* buffer, std::uint64_t& framesRead) override;

protected:
    /// Takes frames piece by piece.
    class FrameSink {
    public:
        /// bytes: so many frames. done: how many have been taken before.
        virtual void take(const std::uint8_t* bytes, std::size_t frames, std::size_t done) = 0;

    protected:
        ~FrameSink() = default;
    };

    /// floatRefusal, int16Refusal: what to say, with %1 for the count, of samples that cannot be converted.
    InterleavedDecoder(String path, const char* floatRefusal, const char* int16Refusal);

    /// Gives the sink up to count frames from the position on, which moves with framesRead.
    virtual Result takeFrames(std::uint64_t count, std::uint64_t& framesRead, FrameSink& sink) = 0;
    /// How many frames a read of count may ask for: what is left.
    virtual std::uint64_t framesToRead(std::uint64_t count) const;

    /// Sets count to the frames to read; 0 is nothing to do. Fails before sync, and where a conversion is
    /// asked for that there is not. refusal: null for none.
    Result begin(const char* operation, const char* refusal, std::uint64_t& count) const;
    std::uint64_t frameBytes() const { return std::uint64_t{format_.channels} * format_.bytesPerSample; }

    /// Invalid where the samples can only be read raw.
    checked_value<SampleEncoding> encoding_;

private:
    template<class Take>
    Result read(
        const char* operation, const char* refusal, std::uint64_t count, std::uint64_t& framesRead,
        Take take);

    const char* const floatRefusal_;
    const char* const int16Refusal_;
};

} // namespace Audio::Decode
