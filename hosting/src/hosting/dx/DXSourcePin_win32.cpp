#include "hosting/dx/DXSourcePin_win32.h"

#include "hosting/dx/DXBaseFilter_win32.h"
#include "hosting/dx/MediaTypeEnumerator_win32.h"

namespace Tarvik {

DXSourcePin::DXSourcePin(DXBaseFilter* owningFilter) noexcept
    : DXBasePin(name, PINDIR_OUTPUT, owningFilter) {}

HRESULT STDMETHODCALLTYPE DXSourcePin::Connect(IPin* receiver, const AM_MEDIA_TYPE* type) {
    HRESULT answer = connection.CheckConnect(receiver, type, PINDIR_INPUT);
    if (FAILED(answer)) {
        return answer;
    }
    // The graph's own call is around this one, and must not be thrown through.
    answer = guardedCall([&] { return receiver->ReceiveConnection(this, type); });
    if (FAILED(answer)) {
        return answer;
    }
    answer = connection.Store(receiver, *type);
    if (FAILED(answer)) {
        // It has taken a connection that there is none of.
        guardedCall([&] { return receiver->Disconnect(); });
    }
    return answer;
}

HRESULT STDMETHODCALLTYPE DXSourcePin::ReceiveConnection(IPin*, const AM_MEDIA_TYPE*) {
    return E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE DXSourcePin::EnumMediaTypes(IEnumMediaTypes** out) {
    const DXBaseFilter* owning = GetFilter();
    if (owning == nullptr) {
        return E_UNEXPECTED;
    }
    return giveNew<MediaTypeEnumerator>(out, owning->GetSampleRate(), owning->GetChannelLayout());
}

HRESULT STDMETHODCALLTYPE DXSourcePin::EndOfStream() {
    return E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE DXSourcePin::BeginFlush() {
    return E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE DXSourcePin::EndFlush() {
    return E_UNEXPECTED;
}

} // namespace Tarvik
