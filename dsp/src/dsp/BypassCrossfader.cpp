#include "dsp/BypassCrossfader.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace DSP {

namespace {

/// inOut = rising * weight + falling * (1 - weight), in groups of four; `falling` or `rising` is inOut
/// itself.
void mix(
    float* inOut, const float* rising, const float* falling, const float* weights, std::uint32_t numFrames) {
    const auto one = [&](std::uint32_t i) {
        inOut[i] = rising[i] * weights[i] + falling[i] * (1.0F - weights[i]);
    };
    std::uint32_t i = 0;
    for (; i + 4 <= numFrames; i += 4) {
        one(i);
        one(i + 1);
        one(i + 2);
        one(i + 3);
    }
    for (; i < numFrames; ++i) {
        one(i);
    }
}

} // namespace

BypassCrossfader::BypassCrossfader(std::uint32_t channels, std::uint32_t samples) : numChannels(channels) {
    SetLength(samples);
}

void BypassCrossfader::SetLength(std::uint32_t samples) {
    const std::uint32_t wanted = std::max<std::uint32_t>(samples, 1);
    if (wanted == length) {
        return;
    }
    length = wanted;
    table.resize(length);
    for (std::uint32_t i = 0; i < length; ++i) {
        const float angle = static_cast<float>(i) * std::numbers::pi_v<float> / static_cast<float>(length);
        table[i] = 0.5F - 0.5F * std::cos(angle);
    }
    position = std::min(position, length);
    FollowTarget();
}

void BypassCrossfader::SetTarget(bool dry, bool skipFade) {
    targetDry = dry;
    skip = skipFade;
    FollowTarget();
    skip = false;
}

void BypassCrossfader::EnterFade(State fade) {
    state = fade;
    position = fadeRunning ? length - position - 1 : 0;
    fadeRunning = true;
}

void BypassCrossfader::EndFade(State final) {
    state = final;
    fadeRunning = false;
}

void BypassCrossfader::FollowTarget() {
    const State settled = targetDry ? State::Dry : State::Wet;
    const State fade = targetDry ? State::ToDry : State::ToWet;
    if (state == settled) {
        return;
    }
    if (skip || (state == fade && position >= length)) {
        EndFade(settled);
    } else if (state != fade) {
        // A fade the other way that is through already has nothing to mirror.
        if (fadeRunning && position >= length) {
            fadeRunning = false;
        }
        EnterFade(fade);
    }
}

void BypassCrossfader::Process(std::uint32_t numFrames, const float* const* dry, float* const* wet) {
    std::uint32_t done = 0;
    if (fadeRunning) {
        done = std::min(numFrames, length - position);
        for (std::uint32_t channel = 0; channel < numChannels; ++channel) {
            const bool toDry = state == State::ToDry;
            mix(wet[channel], toDry ? dry[channel] : wet[channel], toDry ? wet[channel] : dry[channel],
                table.data() + position, done);
        }
        position += done;
        FollowTarget();
    }
    if (state == State::Dry) {
        for (std::uint32_t channel = 0; channel < numChannels; ++channel) {
            std::copy_n(dry[channel] + done, numFrames - done, wet[channel] + done);
        }
    }
}

} // namespace DSP
