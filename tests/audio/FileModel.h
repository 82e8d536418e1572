#pragma once

#include "audio/decode/Stream.h"

#include <cstdint>
#include <string>
#include <vector>

/// What becomes of a file: the rules of both formats once more, on a string of all its bytes, the slow and
/// obvious way.
namespace SoundFile {

/// A chunk that the decoder leaves aside.
struct OtherChunk {
    std::string identifier;
    std::uint64_t position = 0;
    std::uint64_t size = 0;
    bool isAfterData = false;

    friend bool operator==(const OtherChunk&, const OtherChunk&) = default;
};

/// Data of another application.
struct Application {
    std::string signature;
    std::uint64_t position = 0;
    std::uint64_t size = 0;

    friend bool operator==(const Application&, const Application&) = default;
};

/// What hangs on a cue point: its text up to the first NUL, and, of a labelled text, the frames.
struct Remark {
    std::uint64_t cue = 0;
    std::uint64_t frames = 0;
    std::string text;

    friend bool operator==(const Remark&, const Remark&) = default;
};

/// Texts of one kind, unless told says why there are none.
struct Remarks {
    std::string told = "success";
    std::vector<Remark> list;
};

struct Outcome {
    /// As told() has it; nothing else counts unless it is "success".
    std::string told;
    Audio::Decode::Format format;
    std::uint64_t frames = 0;
    bool isTruncated = false;
    std::vector<OtherChunk> otherChunks;
    /// Where the samples begin.
    std::uint64_t dataStart = 0;
    /// What is said of chunks that are longer than the file; a name with a NUL ends there.
    std::vector<std::string> diagnostics;

    /// Of WAV alone.
    std::string bext;
    /// The frame of each cue point, as its cue; without text.
    Remarks cuePoints;
    Remarks labels;
    Remarks notes;
    Remarks labeledTexts;

    /// Of AIFF alone.
    std::vector<Application> applications;
    /// Beats, numerator and denominator; nothing where there is no loop.
    std::vector<unsigned> loop;
    /// Two numbers each.
    std::vector<std::uint64_t> transients;
};

Outcome wavOutcome(const std::string& bytes);
Outcome aiffOutcome(const std::string& bytes);

} // namespace SoundFile
