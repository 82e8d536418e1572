#include "hosting/dx/VectorStream_win32.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>

namespace Tarvik {

namespace {

// Sizes of states are 32 bits wide.
constexpr std::uint64_t largestSize = std::numeric_limits<std::uint32_t>::max();

// Positions go no further than a signed offset reaches.
constexpr auto largestPosition = static_cast<std::uint64_t>(std::numeric_limits<LONGLONG>::max());

void tell(ULONG* out, std::size_t count) {
    if (out != nullptr) {
        *out = static_cast<ULONG>(count);
    }
}

} // namespace

VectorStream::VectorStream(std::vector<std::uint8_t> content) noexcept
    : CUnknown("VectorStream", nullptr), bytes(std::move(content)) {}

HRESULT STDMETHODCALLTYPE VectorStream::NonDelegatingQueryInterface(REFIID iid, void** out) {
    if (IsEqualIID(iid, IID_IStream) || IsEqualIID(iid, IID_ISequentialStream)) {
        return GetInterface(static_cast<IStream*>(this), out);
    }
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT STDMETHODCALLTYPE VectorStream::Read(void* out, ULONG count, ULONG* readCount) {
    tell(readCount, 0);
    if (out == nullptr) {
        return STG_E_INVALIDPOINTER;
    }
    const std::uint64_t left = bytes.size() - std::min<std::uint64_t>(position, bytes.size());
    const auto given = static_cast<std::size_t>(std::min<std::uint64_t>(count, left));
    if (given != 0) {
        std::memcpy(out, bytes.data() + position, given);
        position += given;
    }
    tell(readCount, given);
    return given == count ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE VectorStream::Write(const void* data, ULONG count, ULONG* writtenCount) {
    tell(writtenCount, 0);
    if (data == nullptr) {
        return STG_E_INVALIDPOINTER;
    }
    if (count == 0) {
        return S_OK;
    }
    const std::uint64_t end = position + count;
    if (end > bytes.size()) {
        const HRESULT answer = Resize(end);
        if (FAILED(answer)) {
            return answer;
        }
    }
    std::memcpy(bytes.data() + position, data, count);
    position = end;
    tell(writtenCount, count);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE VectorStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPosition) {
    std::uint64_t from = 0;
    switch (origin) {
    case STREAM_SEEK_SET:
        break;
    case STREAM_SEEK_CUR:
        from = position;
        break;
    case STREAM_SEEK_END:
        from = bytes.size();
        break;
    default:
        return STG_E_INVALIDFUNCTION;
    }
    // Wraps where it goes below 0 or too far, and is then beyond what a position can be.
    const std::uint64_t to = from + static_cast<std::uint64_t>(move.QuadPart);
    if (to > largestPosition) {
        return STG_E_INVALIDFUNCTION;
    }
    position = to;
    if (newPosition != nullptr) {
        newPosition->QuadPart = position;
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE VectorStream::SetSize(ULARGE_INTEGER newSize) {
    return Resize(newSize.QuadPart);
}

HRESULT VectorStream::Resize(std::uint64_t size) noexcept {
    if (size > largestSize) {
        return STG_E_MEDIUMFULL;
    }
    try {
        bytes.resize(static_cast<std::size_t>(size));
    } catch (...) {
        return STG_E_MEDIUMFULL;
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE VectorStream::Stat(STATSTG* out, DWORD) {
    if (out == nullptr) {
        return STG_E_INVALIDPOINTER;
    }
    *out = {};
    out->type = STGTY_STREAM;
    out->cbSize.QuadPart = bytes.size();
    out->grfMode = STGM_READWRITE;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE VectorStream::Commit(DWORD) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE VectorStream::Revert() {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE VectorStream::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE VectorStream::Clone(IStream** out) {
    if (out != nullptr) {
        *out = nullptr;
    }
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE VectorStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
    return STG_E_INVALIDFUNCTION;
}

HRESULT STDMETHODCALLTYPE VectorStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
    return STG_E_INVALIDFUNCTION;
}

} // namespace Tarvik
