#pragma once

#include "audio/decode/InterleavedDecoder.h"
#include "audio/decode/MediaHandle_win32.h"
#include "audio/decode/MediaLibrary_win32.h"
#include "audio/decode/MediaType_win32.h"
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
/// Reads are cut by the end of the sound alone, and not by framesRemaining(). Errors, beside those of all
/// streams: "Unable to read buffer. 0x%1"; the next read begins where the failed one ended.
///
/// COM must be up on the thread, which is the caller's to see to. [any one thread]
class Decoder final : public InterleavedDecoder {
public:
    explicit Decoder(String path);
    ~Decoder() override;

    std::uint32_t fileType() const override { return FileTypeMedia; }
    /// All failures are of the format, also those of a file that is not there: the library's result, in
    /// hexadecimal, is their argument.
    Result sync() override;
    /// Whether reading went past totalFrames(), which is by the header and may say less or more than there
    /// is. It has become the position and 1,024 then.
    bool isTotalExceeded() const { return totalExceeded_; }
    bool isTruncated() const override { return false; }

private:
    void clear();
    Result open();
    Result openReader();
    void keepChannelsApart();
    Result findOutput();
    Result readDuration(std::uint64_t& duration);
    Result chooseFormat();

    /// The library is asked for nothing before the next read.
    Result moved(std::uint64_t frame) override;
    Result takeFrames(std::uint64_t count, std::uint64_t& framesRead, FrameSink& sink) override;
    /// The end of the sound alone ends a read.
    std::uint64_t framesToRead(std::uint64_t count) const override { return count; }
    /// Sees to it that the buffer holds a frame, unless the sound is at its end.
    HRESULT fill();
    HRESULT appendSample();

    /// In units of 100 nanoseconds.
    std::uint64_t timeOf(std::uint64_t frame) const;
    std::size_t bufferedBytes() const { return bufferEnd_ - bufferStart_; }
    /// The message with the library's result in it.
    Result failed(const char* format, HRESULT answer) const;

    /// Before the reader, whose code it is.
    std::shared_ptr<const MediaLibrary> library_;
    MediaHandle<IWMSyncReader> reader_;
    bool totalExceeded_ = false;
    DWORD outputNumber_ = 0;
    WORD streamNumber_ = 0;
    /// The position's time, where the library has yet to be told.
    checked_value<std::uint64_t> soughtTime_;
    bool ended_ = false;
    /// What the library gave beyond what was read: the bytes from bufferStart_ to bufferEnd_.
    std::vector<std::uint8_t> sampleBuffer_;
    std::size_t bufferStart_ = 0;
    std::size_t bufferEnd_ = 0;
};

} // namespace Audio::Decode::WMA
