#pragma once

#include "audio/decode/FileWindow.h"
#include "audio/decode/InterleavedDecoder.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

namespace Audio::Decode {

/// A file whose samples stand in one piece. What their format is and where they begin, the derived decoder
/// finds out.
class SampleFileDecoder : public InterleavedDecoder {
public:
    Result sync() final;
    bool isTruncated() const final { return truncated_; }
    Result ReadRawInterleaved(std::uint64_t count, void* buffer, std::uint64_t& framesRead) final;

    std::size_t chunkCount() const final { return otherChunks_.size(); }
    checked_value<ChunkRecord> chunk(std::size_t index) const final;
    std::vector<String> diagnostics() const final { return diagnostics_; }

protected:
    /// Nothing is read of a file before sync.
    SampleFileDecoder(String path, const char* floatRefusal, const char* int16Refusal);

    /// Reads the open file from its start and sets the fields below. What it leaves behind after a failure
    /// does not matter.
    virtual Result parse() = 0;
    /// Forgets what parse set in the derived class.
    virtual void forget() = 0;

    FileWindow& file() { return file_; }
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
    const std::deque<ChunkRecord>& otherChunks() const { return otherChunks_; }

    bool truncated_ = false;
    checked_value<std::uint64_t> dataStart_;
    checked_value<std::uint64_t> dataSize_;
    /// Byte order of the samples.
    bool bigEndian_ = false;

private:
    void clear();
    checked_value<SampleEncoding> encoding() const;
    std::uint64_t filePosition(std::uint64_t frame) const;
    Result moved(std::uint64_t frame) final;
    Result takeFrames(std::uint64_t count, std::uint64_t& framesRead, FrameSink& sink) final;

    FileWindow file_;
    std::deque<ChunkRecord> otherChunks_;
    std::vector<String> diagnostics_;
    bool leavesOut_ = false;
};

} // namespace Audio::Decode
