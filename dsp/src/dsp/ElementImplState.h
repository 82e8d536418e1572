#pragma once

#include "dsp/BlockAdapter.h"
#include "dsp/BypassCrossfader.h"
#include "dsp/CommandQueue.h"
#include "dsp/DelayLine.h"
#include "dsp/ElementImpl.h"

#include <memory>
#include <vector>

namespace DSP {

/// The private record of an element, shared by the sources of ElementImpl alone.
struct ElementImpl::State {
    /// Commands on their way in each direction before a queue grows, or drops.
    static constexpr std::size_t queuedCommands = 1020;

    State(ElementHost* elementHost, String elementName, const ElementConfig& config)
        : host(elementHost), name(std::move(elementName)), numSidechains(config.numSidechains),
          numAuxOutputs(config.numAuxOutputs), numStreams(config.numStreams), flag(config.flag),
          fadeTime(config.fadeTime) {}

    std::size_t NumInputs() const { return (std::size_t{numSidechains} + 1) * numChannels; }
    std::size_t NumOutputs() const { return (std::size_t{numAuxOutputs} + 1) * numChannels; }
    std::uint32_t FadeLength() const;

    ElementHost* host;
    String name;
    checked_value<String> displayName;
    float sampleRate = 0.0F;
    std::uint32_t channelLayout = 0;
    std::uint32_t numChannels = 0;
    std::uint32_t numSidechains;
    std::uint32_t numAuxOutputs;
    std::uint32_t numStreams;
    bool flag;

    std::vector<std::unique_ptr<BlockAdapter>> adapters;
    /// What a call is given: the main channels and the sidechains, the main channels and the outputs.
    std::vector<float*> sidechainPointers;
    std::vector<float*> auxPointers;
    /// What an internal block works on.
    std::vector<float*> inputPointers;
    std::vector<float*> outputPointers;
    float** currentIn = nullptr;
    float** currentAux = nullptr;

    std::uint32_t paramBatchDepth = 0;
    bool resetDone = false;
    bool commandsFrozen = false;
    std::uint32_t userTag = 0;

    BlockPositions callPositions;
    BlockPositions blockPositions;
    std::uint32_t samplesDone = 0;
    TransportRecord transport;

    std::vector<Element*> children;
    /// The same children, those of them that have a mailbox to drain.
    std::vector<ElementImpl*> drainedChildren;

    CommandQueue commandsToAudio{queuedCommands};
    CommandQueue commandsFromAudio{queuedCommands};

    bool dryEnabled = false;
    /// By stream, then by channel.
    std::vector<std::vector<DelayLine>> dryDelay;
    std::unique_ptr<BypassCrossfader> bypass;
    float fadeTime;
    bool lastEnabled = true;
    bool dryLocked = false;
};

} // namespace DSP
