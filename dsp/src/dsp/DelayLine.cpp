#include "dsp/DelayLine.h"

#include "dsp/VectorKernels.h"

#include <algorithm>
#include <array>

namespace DSP {

namespace {

void CopyIfAny(float* destination, const float* source, std::uint32_t frames) noexcept {
    if (frames != 0) {
        Kernels::Copy(destination, source, frames);
    }
}

} // namespace

DelayLine::DelayLine(std::uint32_t capacity) : buffer(std::max(capacity, 1U), 0.0F) {}

std::uint32_t DelayLine::StepBack(std::uint32_t position, std::uint32_t frames) const noexcept {
    return position >= frames ? position - frames : position + GetCapacity() - frames;
}

std::uint32_t DelayLine::GetReadDistance() const noexcept {
    return StepBack(writePos, readPos);
}

std::uint32_t DelayLine::GetDelay() const noexcept {
    return hasPending != 0 ? pendingDelay : GetReadDistance();
}

void DelayLine::SetDelay(std::uint32_t frames) noexcept {
    if (frames == GetDelay() || frames >= GetCapacity()) {
        return;
    }
    if (fading == 0 && !played) {
        readPos = StepBack(writePos, frames);
        return;
    }
    pendingDelay = frames;
    hasPending = 1;
}

void DelayLine::Reset() noexcept {
    const std::uint32_t delay = GetDelay();
    Kernels::Zero(buffer.data(), buffer.size());
    hasPending = 0;
    fading = 0;
    fadePos = 0.0F;
    readPos = StepBack(writePos, delay);
    played = false;
}

void DelayLine::Process(float* inOut, std::uint32_t frames) noexcept {
    ProcessBlock({inOut, frames}, {inOut, frames});
}

void DelayLine::ProcessBlock(std::span<const float> in, std::span<float> out) noexcept {
    std::uint32_t done = 0;
    const std::uint32_t frames = static_cast<std::uint32_t>(in.size());
    if (frames == 0) {
        return;
    }
    played = true;
    while (done < frames && (hasPending != 0 || fading != 0)) {
        if (fading == 0) {
            StartFade();
        }
        done += ProcessFade(in.data() + done, out.data() + done, frames - done);
    }
    if (done == frames) {
        return;
    }
    if (in.data() == out.data()) {
        ProcessSteadyInPlace(out.data() + done, frames - done);
    } else {
        ProcessSteady(in.data() + done, out.data() + done, frames - done);
    }
}

void DelayLine::StartFade() noexcept {
    fadeFrom = readPos;
    readPos = StepBack(writePos, pendingDelay);
    hasPending = 0;
    fadePos = fadeStep;
    fading = 1;
}

/// Runs to the end of the fade or of the block; answers the frames done.
std::uint32_t DelayLine::ProcessFade(const float* in, float* out, std::uint32_t frames) noexcept {
    const std::uint32_t size = GetCapacity();
    for (std::uint32_t i = 0; i < frames; ++i) {
        buffer[writePos] = in[i];
        out[i] = fadePos * buffer[readPos] + (1.0F - fadePos) * buffer[fadeFrom];
        writePos = writePos + 1 == size ? 0 : writePos + 1;
        readPos = readPos + 1 == size ? 0 : readPos + 1;
        fadeFrom = fadeFrom + 1 == size ? 0 : fadeFrom + 1;
        if (fadePos >= 1.0F) {
            fading = 0;
            return i + 1;
        }
        fadePos += fadeStep;
    }
    return frames;
}

void DelayLine::ReadRing(std::uint32_t position, float* out, std::uint32_t frames) const noexcept {
    const std::uint32_t first = std::min(frames, GetCapacity() - position);
    CopyIfAny(out, buffer.data() + position, first);
    CopyIfAny(out + first, buffer.data(), frames - first);
}

/// Writes what the ring can hold of a block, its end, and moves all positions past the block.
void DelayLine::WriteRing(const float* in, std::uint32_t frames) noexcept {
    const std::uint32_t size = GetCapacity();
    const std::uint32_t delay = GetReadDistance();
    const std::uint32_t kept = std::min(frames, size);
    const std::uint32_t start = (writePos + (frames - kept)) % size;
    const std::uint32_t first = std::min(kept, size - start);
    CopyIfAny(buffer.data() + start, in + (frames - kept), first);
    CopyIfAny(buffer.data(), in + (frames - kept) + first, kept - first);
    writePos = (start + kept) % size;
    readPos = StepBack(writePos, delay);
}

// A steady delay moves whole runs: the first `delay` outputs are the ring's, taken before the block
// overwrites them, and all others lie `delay` samples back in the block itself.
void DelayLine::ProcessSteady(const float* in, float* out, std::uint32_t frames) noexcept {
    const std::uint32_t fromRing = std::min(GetReadDistance(), frames);
    ReadRing(readPos, out, fromRing);
    WriteRing(in, frames);
    CopyIfAny(out + fromRing, in, frames - fromRing);
}

void DelayLine::ProcessSteadyInPlace(float* inOut, std::uint32_t frames) noexcept {
    const std::uint32_t delay = GetReadDistance();
    if (delay == 0) {
        WriteRing(inOut, frames);
        return;
    }
    std::array<float, 512> held;
    while (frames != 0) {
        const std::uint32_t block = std::min(frames, static_cast<std::uint32_t>(held.size()));
        const std::uint32_t fromRing = std::min(delay, block);
        ReadRing(readPos, held.data(), fromRing);
        WriteRing(inOut, block);
        if (fromRing < block) {
            Kernels::Move(inOut + fromRing, inOut, block - fromRing);
        }
        Kernels::Copy(inOut, held.data(), fromRing);
        inOut += block;
        frames -= block;
    }
}

} // namespace DSP
