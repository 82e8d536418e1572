#pragma once

#include "hosting/dx/DirectShow_win32.h"
#include "svbase/util/Noncopyable.h"

#include <cstdint>

namespace Tarvik {

/// Owns the format block and the object of a media type. Empty, which is all zeros, until something is copied
/// in.
class DXMediaType : private noncopyable {
public:
    DXMediaType() = default;
    ~DXMediaType() { Clear(); }

    /// Makes it the type of a graph's audio: interleaved 32-bit floats at a rate in Hz with a layout's
    /// channels. E_OUTOFMEMORY leaves it empty.
    HRESULT SetAudio(float sampleRate, std::uint32_t channelLayout);

    /// A deep copy of it. E_OUTOFMEMORY leaves this one empty.
    HRESULT CopyFrom(const AM_MEDIA_TYPE& other);
    /// A deep copy for the caller, who may hand in anything as out. Null is E_POINTER; out is all zeros after
    /// another failure.
    HRESULT CopyTo(AM_MEDIA_TYPE* out) const;
    /// The same in a block that CoTaskMemFree takes.
    HRESULT CopyToBlock(AM_MEDIA_TYPE** out) const;

    void Clear() noexcept;

    const AM_MEDIA_TYPE& Get() const noexcept { return type; }

    /// S_OK for audio as it is carried here: 32-bit floats, one channel or two, any rate but 0. E_INVALIDARG
    /// for another, E_POINTER for null.
    static HRESULT Accept(const AM_MEDIA_TYPE* offered) noexcept;

    /// Frees what a foreign media type holds, and zeroes it. Also harmless to one that nobody has ever filled
    /// in, as callers hand them in for out arguments: only a format block that the allocator knows is given
    /// back to it, and only beside such a block is the object released.
    static void Free(AM_MEDIA_TYPE& foreign) noexcept;

private:
    AM_MEDIA_TYPE type{};
};

} // namespace Tarvik
