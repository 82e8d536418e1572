#include "dsp/DataTailCirc.h"

#include "dsp/VectorKernels.h"

#include <algorithm>

namespace DSP {

void DataTailCirc::Init(
    std::uint32_t channelCount, std::uint32_t readOffset, std::uint32_t newCapacity,
    std::uint32_t newPadding) {
    DataTail::Init(channelCount, readOffset, newCapacity, newPadding);
    writeIndex = newCapacity == 0 ? 0 : newPadding;
}

void DataTailCirc::Grow(std::uint32_t frames) {
    Straighten();
    DataTail::Grow(frames);
    writeIndex = length == GetStorageFrames() ? 0 : length;
}

std::uint32_t DataTailCirc::GetStart() const noexcept {
    return writeIndex >= length ? writeIndex - length : writeIndex + GetStorageFrames() - length;
}

void DataTailCirc::Straighten() {
    const std::uint32_t start = GetStart();
    if (start == 0 || length == 0) {
        return;
    }
    for (std::vector<float>& channel : channels) {
        std::rotate(channel.begin(), channel.begin() + start, channel.end());
    }
    writeIndex = length == GetStorageFrames() ? 0 : length;
}

void DataTailCirc::Append(const float* const* in, std::uint32_t frames) {
    if (frames == 0) {
        return;
    }
    EnsureFree(frames);
    const std::uint32_t first = std::min(frames, GetStorageFrames() - writeIndex);
    for (std::uint32_t c = 0; c < numChannels; ++c) {
        Kernels::Copy(channels[c].data() + writeIndex, in[c], first);
        if (first < frames) {
            Kernels::Copy(channels[c].data(), in[c] + first, frames - first);
        }
    }
    Commit(frames);
}

void DataTailCirc::CopyOut(float* const* out, std::uint32_t frames) const {
    if (frames == 0) {
        return;
    }
    const std::uint32_t storage = GetStorageFrames();
    const std::uint32_t unwrapped = GetStart() + offset;
    const std::uint32_t position = unwrapped < storage ? unwrapped : unwrapped - storage;
    const std::uint32_t first = std::min(frames, storage - position);
    for (std::uint32_t c = 0; c < numChannels; ++c) {
        Kernels::Copy(out[c], channels[c].data() + position, first);
        if (first < frames) {
            Kernels::Copy(out[c] + first, channels[c].data(), frames - first);
        }
    }
}

void DataTailCirc::Consume(std::uint32_t frames) {
    length -= frames;
}

float* const* DataTailCirc::GetPointers() {
    Straighten();
    for (std::uint32_t c = 0; c < numChannels; ++c) {
        channelPointers[c] = channels[c].data() + std::min(offset, GetStorageFrames());
    }
    return channelPointers.data();
}

float* const* DataTailCirc::GetWritePointers(std::uint32_t frames) {
    EnsureFree(frames);
    if (frames > GetStorageFrames() - writeIndex) {
        if (length == 0) {
            writeIndex = 0;
        } else {
            Straighten();
        }
    }
    for (std::uint32_t c = 0; c < numChannels; ++c) {
        pointerScratch[c] = channels[c].data() + writeIndex;
    }
    return pointerScratch.data();
}

void DataTailCirc::Commit(std::uint32_t frames) {
    length += frames;
    writeIndex += frames;
    if (writeIndex >= GetStorageFrames()) {
        writeIndex -= GetStorageFrames();
    }
}

} // namespace DSP
