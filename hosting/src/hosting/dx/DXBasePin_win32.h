#pragma once

#include "hosting/dx/CUnknown_win32.h"
#include "hosting/dx/DXPinConnection_win32.h"

namespace Tarvik {

class DXBaseFilter;

/// What a pin of either direction does alike: it knows its filter and its connection, and says what it is.
/// The answers are those of IPin where nothing else is said. [main]
class DXBasePin : public CUnknown, public IPin {
public:
    /// The filter goes; the pin may live on in the hands of others.
    void ForgetFilter() noexcept { filter = nullptr; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        return GetOwner()->QueryInterface(iid, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return GetOwner()->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return GetOwner()->Release(); }
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** out) override;

    HRESULT STDMETHODCALLTYPE Disconnect() override;
    HRESULT STDMETHODCALLTYPE ConnectedTo(IPin** out) override;
    HRESULT STDMETHODCALLTYPE ConnectionMediaType(AM_MEDIA_TYPE* out) override;
    HRESULT STDMETHODCALLTYPE QueryPinInfo(PIN_INFO* out) override;
    HRESULT STDMETHODCALLTYPE QueryDirection(PIN_DIRECTION* out) override;
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* out) override;
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE* type) override;
    /// E_NOTIMPL: every input would be connected to every output.
    HRESULT STDMETHODCALLTYPE QueryInternalConnections(IPin** pins, ULONG* count) override;
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

protected:
    /// name: of the object and of the pin. A literal. owningFilter: the one that the pin belongs to, which
    /// calls ForgetFilter before it goes.
    DXBasePin(const char* name, PIN_DIRECTION pinDirection, DXBaseFilter* owningFilter) noexcept;

    /// Null once it has gone.
    DXBaseFilter* GetFilter() const noexcept { return filter; }

    DXPinConnection connection;

private:
    const char* pinName;
    PIN_DIRECTION direction;
    DXBaseFilter* filter;
};

} // namespace Tarvik
