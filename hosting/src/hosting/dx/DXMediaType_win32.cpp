#include "hosting/dx/DXMediaType_win32.h"

#include "dsp/ChannelLayout.h"
#include "hosting/dx/ComPointer_win32.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace Tarvik {

namespace {

// {00000001-0000-0010-8000-00AA00389B71}, the subtype of integer samples: what plug-ins compare it with was
// written down when there was no other, so that floats travel under it too.
const GUID& audioSubtype = MEDIASUBTYPE_PCM;

constexpr WORD bytesPerSample = sizeof(float);
constexpr WORD bitsPerSample = 32;

// The bytes of a format that every one has: without the count of further ones.
constexpr ULONG shortestFormat = sizeof(WAVEFORMAT) + sizeof(WORD);

DWORD roundedRate(float sampleRate) {
    constexpr auto highest = static_cast<double>(std::numeric_limits<DWORD>::max());
    // What is no rate is 0, which nobody accepts.
    return sampleRate > 0.0f ? static_cast<DWORD>(std::min(std::round(double{sampleRate}), highest)) : 0;
}

WAVEFORMATEX audioFormat(float sampleRate, std::uint32_t channelLayout) {
    WAVEFORMATEX format{};
    format.wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
    format.nChannels = static_cast<WORD>(DSP::getChannelCount(static_cast<std::int32_t>(channelLayout)));
    format.nSamplesPerSec = roundedRate(sampleRate);
    format.nBlockAlign = static_cast<WORD>(format.nChannels * bytesPerSample);
    format.nAvgBytesPerSec = format.nBlockAlign * format.nSamplesPerSec;
    format.wBitsPerSample = bitsPerSample;
    // Its own size instead of that of what follows, which is nothing. Plug-ins have never been told
    // otherwise.
    format.cbSize = sizeof format;
    return format;
}

// With room, all zeros, for the bytes that cbSize promises behind the block: some believe it.
BYTE* allocateFormat(const void* bytes, ULONG size) {
    auto* block = static_cast<BYTE*>(CoTaskMemAlloc(std::size_t{size} + sizeof(WAVEFORMATEX)));
    if (block != nullptr) {
        std::memcpy(block, bytes, size);
        std::memset(block + size, 0, sizeof(WAVEFORMATEX));
    }
    return block;
}

HRESULT copy(const AM_MEDIA_TYPE& from, AM_MEDIA_TYPE& to) {
    to = from;
    to.pUnk = nullptr;
    to.pbFormat = nullptr;
    to.cbFormat = 0;
    if (from.cbFormat != 0 && from.pbFormat != nullptr) {
        to.pbFormat = allocateFormat(from.pbFormat, from.cbFormat);
        if (to.pbFormat == nullptr) {
            to = {};
            return E_OUTOFMEMORY;
        }
        to.cbFormat = from.cbFormat;
    }
    to.pUnk = ComPointer<IUnknown>::Share(from.pUnk).Detach();
    return S_OK;
}

bool isOfTaskAllocator(void* block) {
    IMalloc* allocator = nullptr;
    if (block == nullptr || FAILED(CoGetMalloc(1, &allocator))) {
        return false;
    }
    const auto held = ComPointer<IMalloc>::Adopt(allocator);
    return held->DidAlloc(block) == 1;
}

} // namespace

HRESULT DXMediaType::SetAudio(float sampleRate, std::uint32_t channelLayout) {
    WAVEFORMATEX format = audioFormat(sampleRate, channelLayout);
    AM_MEDIA_TYPE audio{};
    audio.majortype = MEDIATYPE_Audio;
    audio.subtype = audioSubtype;
    audio.bFixedSizeSamples = TRUE;
    audio.lSampleSize = bytesPerSample;
    audio.formattype = FORMAT_WaveFormatEx;
    audio.cbFormat = sizeof format;
    audio.pbFormat = reinterpret_cast<BYTE*>(&format);
    return CopyFrom(audio);
}

HRESULT DXMediaType::CopyFrom(const AM_MEDIA_TYPE& other) {
    AM_MEDIA_TYPE fresh{};
    const HRESULT answer = copy(other, fresh);
    Clear();
    type = fresh;
    return answer;
}

HRESULT DXMediaType::CopyTo(AM_MEDIA_TYPE* out) const {
    return out != nullptr ? copy(type, *out) : E_POINTER;
}

HRESULT DXMediaType::CopyToBlock(AM_MEDIA_TYPE** out) const {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    if (*out == nullptr) {
        return E_OUTOFMEMORY;
    }
    const HRESULT answer = CopyTo(*out);
    if (FAILED(answer)) {
        CoTaskMemFree(*out);
        *out = nullptr;
    }
    return answer;
}

void DXMediaType::Clear() noexcept {
    CoTaskMemFree(type.pbFormat);
    ComPointer<IUnknown>::Adopt(type.pUnk).Reset();
    type = {};
}

HRESULT DXMediaType::Accept(const AM_MEDIA_TYPE* offered) noexcept {
    if (offered == nullptr) {
        return E_POINTER;
    }
    if (!IsEqualGUID(offered->majortype, MEDIATYPE_Audio) || !IsEqualGUID(offered->subtype, audioSubtype) ||
        offered->bTemporalCompression != FALSE || !IsEqualGUID(offered->formattype, FORMAT_WaveFormatEx) ||
        offered->cbFormat < shortestFormat || offered->pbFormat == nullptr) {
        return E_INVALIDARG;
    }
    WAVEFORMATEX format{};
    std::memcpy(&format, offered->pbFormat, shortestFormat);
    const bool carried = (format.nChannels == 1 || format.nChannels == 2) && format.nSamplesPerSec != 0 &&
                         format.wFormatTag == WAVE_FORMAT_IEEE_FLOAT &&
                         format.wBitsPerSample == bitsPerSample;
    return carried ? S_OK : E_INVALIDARG;
}

void DXMediaType::Free(AM_MEDIA_TYPE& foreign) noexcept {
    // A block of the allocator's tells that somebody has filled in the record. Where there is none, the
    // object may be garbage that would be called through.
    if (isOfTaskAllocator(foreign.pbFormat)) {
        CoTaskMemFree(foreign.pbFormat);
        ComPointer<IUnknown>::Adopt(foreign.pUnk).Reset();
    }
    foreign = {};
}

} // namespace Tarvik
