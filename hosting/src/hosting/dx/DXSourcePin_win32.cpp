#include "hosting/dx/DXSourcePin_win32.h"

#include "hosting/dx/DXBaseFilter_win32.h"
#include "hosting/dx/MediaTypeEnumerator_win32.h"

namespace Tarvik {

DXSourcePin::DXSourcePin(DXBaseFilter* owningFilter) noexcept
    : CUnknown(name, nullptr), filter(owningFilter) {}

HRESULT STDMETHODCALLTYPE DXSourcePin::NonDelegatingQueryInterface(REFIID iid, void** out) {
    if (IsEqualIID(iid, IID_IPin)) {
        return GetInterface(static_cast<IPin*>(this), out);
    }
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

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

HRESULT STDMETHODCALLTYPE DXSourcePin::Disconnect() {
    return connection.Disconnect();
}

HRESULT STDMETHODCALLTYPE DXSourcePin::ConnectedTo(IPin** out) {
    return connection.GivePeer(out);
}

HRESULT STDMETHODCALLTYPE DXSourcePin::ConnectionMediaType(AM_MEDIA_TYPE* out) {
    return connection.GiveMediaType(out);
}

HRESULT STDMETHODCALLTYPE DXSourcePin::QueryPinInfo(PIN_INFO* out) {
    return givePinInfo(filter, PINDIR_OUTPUT, name, out);
}

HRESULT STDMETHODCALLTYPE DXSourcePin::QueryDirection(PIN_DIRECTION* out) {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = PINDIR_OUTPUT;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXSourcePin::QueryId(LPWSTR* out) {
    return givePinId(name, out);
}

HRESULT STDMETHODCALLTYPE DXSourcePin::QueryAccept(const AM_MEDIA_TYPE* type) {
    return DXMediaType::Accept(type);
}

HRESULT STDMETHODCALLTYPE DXSourcePin::EnumMediaTypes(IEnumMediaTypes** out) {
    if (filter == nullptr) {
        return E_UNEXPECTED;
    }
    return giveNew<MediaTypeEnumerator>(out, filter->GetSampleRate(), filter->GetChannelLayout());
}

HRESULT STDMETHODCALLTYPE DXSourcePin::QueryInternalConnections(IPin**, ULONG*) {
    return E_NOTIMPL;
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

HRESULT STDMETHODCALLTYPE DXSourcePin::NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) {
    return S_OK;
}

} // namespace Tarvik
