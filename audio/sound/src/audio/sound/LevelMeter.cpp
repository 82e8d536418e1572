#include "audio/sound/LevelMeter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Audio::Sound {

void LevelMeter::add(const float* samples, std::size_t count) {
    float peak = peak_;
    // A sum of its own for each piece: a long file's small samples would get lost in the one of all.
    double squares = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const float magnitude = std::fabs(samples[i]);
        if (magnitude <= std::numeric_limits<float>::max()) {
            peak = std::max(peak, magnitude);
            squares += double{magnitude} * double{magnitude};
            ++finiteCount_;
        } else if (std::isnan(magnitude)) {
            ++nanCount_;
        } else {
            ++infiniteCount_;
        }
    }
    peak_ = peak;
    squares_ += squares;
}

Levels LevelMeter::levels() const {
    Levels levels{{}, {}, nanCount_, infiniteCount_};
    if (finiteCount_ != 0) {
        levels.peak = peak_;
        levels.rms = std::sqrt(squares_ / static_cast<double>(finiteCount_));
    }
    return levels;
}

} // namespace Audio::Sound
