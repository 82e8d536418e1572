#pragma once

#include "hosting/dx/ComPointer_win32.h"
#include "hosting/dx/DXMediaType_win32.h"

namespace Tarvik {

/// Whom a pin is connected to and what travels there: what pins of both directions do alike. The answers are
/// those of IPin's operations.
class DXPinConnection : private noncopyable {
public:
    /// Whether Connect(other, type) of a pin may go on: E_POINTER, VFW_E_ALREADY_CONNECTED,
    /// VFW_E_NO_ACCEPTABLE_TYPES, E_FAIL for a pin that is not of the direction, or S_OK.
    HRESULT CheckConnect(IPin* other, const AM_MEDIA_TYPE* offered, PIN_DIRECTION wanted) const;

    /// E_OUTOFMEMORY leaves the pin unconnected.
    HRESULT Store(IPin* other, const AM_MEDIA_TYPE& agreed);

    bool IsConnected() const { return static_cast<bool>(connectedTo); }
    /// S_FALSE if there is no connection.
    HRESULT Disconnect();
    HRESULT GivePeer(IPin** out) const;
    HRESULT GiveMediaType(AM_MEDIA_TYPE* out) const;

private:
    ComPointer<IPin> connectedTo;
    DXMediaType mediaType;
};

/// The answer to IPin::QueryPinInfo. filter: may be null.
HRESULT givePinInfo(IBaseFilter* filter, PIN_DIRECTION direction, const char* name, PIN_INFO* out) noexcept;

/// The answer to IPin::QueryId: the name in a block for the caller.
HRESULT givePinId(const char* name, LPWSTR* out) noexcept;

} // namespace Tarvik
