#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace DSP {

/// A single-channel delay that changes its length without a click: the tap at the old delay fades linearly
/// into the tap at the new one over 128 samples. A change during a fade waits for its end, the latest one
/// wins. Only construction allocates. [any one thread]
class DelayLine {
public:
    static constexpr float defaultFadeStep = 0.0078125F;

    /// capacity: frames of the ring, at least 1. Delays 0..capacity - 1 can be set, so a line for delays up
    /// to n needs n + 1. The delay starts at 0.
    explicit DelayLine(std::uint32_t capacity);

    /// Nothing happens when the delay is `frames` already, or when it is past the capacity. Before the first
    /// sample the delay is simply set; later it fades.
    void SetDelay(std::uint32_t frames) noexcept;

    /// The delay asked for last: the one that waits for its fade, if there is one.
    std::uint32_t GetDelay() const noexcept;

    /// frames: length of the ring.
    std::uint32_t GetCapacity() const noexcept { return static_cast<std::uint32_t>(buffer.size()); }

    /// Silences the line, ends a fade and sets the delay asked for last at once.
    void Reset() noexcept;

    /// In place.
    void Process(float* inOut, std::uint32_t frames) noexcept;

    /// in and out: of equal length, either the same memory or disjoint.
    void ProcessBlock(std::span<const float> in, std::span<float> out) noexcept;

private:
    std::uint32_t GetReadDistance() const noexcept;
    std::uint32_t StepBack(std::uint32_t position, std::uint32_t frames) const noexcept;
    void StartFade() noexcept;
    std::uint32_t ProcessFade(const float* in, float* out, std::uint32_t frames) noexcept;
    void ProcessSteady(const float* in, float* out, std::uint32_t frames) noexcept;
    void ProcessSteadyInPlace(float* inOut, std::uint32_t frames) noexcept;
    void ReadRing(std::uint32_t position, float* out, std::uint32_t frames) const noexcept;
    void WriteRing(const float* in, std::uint32_t frames) noexcept;

    std::vector<float> buffer;
    float fadePos = 0.0F;
    float fadeStep = defaultFadeStep;
    std::uint32_t pendingDelay = 0;
    std::uint16_t hasPending = 0;
    std::uint16_t fading = 0;
    std::uint32_t writePos = 0;
    std::uint32_t readPos = 0;
    std::uint32_t fadeFrom = 0;
    bool played = false;
};

} // namespace DSP
