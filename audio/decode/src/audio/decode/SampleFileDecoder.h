#pragma once

#include "audio/decode/FileWindow.h"
#include "audio/decode/SampleConversion.h"
#include "audio/decode/Stream.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Audio::Decode {

/// A file whose samples stand in one piece, in one of the encodings of SampleConversion.h or in one that can
/// only be read raw. What the file's format is and where its samples begin, the derived decoder finds out.
class SampleFileDecoder : public Stream {
public:
    Result sync() final;
    const Format& format() const final { return format_; }
    std::uint64_t totalFrames() const final { return totalFrames_; }
    bool isTruncated() const final { return truncated_; }
    std::uint64_t position() const final { return position_; }
    std::uint64_t framesRemaining() const final { return synced_ ? totalFrames_ - position_ : 0; }
    Result seek(std::uint64_t frame) final;

    using Stream::ReadFloatInterleaved;
    Result ReadFloatInterleaved(std::uint64_t count, float* buffer, std::uint64_t& framesRead) final;
    Result
    ReadFloatDeinterleaved(std::uint64_t count, float* const* channels, std::uint64_t& framesRead) final;
    Result ReadInt16Deinterleaved(
        std::uint64_t count, std::int16_t* const* channels, std::uint64_t& framesRead) final;
    Result ReadInt16Interleaved(std::uint64_t count, std::int16_t* buffer, std::uint64_t& framesRead) final;
    Result ReadRawInterleaved(std::uint64_t count, void* buffer, std::uint64_t& framesRead) final;

    std::size_t chunkCount() const final { return otherChunks_.size(); }
    checked_value<ChunkRecord> chunk(std::size_t index) const final;
    std::vector<String> diagnostics() const final { return diagnostics_; }

protected:
    /// Nothing is read of a file before sync. floatRefusal, int16Refusal: what to say, with %1 for the count,
    /// of samples that cannot be converted.
    SampleFileDecoder(String path, const char* floatRefusal, const char* int16Refusal);

    /// Reads the open file from its start and sets the fields below. What it leaves behind after a failure
    /// does not matter.
    virtual Result parse() = 0;
    /// Forgets what parse set in the derived class.
    virtual void forget() = 0;

    bool isSynced() const { return synced_; }
    FileWindow& file() { return file_; }
    /// An error of this file, with arguments still to come.
    BadFormatError bad(const char* format, std::uint32_t code = BadFormatError::General) const;
    /// The count bytes from position on, a page at most: valid until the file is read again. Null, and the
    /// file's error in the result, where they are not there.
    const std::uint8_t* bytesAt(std::uint64_t position, std::uint64_t count, Result& result);
    /// The same, copied.
    Result readAt(std::uint64_t position, void* buffer, std::size_t count);
    /// Of anything that a file lists: more than any honest file has. What a file makes us remember must not
    /// outgrow memory.
    static constexpr std::size_t mostRecords = std::size_t{1} << 22U;
    /// Appends the record; from mostRecords on a diagnostic says that they are left out.
    template<class Records, class Record>
    void remember(Records& records, const Record& record) {
        if (records.size() < mostRecords) {
            records.push_back(record);
        } else if (!leavesOut_) {
            leavesOut_ = true;
            addDiagnostic(String("More than %1 chunks of a kind; the rest is left out.").arg(mostRecords));
        }
    }
    void addOtherChunk(const ChunkRecord& chunk) { remember(otherChunks_, chunk); }
    void addDiagnostic(String text) { diagnostics_.push_back(std::move(text)); }
    /// What a step gives that may need as much memory as the file has bytes. Where there is not so much, that
    /// is an error of the file like any other.
    template<class Step>
    auto withinMemory(Step step) const -> decltype(step()) {
        try {
            return step();
        } catch (const std::bad_alloc&) {
            return unexpected(bad("Not enough memory for what the file holds"));
        } catch (const std::length_error&) {
            return unexpected(bad("Not enough memory for what the file holds"));
        }
    }
    const std::deque<ChunkRecord>& otherChunks() const { return otherChunks_; }
    std::uint64_t frameBytes() const;

    bool truncated_ = false;
    Format format_;
    std::uint64_t totalFrames_ = 0;
    checked_value<std::uint64_t> dataStart_;
    checked_value<std::uint64_t> dataSize_;
    /// Byte order of the samples.
    bool bigEndian_ = false;

private:
    void clear();
    checked_value<SampleEncoding> encoding() const;
    std::uint64_t filePosition(std::uint64_t frame) const;
    /// Cuts count to what is left; 0 is nothing to do. Fails before sync, and where a conversion is asked for
    /// that there is not.
    Result begin(const char* operation, const char* refusal, std::uint64_t& count) const;
    /// Has take(bytes, frames, done) called on the frames at the position, piece by piece.
    template<class Take>
    Result takeFrames(std::uint64_t count, std::uint64_t& framesRead, Take take);

    FileWindow file_;
    const char* const floatRefusal_;
    const char* const int16Refusal_;
    bool synced_ = false;
    std::uint64_t position_ = 0;
    checked_value<SampleEncoding> encoding_;
    std::deque<ChunkRecord> otherChunks_;
    std::vector<String> diagnostics_;
    bool leavesOut_ = false;
};

} // namespace Audio::Decode
