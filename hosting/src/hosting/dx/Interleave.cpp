#include "hosting/dx/Interleave.h"

#include <algorithm>
#include <cstddef>

namespace Tarvik {

void interleave(std::span<const float* const> channels, std::uint32_t frames, float* out) noexcept {
    const std::size_t count = channels.size();
    if (count == 1) {
        std::copy_n(channels[0], frames, out);
        return;
    }
    if (count == 2) {
        const float* left = channels[0];
        const float* right = channels[1];
        for (std::size_t frame = 0; frame < frames; ++frame) {
            out[2 * frame] = left[frame];
            out[2 * frame + 1] = right[frame];
        }
        return;
    }
    for (std::size_t channel = 0; channel < count; ++channel) {
        for (std::size_t frame = 0; frame < frames; ++frame) {
            out[frame * count + channel] = channels[channel][frame];
        }
    }
}

void deinterleave(
    const float* in, std::uint32_t frames, std::span<float* const> channels, std::uint32_t first) noexcept {
    const std::size_t count = channels.size();
    if (count == 1) {
        std::copy_n(in, frames, channels[0] + first);
        return;
    }
    if (count == 2) {
        float* left = channels[0] + first;
        float* right = channels[1] + first;
        for (std::size_t frame = 0; frame < frames; ++frame) {
            left[frame] = in[2 * frame];
            right[frame] = in[2 * frame + 1];
        }
        return;
    }
    for (std::size_t channel = 0; channel < count; ++channel) {
        float* out = channels[channel] + first;
        for (std::size_t frame = 0; frame < frames; ++frame) {
            out[frame] = in[frame * count + channel];
        }
    }
}

} // namespace Tarvik
