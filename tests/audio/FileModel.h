#pragma once

#include "audio/decode/Stream.h"

#include <cstdint>
#include <string>

/// What becomes of a file: the rules of both formats once more, on a string of all its bytes, the slow and
/// obvious way.
namespace SoundFile {

struct Outcome {
    /// As told() has it; nothing else counts unless it is "success".
    std::string told;
    Audio::Decode::Format format;
    std::uint64_t frames = 0;
    bool isTruncated = false;
    std::size_t otherChunks = 0;
    /// Where the samples begin.
    std::uint64_t dataStart = 0;
};

Outcome wavOutcome(const std::string& bytes);
Outcome aiffOutcome(const std::string& bytes);

} // namespace SoundFile
