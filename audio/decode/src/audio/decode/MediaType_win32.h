#pragma once

#include "audio/decode/Stream.h"
#include "audio/decode/WindowsMedia_win32.h"
#include "svbase/util/checked_value.h"

#include <vector>

namespace Audio::Decode::WMA {

/// What an output of the media library's reader gives: the library's own description, of any length.
class MediaType {
public:
    /// Replaces this by the description in the properties. A failure is the library's result; what is here
    /// afterwards does not matter.
    HRESULT Read(IWMMediaProps& properties);

    bool IsAudio() const;
    /// Invalid where these are no integer samples, or samples that no sound can be made of.
    checked_value<Format> PcmFormat() const;

    /// To be given back to the library. After a Read that succeeded.
    WM_MEDIA_TYPE* Get() { return reinterpret_cast<WM_MEDIA_TYPE*>(bytes_.data()); }

private:
    const WM_MEDIA_TYPE& head() const { return *reinterpret_cast<const WM_MEDIA_TYPE*>(bytes_.data()); }

    /// Aligned for any type, as all that comes from operator new is.
    std::vector<BYTE> bytes_;
};

} // namespace Audio::Decode::WMA
