#pragma once

#include "hosting/dx/CUnknown_win32.h"
#include "hosting/dx/DXMediaType_win32.h"

#include <cstdint>

namespace Tarvik {

/// Gives out the one media type of a graph's audio. [main]
class MediaTypeEnumerator final : public CUnknown, public IEnumMediaTypes {
public:
    /// Throws std::bad_alloc.
    MediaTypeEnumerator(float sampleRate, std::uint32_t channelLayout);
    explicit MediaTypeEnumerator(const AM_MEDIA_TYPE& type, bool wasDelivered = false);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        return GetOwner()->QueryInterface(iid, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return GetOwner()->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return GetOwner()->Release(); }
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** out) override;

    /// The type comes in a block of the caller's, with a format block of its own: both are freed with
    /// CoTaskMemFree. S_FALSE for fewer than asked. fetched: may be null for one.
    HRESULT STDMETHODCALLTYPE Next(ULONG count, AM_MEDIA_TYPE** out, ULONG* fetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumMediaTypes** out) override;

private:
    DXMediaType mediaType;
    bool delivered = false;
};

} // namespace Tarvik
