#include "directx/TestPin.h"

#include "directx/TestFilter.h"

#include <cstring>

namespace TestFilters {

namespace {

AM_MEDIA_TYPE copyOf(const AM_MEDIA_TYPE& type) {
    AM_MEDIA_TYPE copy = type;
    copy.pUnk = nullptr;
    copy.pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(type.cbFormat));
    if (copy.pbFormat != nullptr) {
        std::memcpy(copy.pbFormat, type.pbFormat, type.cbFormat);
    }
    return copy;
}

} // namespace

bool isAudioOf(const AM_MEDIA_TYPE& type, bool integers) {
    if (!IsEqualGUID(type.majortype, MEDIATYPE_Audio) || !IsEqualGUID(type.formattype, FORMAT_WaveFormatEx) ||
        type.cbFormat < sizeof(WAVEFORMATEX)) {
        return false;
    }
    WAVEFORMATEX format{};
    std::memcpy(&format, type.pbFormat, sizeof format);
    return format.nChannels != 0 &&
           (integers ? format.wFormatTag == WAVE_FORMAT_PCM && format.wBitsPerSample == 16
                     : format.wFormatTag == WAVE_FORMAT_IEEE_FLOAT && format.wBitsPerSample == 32);
}

TestPin::TestPin(TestFilter& owner, PIN_DIRECTION way, unsigned index)
    : filter(owner), direction(way), id((way == PINDIR_INPUT ? L"In " : L"Out ") + std::to_wstring(index)),
      nameInLedger((way == PINDIR_INPUT ? "input pin " : "output pin ") + std::to_string(index)) {
    Ledger::Instance().Made(nameInLedger);
}

TestPin::~TestPin() {
    TestPin::Disconnect();
    Ledger::Instance().Destroyed(nameInLedger);
}

unsigned TestPin::Channels() const {
    if (mediaType.pbFormat == nullptr) {
        return 0;
    }
    WAVEFORMATEX format{};
    std::memcpy(&format, mediaType.pbFormat, sizeof format);
    return format.nChannels;
}

void TestPin::Connected(IPin* peer, const AM_MEDIA_TYPE& type) {
    peer->AddRef();
    connectedTo = peer;
    mediaType = copyOf(type);
}

HRESULT STDMETHODCALLTYPE TestPin::QueryInterface(REFIID iid, void** out) {
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IPin)) {
        return give(static_cast<IPin*>(this), out);
    }
    *out = nullptr;
    return E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE TestPin::AddRef() {
    Ledger::Instance().Added(nameInLedger);
    return filter.AddRef();
}

ULONG STDMETHODCALLTYPE TestPin::Release() {
    Ledger::Instance().Released(nameInLedger);
    return filter.Release();
}

HRESULT STDMETHODCALLTYPE TestPin::Disconnect() {
    if (connectedTo == nullptr) {
        return S_FALSE;
    }
    releaseAndClear(connectedTo);
    CoTaskMemFree(mediaType.pbFormat);
    mediaType = {};
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPin::ConnectedTo(IPin** out) {
    *out = connectedTo;
    if (connectedTo == nullptr) {
        return VFW_E_NOT_CONNECTED;
    }
    connectedTo->AddRef();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPin::ConnectionMediaType(AM_MEDIA_TYPE* out) {
    *out = {};
    if (connectedTo == nullptr) {
        return VFW_E_NOT_CONNECTED;
    }
    *out = copyOf(mediaType);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPin::QueryPinInfo(PIN_INFO* out) {
    *out = {};
    filter.AddRef();
    out->pFilter = &filter;
    out->dir = direction;
    id.copy(out->achName, MAX_PIN_NAME - 1);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPin::QueryDirection(PIN_DIRECTION* out) {
    *out = direction;
    return arriveAt(filter.GetBehaviour(), Place::queryDirection);
}

HRESULT STDMETHODCALLTYPE TestPin::QueryId(LPWSTR* out) {
    const std::size_t bytes = (id.size() + 1) * sizeof(WCHAR);
    *out = static_cast<LPWSTR>(CoTaskMemAlloc(bytes));
    if (*out == nullptr) {
        return E_OUTOFMEMORY;
    }
    std::memcpy(*out, id.c_str(), bytes);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPin::EnumMediaTypes(IEnumMediaTypes** out) {
    *out = nullptr;
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE TestPin::QueryInternalConnections(IPin**, ULONG*) {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE TestPin::EndOfStream() {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPin::BeginFlush() {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPin::EndFlush() {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPin::NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) {
    return S_OK;
}

} // namespace TestFilters
