#pragma once

#include "dsp/BlockAdapter.h"
#include "dsp/ElementImplState.h"

#include <vector>

namespace DSP::Testing {

// A queue that is silent and one that was just silenced sound the same: that a Reset passes one by, or does
// not, shows only in what was put there behind the adapter's back. Only an explicit instantiation may name
// what is private.

/// What the adapter has ready for the next call's main output, by channel.
std::vector<std::vector<float>>& readyOf(BlockAdapter& adapter);

/// The adapter of an element's first stream.
BlockAdapter& firstAdapterOf(ElementImpl& element);

template<auto Ready, auto State>
struct AdapterQueue {
    friend std::vector<std::vector<float>>& readyOf(BlockAdapter& adapter) { return adapter.*Ready; }
    friend BlockAdapter& firstAdapterOf(ElementImpl& element) { return *(element.*State)->adapters.front(); }
};
template struct AdapterQueue<&BlockAdapter::mainReady, &ElementImpl::state>;

} // namespace DSP::Testing
