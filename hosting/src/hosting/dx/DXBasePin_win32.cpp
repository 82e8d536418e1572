#include "hosting/dx/DXBasePin_win32.h"

#include "hosting/dx/DXBaseFilter_win32.h"

namespace Tarvik {

DXBasePin::DXBasePin(const char* name, PIN_DIRECTION pinDirection, DXBaseFilter* owningFilter) noexcept
    : CUnknown(name, nullptr), pinName(name), direction(pinDirection), filter(owningFilter) {}

HRESULT STDMETHODCALLTYPE DXBasePin::NonDelegatingQueryInterface(REFIID iid, void** out) {
    if (IsEqualIID(iid, IID_IPin)) {
        return GetInterface(static_cast<IPin*>(this), out);
    }
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT STDMETHODCALLTYPE DXBasePin::Disconnect() {
    return connection.Disconnect();
}

HRESULT STDMETHODCALLTYPE DXBasePin::ConnectedTo(IPin** out) {
    return connection.GivePeer(out);
}

HRESULT STDMETHODCALLTYPE DXBasePin::ConnectionMediaType(AM_MEDIA_TYPE* out) {
    return connection.GiveMediaType(out);
}

HRESULT STDMETHODCALLTYPE DXBasePin::QueryPinInfo(PIN_INFO* out) {
    return givePinInfo(filter, direction, pinName, out);
}

HRESULT STDMETHODCALLTYPE DXBasePin::QueryDirection(PIN_DIRECTION* out) {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = direction;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXBasePin::QueryId(LPWSTR* out) {
    return givePinId(pinName, out);
}

HRESULT STDMETHODCALLTYPE DXBasePin::QueryAccept(const AM_MEDIA_TYPE* type) {
    return DXMediaType::Accept(type);
}

HRESULT STDMETHODCALLTYPE DXBasePin::QueryInternalConnections(IPin**, ULONG*) {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE DXBasePin::NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) {
    return S_OK;
}

} // namespace Tarvik
