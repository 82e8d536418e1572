#pragma once

#include "hosting/dx/CUnknown_win32.h"
#include "hosting/dx/DXPinConnection_win32.h"

#include <cstdint>

namespace Tarvik {

class DXBaseFilter;

/// The output pin of a source that delivers nothing of its own accord: samples are handed to whoever is
/// connected past it. The answers are those of IPin where nothing else is said. [main]
class DXSourcePin final : public CUnknown, public IPin {
public:
    /// Its name, and what it is found by.
    static constexpr const char* name = "DXSourcePin";

    /// filter: the one that the pin belongs to, which calls ForgetFilter before it goes.
    explicit DXSourcePin(DXBaseFilter* owningFilter) noexcept;

    /// The filter goes; the pin may live on in the hands of others.
    void ForgetFilter() noexcept { filter = nullptr; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        return GetOwner()->QueryInterface(iid, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return GetOwner()->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return GetOwner()->Release(); }
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** out) override;

    /// The type has to be given. Calls the receiver back.
    HRESULT STDMETHODCALLTYPE Connect(IPin* receiver, const AM_MEDIA_TYPE* type) override;
    /// E_UNEXPECTED: nobody connects to an output.
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE Disconnect() override;
    HRESULT STDMETHODCALLTYPE ConnectedTo(IPin** out) override;
    HRESULT STDMETHODCALLTYPE ConnectionMediaType(AM_MEDIA_TYPE* out) override;
    HRESULT STDMETHODCALLTYPE QueryPinInfo(PIN_INFO* out) override;
    HRESULT STDMETHODCALLTYPE QueryDirection(PIN_DIRECTION* out) override;
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* out) override;
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** out) override;
    /// E_NOTIMPL: every input would be connected to every output.
    HRESULT STDMETHODCALLTYPE QueryInternalConnections(IPin** pins, ULONG* count) override;
    /// What comes downstream never comes here: E_UNEXPECTED.
    HRESULT STDMETHODCALLTYPE EndOfStream() override;
    HRESULT STDMETHODCALLTYPE BeginFlush() override;
    HRESULT STDMETHODCALLTYPE EndFlush() override;
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

private:
    DXBaseFilter* filter;
    DXPinConnection connection;
};

} // namespace Tarvik
