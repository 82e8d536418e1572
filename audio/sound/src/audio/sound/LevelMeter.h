#pragma once

#include "svbase/util/checked_value.h"

#include <cstddef>
#include <cstdint>

namespace Audio::Sound {

/// How loud a channel is, with 1 for full scale. What is no finite number takes no part in peak and RMS, and
/// is counted instead.
struct Levels {
    /// The greatest magnitude; invalid where the channel has no finite sample.
    checked_value<float> peak;
    /// The root of the mean square; invalid like the peak.
    checked_value<double> rms;
    std::uint64_t nanCount = 0;
    std::uint64_t infiniteCount = 0;
};

/// Measures one channel, piece by piece, in constant memory.
class LevelMeter {
public:
    void add(const float* samples, std::size_t count);
    Levels levels() const;

private:
    float peak_ = 0;
    double squares_ = 0;
    std::uint64_t finiteCount_ = 0;
    std::uint64_t nanCount_ = 0;
    std::uint64_t infiniteCount_ = 0;
};

} // namespace Audio::Sound
