#pragma once

#include "audio/decode/SampleFileDecoder.h"

#include <cstdint>
#include <vector>

namespace Audio::Decode::AIFF {

/// Reads AIFF, and AIFC of the types "NONE", "sowt", "fl32" and "FL32": samples of up to 32 bits, taken as
/// they lie in their bytes; those of 8 bits raw.
class Decoder final : public SampleFileDecoder {
public:
    explicit Decoder(String path);

    std::uint32_t fileType() const override { return FileTypeAIFF; }

    /// As the "COMM" chunk has them; format() has the bytes that they take.
    std::uint32_t sampleBits() const { return sampleBits_; }
    /// False for "sowt" alone.
    bool isBigEndian() const { return bigEndian_; }

    /// Of the "MARK" chunk, read when asked for; as many as it holds, whatever it claims.
    expected<std::vector<Marker>, Error> markers() override;
    /// The loops of the "INST" chunk: identifier 1, "sustain", and 2, "release", where they have markers.
    expected<std::vector<Region>, Error> regions() override;
    std::vector<ApplicationChunk> applicationChunks() const override { return applicationChunks_; }
    /// From the "basc" chunk.
    LoopInfo loopInfo() const override { return loopInfo_; }
    /// The entries of the "trns" chunk; empty where it is too short for its own count.
    const std::vector<TransientEntry>& transients() const { return transients_; }

private:
    Result parse() override;
    void forget() override;

    Result walk(bool isCompressed);
    Result parseCommon(std::uint64_t position, std::uint32_t size, bool isCompressed);
    Result parseSound(std::uint64_t position, std::uint32_t size);
    Result parseApplication(std::uint64_t position, std::uint32_t size);
    Result parseLoop(std::uint64_t position, std::uint32_t size);
    Result parseTransients(std::uint64_t position, std::uint32_t size);

    /// The first chunk of that name that sync had no use for.
    checked_value<ChunkRecord> find(std::uint32_t identifier) const;

    std::uint32_t sampleBits_ = 0;
    bool hasCommon_ = false;
    bool hasLoop_ = false;
    bool hasTransients_ = false;
    LoopInfo loopInfo_;
    std::vector<TransientEntry> transients_;
    std::vector<ApplicationChunk> applicationChunks_;
};

} // namespace Audio::Decode::AIFF
