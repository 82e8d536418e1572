#include "hosting/dx/DXPinConnection_win32.h"

#include "hosting/dx/WideName_win32.h"

#include <cstring>

namespace Tarvik {

HRESULT
DXPinConnection::CheckConnect(IPin* other, const AM_MEDIA_TYPE* offered, PIN_DIRECTION wanted) const {
    if (other == nullptr || offered == nullptr) {
        return E_POINTER;
    }
    if (IsConnected()) {
        return VFW_E_ALREADY_CONNECTED;
    }
    if (FAILED(DXMediaType::Accept(offered))) {
        return VFW_E_NO_ACCEPTABLE_TYPES;
    }
    PIN_DIRECTION direction{};
    return SUCCEEDED(guardedCall([&] { return other->QueryDirection(&direction); })) && direction == wanted
               ? S_OK
               : E_FAIL;
}

HRESULT DXPinConnection::Store(IPin* other, const AM_MEDIA_TYPE& agreed) {
    const HRESULT answer = mediaType.CopyFrom(agreed);
    if (SUCCEEDED(answer)) {
        connectedTo = ComPointer<IPin>::Share(other);
    }
    return answer;
}

HRESULT DXPinConnection::Disconnect() {
    if (!IsConnected()) {
        return S_FALSE;
    }
    // Cleared first: the peer may ask while it is let go.
    const ComPointer<IPin> going = std::move(connectedTo);
    mediaType.Clear();
    return S_OK;
}

HRESULT DXPinConnection::GivePeer(IPin** out) const {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = connectedTo.Give();
    return IsConnected() ? S_OK : VFW_E_NOT_CONNECTED;
}

HRESULT DXPinConnection::GiveMediaType(AM_MEDIA_TYPE* out) const {
    if (out == nullptr) {
        return E_POINTER;
    }
    if (!IsConnected()) {
        DXMediaType::Free(*out);
        return VFW_E_NOT_CONNECTED;
    }
    return mediaType.CopyTo(out);
}

HRESULT givePinInfo(IBaseFilter* filter, PIN_DIRECTION direction, const char* name, PIN_INFO* out) noexcept {
    if (out == nullptr) {
        return E_POINTER;
    }
    try {
        copyWideName(name, out->achName);
    } catch (...) {
        return E_OUTOFMEMORY;
    }
    out->dir = direction;
    out->pFilter = ComPointer<IBaseFilter>::Share(filter).Detach();
    return S_OK;
}

HRESULT givePinId(const char* name, LPWSTR* out) noexcept {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = nullptr;
    try {
        const std::wstring wide = String(name).toNativeWide();
        const std::size_t bytes = (wide.size() + 1) * sizeof(WCHAR);
        auto* block = static_cast<LPWSTR>(CoTaskMemAlloc(bytes));
        if (block == nullptr) {
            return E_OUTOFMEMORY;
        }
        std::memcpy(block, wide.c_str(), bytes);
        *out = block;
    } catch (...) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

} // namespace Tarvik
