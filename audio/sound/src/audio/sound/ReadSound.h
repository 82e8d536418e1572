#pragma once

#include "audio/sound/SoundReport.h"
#include "svbase/util/String.h"

#include <cstdint>
#include <functional>

namespace Audio::Sound {

struct ReadOptions {
    /// How many of the first frames to keep.
    std::uint64_t headFrames = 0;
    /// Called after each piece with the frames read and those of the file. May be empty.
    std::function<void(std::uint64_t done, std::uint64_t all)> progress;
};

/// Reads the whole file. Memory grows with the head and with the metadata, and not with the samples. Whatever
/// fails is told in the report.
/// [a thread that prepareThread has seen]
SoundReport readSound(const String& path, const ReadOptions& options);

} // namespace Audio::Sound
