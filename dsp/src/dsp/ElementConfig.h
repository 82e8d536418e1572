#pragma once

#include <cstdint>

namespace DSP {

/// What an element is made with, beyond name, sample rate and layout.
struct ElementConfig {
    /// Seconds, length of the crossfade between the processed and the dry signal.
    float fadeTime = 0.01F;
    /// Input channel sets beside the main one, each of the element's channel count.
    std::uint32_t numSidechains = 0;
    /// Output channel sets beside the main one.
    std::uint32_t numAuxOutputs = 0;
    /// Independent audio streams.
    std::uint32_t numStreams = 1;
    /// A mark for the owner of the element. With an ElementDispatcher it shows only once the parameters are
    /// registered.
    bool flag = false;
};

} // namespace DSP
