#pragma once

#include "svbase/util/Noncopyable.h"

#include <cstdint>
#include <vector>

namespace DSP {

/// Fades between what an element made (wet) and what went in (dry), with half a cosine. A change of mind
/// turns a fade round where it stands. [audio, under the audio lock]
class BypassCrossfader : noncopyable {
public:
    enum class State : std::uint32_t { Wet, ToDry, Dry, ToWet };

    /// length: of the fade, in samples; 0 is treated as 1.
    BypassCrossfader(std::uint32_t numChannels, std::uint32_t length);

    /// Allocates. A fade under way goes on at its position, or ends when that is past the new length.
    void SetLength(std::uint32_t length);

    /// dry: where to go. skipFade: be there at once, also out of a fade under way.
    void SetTarget(bool dry, bool skipFade = false);

    /// wet: what to change in place. Both of the crossfader's channel count, disjoint.
    void Process(std::uint32_t numFrames, const float* const* dry, float* const* wet);

    State GetState() const { return state; }
    std::uint32_t GetNumChannels() const { return numChannels; }
    std::uint32_t GetLength() const { return length; }

private:
    void FollowTarget();
    void EnterFade(State fade);
    void EndFade(State final);

    std::uint32_t numChannels;
    std::uint32_t length = 0;
    State state = State::Wet;
    bool targetDry = false;
    bool skip = false;
    std::uint32_t position = 0;
    bool fadeRunning = false;
    /// The rising weight, `length` of them.
    std::vector<float> table;
};

} // namespace DSP
