#include "dsp/AudioProcessor.h"

namespace DSP {

AudioProcessor::~AudioProcessor() = default;

void AudioProcessor::Init(std::uint32_t inputs, std::uint32_t outputs, std::uint32_t block) {
    numInputs = inputs;
    numOutputs = outputs;
    largestBlock = block;
}

void AudioProcessor::Resize(std::uint32_t block) {
    if (block <= largestBlock) {
        return;
    }
    largestBlock = block;
    DoResize(block);
}

void AudioProcessor::DoResize(std::uint32_t) {}

void AudioProcessor::SetMaxBlock(std::uint32_t block) {
    Init(numInputs, numOutputs, block);
}

} // namespace DSP
