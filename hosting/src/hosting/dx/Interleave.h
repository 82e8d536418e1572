#pragma once

#include <cstdint>
#include <span>

namespace Tarvik {

/// Writes channels[0][0], channels[1][0], ... channels[0][1], ... to out, which has room for frames times the
/// number of channels. No pointer needs alignment beyond that of a float. [audio]
void interleave(std::span<const float* const> channels, std::uint32_t frames, float* out) noexcept;

/// The way back, to the frames first .. first + frames of each channel. [audio]
void deinterleave(
    const float* in, std::uint32_t frames, std::span<float* const> channels, std::uint32_t first) noexcept;

} // namespace Tarvik
