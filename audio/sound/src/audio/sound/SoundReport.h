#pragma once

#include "audio/decode/Metadata.h"
#include "audio/decode/Stream.h"
#include "audio/sound/LevelMeter.h"
#include "svbase/util/String.h"

#include <cstdint>
#include <vector>

namespace Audio::Sound {

/// What is in a sound file, as far as it could be read.
struct SoundReport {
    /// As it was given.
    String path;
    /// What could not be read, in the order of the attempts; empty where everything was.
    std::vector<String> errors;
    /// Whether the file was opened and parsed: without that, nothing below is set.
    bool isOpen = false;

    /// A Decode::FileType.
    std::uint32_t fileType = 0;
    Decode::Format format;
    /// Of one sample, as the file has it.
    std::uint32_t bits = 0;
    std::uint64_t frames = 0;
    bool isTruncated = false;
    std::vector<String> diagnostics;

    /// Null where there is none.
    String originatorReference;
    Decode::LoopInfo loop;
    std::vector<Decode::Marker> markers;
    std::vector<Decode::Region> regions;
    /// Names of markers, by the markers' numbers: those that the markers have, and those of no marker.
    std::vector<Decode::CueText> labels;
    std::vector<Decode::CueText> notes;
    std::vector<Decode::ApplicationChunk> applications;

    /// How many frames the levels are of: fewer than `frames` where reading ended early, or more where the
    /// header's length was only an estimate, as it is of media files.
    std::uint64_t framesRead = 0;
    /// One for each channel; empty where no sample could be read.
    std::vector<Levels> levels;
    /// The first frames' samples, frame by frame.
    std::vector<float> head;
};

} // namespace Audio::Sound
