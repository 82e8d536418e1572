#include "dsp/DataTail.h"

#include "dsp/VectorKernels.h"

#include <algorithm>

namespace DSP {

DataTail::~DataTail() = default;

void DataTail::Init(
    std::uint32_t channelCount, std::uint32_t readOffset, std::uint32_t newCapacity,
    std::uint32_t newPadding) {
    numChannels = channelCount;
    offset = readOffset;
    capacity = newCapacity;
    padding = newPadding;
    channels.resize(numChannels);
    for (std::vector<float>& channel : channels) {
        channel.assign(std::size_t{capacity} + padding, 0.0F);
    }
    channelPointers.assign(numChannels, nullptr);
    pointerScratch.assign(numChannels, nullptr);
    length = padding;
}

void DataTail::Grow(std::uint32_t frames) {
    const std::uint32_t newCapacity = padding + frames < 1 ? std::max(frames, 1U) : frames;
    const std::vector<std::vector<float>> saved = std::move(channels);
    const std::uint32_t savedLength = std::min(length, newCapacity + padding);
    channels.clear();
    Init(numChannels, offset, newCapacity, padding);
    for (std::uint32_t c = 0; c < numChannels; ++c) {
        std::copy_n(saved[c].begin(), savedLength, channels[c].begin());
    }
    length = savedLength;
}

void DataTail::EnsureFree(std::uint32_t frames) {
    if (frames > GetFree()) {
        const std::uint32_t needed = length + frames;
        Grow(needed > padding ? needed - padding : 0);
    }
}

void DataTail::Append(const float* const* in, std::uint32_t frames) {
    if (frames == 0) {
        return;
    }
    EnsureFree(frames);
    for (std::uint32_t c = 0; c < numChannels; ++c) {
        Kernels::Copy(channels[c].data() + length, in[c], frames);
    }
    length += frames;
}

void DataTail::CopyOut(float* const* out, std::uint32_t frames) const {
    if (frames == 0) {
        return;
    }
    for (std::uint32_t c = 0; c < numChannels; ++c) {
        Kernels::Copy(out[c], channels[c].data() + offset, frames);
    }
}

void DataTail::Consume(std::uint32_t frames) {
    const std::uint32_t rest = length - frames;
    if (frames != 0 && rest != 0) {
        for (std::vector<float>& channel : channels) {
            Kernels::Move(channel.data(), channel.data() + frames, rest);
        }
    }
    length = rest;
}

float* const* DataTail::GetPointers() {
    for (std::uint32_t c = 0; c < numChannels; ++c) {
        channelPointers[c] = channels[c].data() + std::min(offset, GetStorageFrames());
    }
    return channelPointers.data();
}

float* const* DataTail::GetWritePointers(std::uint32_t frames) {
    EnsureFree(frames);
    for (std::uint32_t c = 0; c < numChannels; ++c) {
        pointerScratch[c] = channels[c].data() + length;
    }
    return pointerScratch.data();
}

void DataTail::Commit(std::uint32_t frames) {
    length += frames;
}

} // namespace DSP
