#include "hosting/dx/MediaTypeEnumerator_win32.h"

#include "hosting/dx/ComPointer_win32.h"

#include <new>

namespace Tarvik {

MediaTypeEnumerator::MediaTypeEnumerator(float sampleRate, std::uint32_t channelLayout)
    : CUnknown("MediaTypeEnumerator", nullptr) {
    if (FAILED(mediaType.SetAudio(sampleRate, channelLayout))) {
        throw std::bad_alloc();
    }
}

MediaTypeEnumerator::MediaTypeEnumerator(const AM_MEDIA_TYPE& type, bool wasDelivered)
    : CUnknown("MediaTypeEnumerator", nullptr), delivered(wasDelivered) {
    if (FAILED(mediaType.CopyFrom(type))) {
        throw std::bad_alloc();
    }
}

HRESULT STDMETHODCALLTYPE MediaTypeEnumerator::NonDelegatingQueryInterface(REFIID iid, void** out) {
    if (IsEqualIID(iid, IID_IEnumMediaTypes)) {
        return GetInterface(static_cast<IEnumMediaTypes*>(this), out);
    }
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT STDMETHODCALLTYPE MediaTypeEnumerator::Next(ULONG count, AM_MEDIA_TYPE** out, ULONG* fetched) {
    if (fetched != nullptr) {
        *fetched = 0;
    }
    if (out == nullptr) {
        return E_POINTER;
    }
    if (count == 0) {
        return S_OK;
    }
    if (fetched == nullptr && count > 1) {
        // Nobody could tell how many there are.
        return E_INVALIDARG;
    }
    if (delivered) {
        return S_FALSE;
    }
    const HRESULT answer = mediaType.CopyToBlock(out);
    if (FAILED(answer)) {
        return answer;
    }
    delivered = true;
    if (fetched != nullptr) {
        *fetched = 1;
    }
    return count == 1 ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE MediaTypeEnumerator::Skip(ULONG count) {
    const ULONG left = delivered ? 0 : 1;
    delivered = delivered || count > 0;
    return count <= left ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE MediaTypeEnumerator::Reset() {
    delivered = false;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE MediaTypeEnumerator::Clone(IEnumMediaTypes** out) {
    return giveNew<MediaTypeEnumerator>(out, mediaType.Get(), delivered);
}

} // namespace Tarvik
