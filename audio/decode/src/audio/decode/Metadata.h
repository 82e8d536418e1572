#pragma once

#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <cstdint>

/// What a sound file holds beside its samples. Identifiers of four bytes are as fourCC makes them; texts are
/// in whatever encoding the file has.
namespace Audio::Decode {

/// A chunk, by the place of its body.
struct ChunkRecord {
    std::uint32_t identifier = 0;
    /// Of the body, in bytes.
    std::uint32_t size = 0;
    /// Of the body, from the start of the file.
    std::uint64_t position = 0;
    /// Whether it stands behind the samples.
    bool afterData = false;
};

struct Marker {
    std::uint32_t identifier = 0;
    std::uint64_t frame = 0;
    /// Null where the file gives it none.
    String name;
};

struct Region {
    std::uint32_t identifier = 0;
    std::uint64_t frame = 0;
    std::uint64_t frames = 0;
    String name;
};

/// A cue point of a WAV file, field by field.
struct CuePoint {
    std::uint32_t identifier = 0;
    std::uint32_t position = 0;
    std::uint32_t chunkName = 0;
    std::uint32_t chunkStart = 0;
    std::uint32_t blockStart = 0;
    /// The frame, in files whose samples stand in one chunk.
    std::uint32_t sampleOffset = 0;
};

/// A label or note of the cue point with that identifier.
struct CueText {
    std::uint32_t cueIdentifier = 0;
    String text;
};

/// A text that holds for a stretch from a cue point on.
struct LabeledText {
    std::uint32_t cueIdentifier = 0;
    /// In frames.
    std::uint32_t sampleLength = 0;
    std::uint32_t purpose = 0;
    std::uint16_t country = 0;
    std::uint16_t language = 0;
    std::uint16_t dialect = 0;
    std::uint16_t codePage = 0;
    String text;
};

/// Data of another application.
struct ApplicationChunk {
    /// Which application.
    std::uint32_t signature = 0;
    /// Of what follows the signature.
    std::uint64_t position = 0;
    std::uint32_t size = 0;
};

/// The musical length of a loop: all three are there, or none.
struct LoopInfo {
    checked_value<unsigned> beats;
    /// Of the time signature.
    checked_value<unsigned> numerator;
    checked_value<unsigned> denominator;
};

/// An entry of an AIFF file's table of transients, as it stands there.
struct TransientEntry {
    std::uint32_t first = 0;
    std::uint32_t second = 0;
};

} // namespace Audio::Decode
