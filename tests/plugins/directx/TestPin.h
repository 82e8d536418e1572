#pragma once

#include "directx/Counted.h"
#include "directx/Interfaces.h"

#include <string>

namespace TestFilters {

class TestFilter;

/// What pins of both directions do alike.
class TestPin : public IPin {
public:
    TestPin(TestFilter& owner, PIN_DIRECTION way, unsigned index);
    virtual ~TestPin();

    const std::wstring& Id() const { return id; }
    /// Of the connection: all zeros without one.
    const AM_MEDIA_TYPE& Type() const { return mediaType; }
    bool IsConnected() const { return connectedTo != nullptr; }
    /// 0 without a connection.
    unsigned Channels() const;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE Disconnect() override;
    HRESULT STDMETHODCALLTYPE ConnectedTo(IPin** out) override;
    HRESULT STDMETHODCALLTYPE ConnectionMediaType(AM_MEDIA_TYPE* out) override;
    HRESULT STDMETHODCALLTYPE QueryPinInfo(PIN_INFO* out) override;
    HRESULT STDMETHODCALLTYPE QueryDirection(PIN_DIRECTION* out) override;
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* out) override;
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** out) override;
    HRESULT STDMETHODCALLTYPE QueryInternalConnections(IPin** pins, ULONG* count) override;
    HRESULT STDMETHODCALLTYPE EndOfStream() override;
    HRESULT STDMETHODCALLTYPE BeginFlush() override;
    HRESULT STDMETHODCALLTYPE EndFlush() override;
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

protected:
    TestFilter& Filter() const { return filter; }
    IPin* Peer() const { return connectedTo; }
    void Connected(IPin* peer, const AM_MEDIA_TYPE& type);

private:
    TestFilter& filter;
    PIN_DIRECTION direction;
    std::wstring id;
    std::string nameInLedger;
    IPin* connectedTo = nullptr;
    AM_MEDIA_TYPE mediaType{};
};

/// Whether the type is audio of 32-bit floats (or, of integers).
bool isAudioOf(const AM_MEDIA_TYPE& type, bool integers);

} // namespace TestFilters
