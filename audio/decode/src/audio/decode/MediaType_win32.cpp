#include "audio/decode/MediaType_win32.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace Audio::Decode::WMA {

namespace {

bool isSame(const GUID& a, const GUID& b) {
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}

/// Where a wave format's extension has the speakers.
constexpr std::size_t extensibleBytes = 40;
constexpr std::size_t channelMaskOffset = 20;

} // namespace

HRESULT MediaType::Read(IWMMediaProps& properties) {
    DWORD size = 0;
    if (const HRESULT answer = properties.GetMediaType(nullptr, &size); FAILED(answer)) {
        return answer;
    }
    try {
        bytes_.assign(std::max<std::size_t>(size, sizeof(WM_MEDIA_TYPE)), 0);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return properties.GetMediaType(Get(), &size);
}

bool MediaType::IsAudio() const {
    return isSame(head().majortype, audioMajorType);
}

checked_value<Format> MediaType::PcmFormat() const {
    const WM_MEDIA_TYPE& type = head();
    const bool isPcm =
        IsAudio() && isSame(type.subtype, pcmSubType) && isSame(type.formattype, waveFormatType);
    if (!isPcm || type.pbFormat == nullptr || type.cbFormat < sizeof(PCMWAVEFORMAT)) {
        return {};
    }
    WAVEFORMATEX wave{};
    std::memcpy(&wave, type.pbFormat, std::min<std::size_t>(type.cbFormat, sizeof wave));
    Format format;
    format.channels = wave.nChannels;
    format.bytesPerSample = (wave.wBitsPerSample + 7U) / 8U;
    format.sampleRate = wave.nSamplesPerSec;
    if (wave.wFormatTag == WAVE_FORMAT_EXTENSIBLE && type.cbFormat >= extensibleBytes) {
        std::memcpy(&format.channelMask, type.pbFormat + channelMaskOffset, sizeof format.channelMask);
    }
    // Frames of another size would be samples with a room of their own, which the fields beside it do not
    // tell.
    const bool isSound = format.channels != 0 && format.bytesPerSample != 0 && format.sampleRate != 0 &&
                         wave.nBlockAlign == format.channels * format.bytesPerSample;
    return isSound ? format : checked_value<Format>();
}

} // namespace Audio::Decode::WMA
