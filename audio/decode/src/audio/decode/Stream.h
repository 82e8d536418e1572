#pragma once

#include "audio/decode/BadFormatError.h"
#include "audio/decode/Metadata.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/checked_value.h"
#include "svbase/util/expected.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Audio::Decode {

/// The numbers of the kinds of file.
enum FileType : std::uint32_t {
    FileTypeNone = 0,
    FileTypeMedia = 1, ///< Whatever the system's media library reads.
    FileTypeWAV = 2,   ///< RF64 too.
    FileTypeAIFF = 3,  ///< AIFC too.
    FileTypeOtherMedia = 5,
    FileTypeREX = 7,
    FileTypeLast = 12
};

/// How the samples stand in the file.
struct Format {
    std::uint32_t channels = 0;
    /// Of one sample of one channel.
    std::uint32_t bytesPerSample = 0;
    /// Frames per second.
    std::uint32_t sampleRate = 0;
    /// 1 for floating point, 0 for integers.
    std::uint32_t isFloat = 0;
    /// The speakers, as the extensible WAV format has them; 0 where the file does not tell.
    std::uint32_t channelMask = 0;

    friend bool operator==(const Format&, const Format&) = default;
};

/// A sound file: its format, and its samples from any frame on. A frame is one sample of each channel.
///
/// Made unsynced, by openStream or createDecoder; sync() opens and parses the file. Bad data is an error and
/// never an exception. Reading allocates nothing after the first read. Not shared between threads; not for
/// the audio path, as reading waits for the file.
class Stream : private noncopyable {
public:
    /// A FileType.
    virtual std::uint32_t fileType() const = 0;
    /// Opens and parses the file, from nothing; on a synced stream does nothing. After a failure the stream
    /// is as it was made, and sync may be tried again.
    virtual Result sync() = 0;
    /// The same as sync.
    virtual Result resync();
    /// All zero before sync.
    virtual const Format& format() const = 0;
    /// 0 before sync.
    virtual std::uint64_t totalFrames() const = 0;
    /// Whether the samples run past the end of the file, where they have been cut.
    virtual bool isTruncated() const = 0;
    /// The frame that is read next.
    virtual std::uint64_t position() const = 0;
    /// totalFrames() - position(); 0 before sync.
    virtual std::uint64_t framesRemaining() const = 0;
    /// Moves the position. frame: 0..totalFrames(). The position itself is always accepted, even before sync.
    /// Errors: "Seek to %1 when not sync'd"; "Seek to %1, total sample frames %2", which leaves the position.
    virtual Result seek(std::uint64_t frame) = 0;

    /// For formats to come. None of today's does anything here.
    virtual void reservedHook1() {}
    virtual bool reservedHook2() { return false; }
    virtual void reservedHook3() {}

    /// All reads: count is cut to framesRemaining(); nothing left is no error. framesRead: the frames that
    /// were obtained, also when an error ended the read behind them; the position has moved by as many.
    /// Errors: "<operation> %1 when not sync'd"; a conversion that the format does not have; the file's.
    ///
    /// Floats are the integers scaled to -1..1 (full scale is 2^(bits - 1)); floats of the file come as they
    /// stand there.

    /// buffer: count frames of channels samples each.
    virtual Result ReadFloatInterleaved(std::uint64_t count, float* buffer, std::uint64_t& framesRead) = 0;
    /// Succeeds with nothing read in formats that have no samples of double precision; no format here does.
    virtual Result ReadFloatInterleaved(std::uint64_t count, double* buffer, std::uint64_t& framesRead);
    /// channels: one array of count samples for each channel.
    virtual Result
    ReadFloatDeinterleaved(std::uint64_t count, float* const* channels, std::uint64_t& framesRead) = 0;
    /// Integers of 24 and 32 bits give their upper 16; floats are rounded to the nearest, and cut to the
    /// range.
    virtual Result
    ReadInt16Deinterleaved(std::uint64_t count, std::int16_t* const* channels, std::uint64_t& framesRead) = 0;
    virtual Result
    ReadInt16Interleaved(std::uint64_t count, std::int16_t* buffer, std::uint64_t& framesRead) = 0;
    /// The file's own bytes. buffer: count frames of format().channels * format().bytesPerSample bytes.
    virtual Result ReadRawInterleaved(std::uint64_t count, void* buffer, std::uint64_t& framesRead) = 0;

    /// Chunks of the file that the decoder has no use for itself, in the file's order.
    virtual std::size_t chunkCount() const { return 0; }
    /// Invalid from chunkCount() on.
    virtual checked_value<ChunkRecord> chunk(std::size_t index) const;
    /// Points and stretches of the sound that have a name or number. Formats read them when they are asked
    /// for; the position stays as it is.
    virtual expected<std::vector<Marker>, Error> markers();
    virtual expected<std::vector<Region>, Error> regions();
    /// Remarks on the markers, by the markers' numbers.
    virtual expected<std::vector<CueText>, Error> notes();
    /// What other applications have left in the file.
    virtual std::vector<ApplicationChunk> applicationChunks() const;
    /// All invalid where the file does not tell of a loop.
    virtual LoopInfo loopInfo() const;
    /// What the last sync found odd and went over, also where it failed at something else.
    virtual std::vector<String> diagnostics() const;
    /// Whom the recording is from, in the originator's own numbering; null where the file does not tell.
    virtual expected<String, Error> originatorReference();

    virtual ~Stream() = default;

protected:
    Stream() = default;
};

} // namespace Audio::Decode
