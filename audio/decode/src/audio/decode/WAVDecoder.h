#pragma once

#include "audio/decode/SampleFileDecoder.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace Audio::Decode::WAV {

/// Reads RIFF WAVE and RF64: integers of 16, 24 and 32 bits and floats of 32, the plain and the extensible
/// format; integers of 8 bits raw. Where a chunk other than "data" runs past the end of the file the file
/// ends there: junk behind a good file does no harm.
class Decoder final : public SampleFileDecoder {
public:
    explicit Decoder(String path);

    std::uint32_t fileType() const override { return FileTypeWAV; }

    /// The cue points, each with its label; a cue point's frame is its sample offset.
    expected<std::vector<Marker>, Error> markers() override;
    /// The labelled texts that have a length, from their cue points on.
    expected<std::vector<Region>, Error> regions() override;
    expected<std::vector<CueText>, Error> notes() override;
    /// The text of GetOriginatorReference up to its first NUL; null where the file has no "bext" chunk.
    expected<String, Error> originatorReference() override;

    /// The Originator Reference of Broadcast Wave, all 32 bytes as they stand, whether or not a NUL is among
    /// them; zeros where the file has no "bext" chunk.
    /// Errors: "GetOriginatorReference %1 when not sync'd", %1 being the number of bytes.
    Result GetOriginatorReference(std::span<char, 32> bytes) const;
    /// The whole body of the "bext" chunk; empty where there is none.
    const std::vector<std::uint8_t>& bextData() const { return bextData_; }

    /// These are read from the file, each time they are asked for. Texts end at their first NUL.
    /// Errors: "Invalid size for cue points", "Invalid size for label" (notes too), "Invalid size for labeled
    /// text"; the file's.
    expected<std::vector<CuePoint>, Error> cuePoints();
    expected<std::vector<CueText>, Error> labels();
    expected<std::vector<LabeledText>, Error> labeledText();

private:
    Result parse() override;
    void forget() override;

    Result parseDataSize(std::uint64_t& position);
    Result walk(std::uint64_t position);
    Result parseFormat(std::uint64_t position, std::uint64_t size);
    Result parseExtensible(std::span<const std::uint8_t> body);
    Result parsePlain(std::uint32_t tag, std::uint32_t bits);
    Result readBext(std::uint64_t position, std::uint64_t size);

    Result readCuePoints(const ChunkRecord& chunk, std::vector<CuePoint>& points);
    expected<std::vector<CueText>, Error> cueTexts(std::uint32_t identifier);
    /// Has visit(position, size) called for each sub-chunk of that name in the lists of type "adtl".
    template<class Visit>
    Result visitList(std::uint32_t identifier, Visit visit);
    Result readText(std::uint64_t position, std::uint64_t size, String& text);

    bool hasFormat_ = false;
    std::vector<std::uint8_t> bextData_;
};

} // namespace Audio::Decode::WAV
