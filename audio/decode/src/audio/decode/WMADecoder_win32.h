#pragma once

#include "audio/decode/MediaHandle_win32.h"
#include "audio/decode/MediaLibrary_win32.h"
#include "audio/decode/MediaType_win32.h"
#include "audio/decode/SampleConversion.h"
#include "audio/decode/Stream.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Audio::Decode::WMA {

/// Reads what the system's media library reads, Windows Media files and MP3 among them, as integers; those of
/// 16 and 24 bits as floats and int16 too. Decodes in order. A seek has the library start anew, at the
/// frame's time cut to whole units of 100 nanoseconds; how near to that it comes is the library's matter and
/// the format's.
///
/// COM must be up on the thread, which is the caller's to see to. [any one thread]
class Decoder final : public Stream {
public:
    explicit Decoder(String path);
    ~Decoder() override;

    std::uint32_t fileType() const override { return FileTypeMedia; }
    /// All failures are of the format, also those of a file that is not there: the library's result, in
    /// hexadecimal, is their argument.
    Result sync() override;
    const Format& format() const override { return format_; }
    /// By the header, which may say less or more than there is. Reading past it makes it the position and
    /// 1,024.
    std::uint64_t totalFrames() const override { return totalFrames_; }
    /// Whether that has happened.
    bool isTotalExceeded() const { return totalExceeded_; }
    bool isTruncated() const override { return false; }
    std::uint64_t position() const override { return position_; }
    std::uint64_t framesRemaining() const override { return synced_ ? totalFrames_ - position_ : 0; }
    /// Nothing is asked of the library before the next read.
    Result seek(std::uint64_t frame) override;

    using Stream::ReadFloatInterleaved;
    /// The reads are cut by the end of the sound alone, and not by framesRemaining().
    /// Errors, beside those of all streams: "Unable to read buffer. 0x%1"; the next read begins where the
    /// failed one ended.
    Result ReadFloatInterleaved(std::uint64_t count, float* buffer, std::uint64_t& framesRead) override;
    Result
    ReadFloatDeinterleaved(std::uint64_t count, float* const* channels, std::uint64_t& framesRead) override;
    Result ReadInt16Deinterleaved(
        std::uint64_t count, std::int16_t* const* channels, std::uint64_t& framesRead) override;
    Result
    ReadInt16Interleaved(std::uint64_t count, std::int16_t* buffer, std::uint64_t& framesRead) override;
    Result ReadRawInterleaved(std::uint64_t count, void* buffer, std::uint64_t& framesRead) override;

private:
    void clear();
    Result open();
    Result openReader();
    Result findOutput();
    Result readDuration(std::uint64_t& duration);
    Result chooseFormat();

    Result begin(const char* operation, const char* refusal, std::uint64_t count) const;
    /// Has take(bytes, frames, done) called on the frames at the position, piece by piece.
    template<class Take>
    Result takeFrames(std::uint64_t count, std::uint64_t& framesRead, Take take);
    /// Sees to it that the buffer holds a frame, unless the sound is at its end.
    HRESULT fill();
    HRESULT appendSample();

    /// In units of 100 nanoseconds.
    std::uint64_t timeOf(std::uint64_t frame) const;
    std::size_t frameBytes() const { return std::size_t{format_.channels} * format_.bytesPerSample; }
    std::size_t bufferedBytes() const { return bufferEnd_ - bufferStart_; }
    BadFormatError bad(const char* format) const;
    /// The message with the library's result in it.
    Result failed(const char* format, HRESULT answer) const;

    String path_;
    /// Before the reader, whose code it is.
    std::shared_ptr<const MediaLibrary> library_;
    MediaHandle<IWMSyncReader> reader_;
    bool synced_ = false;
    Format format_;
    checked_value<SampleEncoding> encoding_;
    std::uint64_t totalFrames_ = 0;
    bool totalExceeded_ = false;
    DWORD outputNumber_ = 0;
    WORD streamNumber_ = 0;
    std::uint64_t position_ = 0;
    /// Its time, where the library has yet to be told.
    checked_value<std::uint64_t> soughtTime_;
    bool ended_ = false;
    /// What the library gave beyond what was read: the bytes from bufferStart_ to bufferEnd_.
    std::vector<std::uint8_t> sampleBuffer_;
    std::size_t bufferStart_ = 0;
    std::size_t bufferEnd_ = 0;
};

} // namespace Audio::Decode::WMA
