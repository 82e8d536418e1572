// What the graph does with audio.

#include "hosting/dx/DXFilterGraph_win32.h"
#include "hosting/dx/Interleave.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace Tarvik {

void DXFilterGraph::Process(std::uint32_t frames, std::uint32_t channels, float** buffers) noexcept {
    const std::uint64_t floats = std::uint64_t{frames} * channels;
    constexpr std::uint64_t mostFloats = std::numeric_limits<long>::max() / sizeof(float);
    if (floats == 0 || floats > mostFloats || !sample || !memInputPin ||
        FAILED(sample->SetActualDataLength(static_cast<long>(floats * sizeof(float))))) {
        return;
    }
    sample->SetDiscontinuity(FALSE);
    sample->SetPreroll(FALSE);
    sample->SetSyncPoint(TRUE);
    BYTE* bytes = nullptr;
    if (FAILED(sample->GetPointer(&bytes)) || bytes == nullptr) {
        return;
    }
    // The platform aligns its blocks for anything.
    interleave({buffers, channels}, frames, reinterpret_cast<float*>(bytes));

    DXSinkPin& sink = *sinkFilter->GetPin();
    if (!sink.Clear()) {
        return;
    }
    try {
        // Its answer says nothing that the sink does not know better.
        callForeign([&] { return memInputPin->Receive(sample.Get()); });
    } catch (...) {
        return;
    }

    const DXSinkPin::Received received(sink);
    if (!received || received.Count() > floats) {
        return;
    }
    const auto delivered = static_cast<std::uint32_t>(received.Count() / channels);
    lastDeliveredFrames.Set(delivered);
    const std::uint32_t silent = frames - delivered;
    // The sample is no longer than the sink's buffer: of as many floats as went out, none is left out.
    deinterleave(received.Floats().data(), delivered, {buffers, channels}, silent);
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
        std::fill_n(buffers[channel], silent, 0.0f);
    }
}

void DXFilterGraph::Restart() noexcept {
    if (!mediaControl) {
        return;
    }
    // The next block shows what became of it.
    guardedCall([&] { return mediaControl->Stop(); });
    guardedCall([&] { return mediaControl->Run(); });
    lastDeliveredFrames.Clear();
}

} // namespace Tarvik
