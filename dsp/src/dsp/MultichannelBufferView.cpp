#include "dsp/MultichannelBufferView.h"

#include <atomic>
#include <exception>
#include <stdexcept>

namespace DSP {

namespace {

/// Stores to an object at the end of its life are dead to the compiler; the fence makes them happen.
void KeepLastStores() noexcept {
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

} // namespace

multichannel_buffer_detail::view_canary::~view_canary() {
    KeepLastStores();
}

template<class Sample>
MultichannelBufferView<Sample>::MultichannelBufferView(std::span<const Span> list, std::uint32_t frameCount)
    : frames(frameCount) {
    for (const Span& span : list) {
        if (numSpans == maxChannels) {
            throw std::length_error("get_next_capacity, allocator's max_size reached");
        }
        spans[numSpans++] = span;
        pointers[numPointers++] = span.length == 0 ? nullptr : span.pointer;
    }
}

template<class Sample>
MultichannelBufferView<Sample>::MultichannelBufferView(const MultichannelBufferView& other) noexcept
    : view_canary(other) {
    CopyFrom(other);
}

template<class Sample>
MultichannelBufferView<Sample>&
MultichannelBufferView<Sample>::operator=(const MultichannelBufferView& other) noexcept {
    if (this != &other) {
        CopyFrom(other);
    }
    return *this;
}

template<class Sample>
MultichannelBufferView<Sample>::~MultichannelBufferView() {
    for (std::size_t i = 0; i < maxChannels; ++i) {
        spans[i] = {nullptr, frames};
        pointers[i] = nullptr;
    }
    KeepLastStores();
}

template<class Sample>
void MultichannelBufferView<Sample>::CopyFrom(const MultichannelBufferView& other) noexcept {
    if (other.numSpans > maxChannels || other.numPointers > maxChannels) {
        std::terminate();
    }
    spans = other.spans;
    numSpans = other.numSpans;
    pointers = other.pointers;
    numPointers = other.numPointers;
    frames = other.frames;
}

template class MultichannelBufferView<float>;

} // namespace DSP
