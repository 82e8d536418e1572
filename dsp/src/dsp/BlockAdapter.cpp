#include "dsp/BlockAdapter.h"

#include <algorithm>

namespace DSP {

namespace {

checked_value<std::uint32_t> shifted(const checked_value<std::uint32_t>& position, std::uint32_t frames) {
    return position.valid ? checked_value<std::uint32_t>(position.value + frames) : position;
}

} // namespace

BlockAdapter::BlockAdapter(std::uint32_t numChannels, std::uint32_t numInputs, std::uint32_t numOutputs)
    : numMain(numChannels), input(numInputs), mainReady(numChannels), mainFilled(numChannels),
      auxReady(numOutputs - numChannels), auxFilled(numOutputs - numChannels) {}

void BlockAdapter::SetBlockSize(std::uint32_t blockFrames, std::uint32_t maxCallFrames) {
    if (blockFrames == blockSize && maxCallFrames == maxCall) {
        return;
    }
    blockSize = blockFrames;
    maxCall = maxCallFrames;
    Resize(blockSize == 0 ? 0 : blockSize - 1 + maxCall);
    atReset = false;
    Reset();
}

void BlockAdapter::Resize(std::uint32_t capacity) {
    for (Channels* channels : {&input, &mainReady, &mainFilled, &auxReady, &auxFilled}) {
        for (std::vector<float>& channel : *channels) {
            channel.resize(capacity);
        }
    }
}

void BlockAdapter::Reset() {
    if (atReset) {
        return;
    }
    for (Channels* channels : {&input, &mainReady, &mainFilled, &auxReady, &auxFilled}) {
        for (std::vector<float>& channel : *channels) {
            std::fill(channel.begin(), channel.end(), 0.0F);
        }
    }
    queued = 0;
    filled = 0;
    readIndex = 0;
    // The first internal block may be complete only with the last of n frames given one by one: the n - 1
    // calls before it are served from here.
    ready = blockSize == 0 ? 0 : blockSize - 1;
    atReset = true;
}

void BlockAdapter::Give(
    std::uint32_t numFrames, float* const* inputs, float* const* outputs, const BlockPositions& positions) {
    callFrames = numFrames;
    callInputs = inputs;
    callOutputs = outputs;
    callPositions = positions;
    passed = false;
    atReset = false;
    if (blockSize == 0) {
        return;
    }
    callPositions = {shifted(positions.start, queued), shifted(positions.end, queued)};
    if (numFrames > maxCall) {
        maxCall = numFrames;
        Resize(blockSize - 1 + maxCall);
    }
    for (std::size_t channel = 0; channel < input.size(); ++channel) {
        float* const destination = input[channel].data() + queued;
        if (inputs[channel]) {
            std::copy_n(inputs[channel], numFrames, destination);
        } else {
            std::fill_n(destination, numFrames, 0.0F);
        }
    }
    queued += numFrames;
}

checked_value<std::uint32_t> BlockAdapter::Inside(const checked_value<std::uint32_t>& position) const {
    if (!position.valid || position.value < readIndex || position.value - readIndex >= blockSize) {
        return {};
    }
    return position.value - readIndex;
}

bool BlockAdapter::Next(Block& block, float** inputs, float** outputs) {
    if (blockSize == 0) {
        if (passed || numMain == 0) {
            return false;
        }
        passed = true;
        block = {callFrames, callPositions};
        std::copy_n(callInputs, input.size(), inputs);
        std::copy_n(callOutputs, numMain + auxReady.size(), outputs);
        return true;
    }
    if (numMain == 0 || queued - readIndex < blockSize) {
        return false;
    }
    block = {blockSize, {Inside(callPositions.start), Inside(callPositions.end)}};
    for (std::size_t channel = 0; channel < input.size(); ++channel) {
        inputs[channel] = input[channel].data() + readIndex;
    }
    for (std::size_t channel = 0; channel < numMain; ++channel) {
        outputs[channel] = mainFilled[channel].data() + filled;
        std::copy_n(inputs[channel], blockSize, outputs[channel]);
    }
    for (std::size_t channel = 0; channel < auxFilled.size(); ++channel) {
        outputs[numMain + channel] = auxFilled[channel].data() + filled;
        std::fill_n(outputs[numMain + channel], blockSize, 0.0F);
    }
    readIndex += blockSize;
    filled += blockSize;
    return true;
}

void BlockAdapter::HandOut(
    Channels& readyChannels, Channels& filledChannels, float* const* destinations, bool copy) {
    const std::uint32_t fromReady = std::min(callFrames, ready);
    const std::uint32_t fromFilled = callFrames - fromReady;
    for (std::size_t channel = 0; channel < readyChannels.size(); ++channel) {
        float* const first = readyChannels[channel].data();
        const float* const second = filledChannels[channel].data();
        if (float* const destination = destinations[channel]; destination && copy) {
            std::copy_n(first, fromReady, destination);
            std::copy_n(second, fromFilled, destination + fromReady);
        }
        float* const rest = std::copy(first + fromReady, first + ready, first);
        std::copy_n(second + fromFilled, filled - fromFilled, rest);
    }
}

void BlockAdapter::Hand(bool copyMain) {
    if (blockSize == 0 || numMain == 0) {
        return;
    }
    // queued - readIndex + ready + filled is blockSize - 1 + callFrames here, and less than blockSize frames
    // are left in the input: at least callFrames stand ready.
    HandOut(mainReady, mainFilled, callOutputs, copyMain);
    HandOut(auxReady, auxFilled, callOutputs + numMain, true);
    ready = ready + filled - callFrames;
    filled = 0;
    for (std::vector<float>& channel : input) {
        std::copy(channel.begin() + readIndex, channel.begin() + queued, channel.begin());
    }
    queued -= readIndex;
    readIndex = 0;
}

} // namespace DSP
