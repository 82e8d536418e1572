#include "hosting/dx/DXSinkPin_win32.h"

#include "hosting/dx/DXBaseFilter_win32.h"
#include "hosting/dx/MediaTypeEnumerator_win32.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace Tarvik {

DXSinkPin::DXSinkPin(DXBaseFilter* owningFilter, std::uint32_t bufferedFloats)
    : DXBasePin(name, PINDIR_INPUT, owningFilter), sampleRate(owningFilter->GetSampleRate()),
      channelLayout(owningFilter->GetChannelLayout()), buffer(bufferedFloats) {}

DXSinkPin::~DXSinkPin() = default;

bool DXSinkPin::Clear() noexcept {
    if (!TakeBuffer()) {
        return false;
    }
    keptFloats = 0;
    receivedFloats = 0;
    GiveBufferBack();
    return true;
}

DXSinkPin::Received::Received(DXSinkPin& pin) noexcept : from(pin), held(pin.TakeBuffer()) {}

DXSinkPin::Received::~Received() {
    if (held) {
        from.GiveBufferBack();
    }
}

std::span<const float> DXSinkPin::Received::Floats() const noexcept {
    return held ? std::span<const float>(from.buffer.data(), from.keptFloats) : std::span<const float>();
}

HRESULT STDMETHODCALLTYPE DXSinkPin::NonDelegatingQueryInterface(REFIID iid, void** out) {
    if (IsEqualIID(iid, IID_IMemInputPin)) {
        return GetInterface(static_cast<IMemInputPin*>(this), out);
    }
    return DXBasePin::NonDelegatingQueryInterface(iid, out);
}

HRESULT STDMETHODCALLTYPE DXSinkPin::Connect(IPin* connector, const AM_MEDIA_TYPE* type) {
    const HRESULT answer = connection.CheckConnect(connector, type, PINDIR_OUTPUT);
    return SUCCEEDED(answer) ? connection.Store(connector, *type) : answer;
}

HRESULT STDMETHODCALLTYPE DXSinkPin::ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* type) {
    if (connector == nullptr || type == nullptr) {
        return E_POINTER;
    }
    if (connection.IsConnected()) {
        return VFW_E_ALREADY_CONNECTED;
    }
    if (QueryAccept(type) != S_OK) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    return connection.Store(connector, *type);
}

HRESULT STDMETHODCALLTYPE DXSinkPin::EnumMediaTypes(IEnumMediaTypes** out) {
    return giveNew<MediaTypeEnumerator>(out, sampleRate, channelLayout);
}

HRESULT STDMETHODCALLTYPE DXSinkPin::EndOfStream() {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXSinkPin::BeginFlush() {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXSinkPin::EndFlush() {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXSinkPin::GetAllocator(IMemAllocator** out) {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = nullptr;
    if (!allocator) {
        const HRESULT answer = createInstance(CLSID_MemoryAllocator, IID_IMemAllocator, allocator);
        if (FAILED(answer)) {
            return answer;
        }
    }
    *out = allocator.Give();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXSinkPin::NotifyAllocator(IMemAllocator* agreed, BOOL) {
    if (agreed == nullptr) {
        return E_POINTER;
    }
    allocator = ComPointer<IMemAllocator>::Share(agreed);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXSinkPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES*) {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE DXSinkPin::Receive(IMediaSample* sample) {
    if (sample == nullptr) {
        return E_POINTER;
    }
    BYTE* bytes = nullptr;
    if (FAILED(sample->GetPointer(&bytes)) || bytes == nullptr) {
        return E_FAIL;
    }
    long length = sample->GetActualDataLength();
    // A sample that says that it holds more than it has room for would have us read beyond it. One that does
    // not tell how much room it has is believed.
    if (const long size = sample->GetSize(); size > 0) {
        length = std::min(length, size);
    }
    if (length >= static_cast<long>(sizeof(float))) {
        Append(bytes, static_cast<std::uint32_t>(static_cast<std::size_t>(length) / sizeof(float)));
    }
    return S_OK;
}

void DXSinkPin::Append(const BYTE* bytes, std::uint32_t floats) noexcept {
    if (!TakeBuffer()) {
        return;
    }
    // Behind what was left out nothing is kept: it would stand in the wrong place.
    if (keptFloats == receivedFloats && MakeRoom(keptFloats + floats)) {
        std::memcpy(buffer.data() + keptFloats, bytes, floats * sizeof(float));
        keptFloats += floats;
    }
    receivedFloats += std::min(floats, std::numeric_limits<std::uint32_t>::max() - receivedFloats);
    GiveBufferBack();
}

bool DXSinkPin::MakeRoom(std::size_t floats) noexcept {
    if (floats <= buffer.size()) {
        return true;
    }
    if (floats > mostKeptFloats) {
        return false;
    }
    try {
        buffer.resize(floats);
    } catch (...) {
        return false;
    }
    return true;
}

HRESULT STDMETHODCALLTYPE DXSinkPin::ReceiveMultiple(IMediaSample** samples, long count, long* processed) {
    if (samples == nullptr || processed == nullptr) {
        return E_POINTER;
    }
    if (count < 0) {
        return E_INVALIDARG;
    }
    HRESULT answer = S_OK;
    for (*processed = 0; *processed < count; ++*processed) {
        answer = Receive(samples[*processed]);
        if (answer != S_OK) {
            break;
        }
    }
    return answer;
}

HRESULT STDMETHODCALLTYPE DXSinkPin::ReceiveCanBlock() {
    return S_FALSE;
}

} // namespace Tarvik
