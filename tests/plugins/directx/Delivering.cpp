#include "directx/Delivering.h"

#include "directx/TestFilter.h"

#include <algorithm>

namespace TestFilters {

void Delivering::Begin() {
    if (filter.GetBehaviour().delivery == Delivery::flood && !thread.joinable()) {
        flooding = true;
        thread = std::thread([this] { Flood(); });
    }
}

void Delivering::End() {
    flooding = false;
    if (thread.joinable()) {
        thread.join();
    }
    heldBack.clear();
}

HRESULT Delivering::Receive(IMediaSample* sample) {
    if (filter.Output() == nullptr || filter.Input().Channels() == 0) {
        return VFW_E_NOT_CONNECTED;
    }
    BYTE* bytes = nullptr;
    const HRESULT answer = sample->GetPointer(&bytes);
    if (FAILED(answer)) {
        return answer;
    }
    const auto* from = reinterpret_cast<const float*>(bytes);
    const auto floats = static_cast<std::size_t>(sample->GetActualDataLength()) / sizeof(float);
    switch (filter.GetBehaviour().delivery) {
    case Delivery::inPlace:
        return InPlace(sample);
    case Delivery::copied:
        return Copied(from, floats);
    case Delivery::late:
        return Late(from, floats);
    case Delivery::more:
        return Copied(from, floats, filter.Input().Channels());
    case Delivery::nothing:
    case Delivery::flood:
        return S_OK;
    case Delivery::inTwoPieces:
        return InTwoPieces(from, floats);
    case Delivery::ownThread: {
        HRESULT result = E_UNEXPECTED;
        std::thread([&] { result = Copied(from, floats); }).join();
        return result;
    }
    }
    return E_UNEXPECTED;
}

HRESULT Delivering::InPlace(IMediaSample* sample) {
    BYTE* bytes = nullptr;
    const HRESULT answer = sample->GetPointer(&bytes);
    if (FAILED(answer)) {
        return answer;
    }
    auto* at = reinterpret_cast<float*>(bytes);
    const float gain = filter.Gain();
    const auto floats = static_cast<std::size_t>(sample->GetActualDataLength()) / sizeof(float);
    std::for_each_n(at, floats, [gain](float& value) { value *= gain; });
    return filter.Output()->Deliver(sample);
}

HRESULT Delivering::Copied(const float* from, std::size_t floats, std::size_t further) {
    IMediaSample* sample = nullptr;
    HRESULT answer = filter.Output()->GetBuffer(&sample);
    if (FAILED(answer)) {
        return answer;
    }
    BYTE* bytes = nullptr;
    answer = sample->SetActualDataLength(static_cast<long>((floats + further) * sizeof(float)));
    if (SUCCEEDED(answer)) {
        answer = sample->GetPointer(&bytes);
    }
    if (SUCCEEDED(answer)) {
        const float gain = filter.Gain();
        auto* to = reinterpret_cast<float*>(bytes);
        std::transform(from, from + floats, to, [gain](float value) { return value * gain; });
        std::fill_n(to + floats, further, 0.0f);
        answer = filter.Output()->Deliver(sample);
    }
    sample->Release();
    return answer;
}

HRESULT Delivering::Late(const float* from, std::size_t floats) {
    heldBack.insert(heldBack.end(), from, from + floats);
    const std::size_t keep = std::size_t{filter.GetBehaviour().delayFrames} * filter.Input().Channels();
    if (heldBack.size() <= keep) {
        return S_OK;
    }
    const std::size_t go = heldBack.size() - keep;
    const HRESULT answer = Copied(heldBack.data(), go);
    heldBack.erase(heldBack.begin(), heldBack.begin() + static_cast<std::ptrdiff_t>(go));
    return answer;
}

HRESULT Delivering::InTwoPieces(const float* from, std::size_t floats) {
    const std::size_t channels = filter.Input().Channels();
    const std::size_t first = floats / channels / 3 * channels;
    const HRESULT answer = Copied(from, first);
    return SUCCEEDED(answer) ? Copied(from + first, floats - first) : answer;
}

void Delivering::Flood() {
    const std::vector<float> frame(filter.Input().Channels(), 1.0f);
    while (flooding) {
        // Whether anybody takes it is of no matter.
        static_cast<void>(Copied(frame.data(), frame.size()));
    }
}

} // namespace TestFilters
