#pragma once

#include "hosting/dx/CUnknown_win32.h"

#include <cstdint>
#include <vector>

namespace Tarvik {

/// A stream on bytes in memory, up to 4 GiB. A write beyond the end fills what is between with zeros; a read
/// there gives nothing. The answers are those of IStream where nothing else is said. [main]
class VectorStream final : public CUnknown, public IStream {
public:
    explicit VectorStream(std::vector<std::uint8_t> content = {}) noexcept;

    const std::vector<std::uint8_t>& Bytes() const noexcept { return bytes; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        return GetOwner()->QueryInterface(iid, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return GetOwner()->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return GetOwner()->Release(); }
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** out) override;

    /// S_FALSE for fewer bytes than asked. readCount: may be null.
    HRESULT STDMETHODCALLTYPE Read(void* out, ULONG count, ULONG* readCount) override;
    /// STG_E_MEDIUMFULL, and nothing written, beyond the limit. writtenCount: may be null.
    HRESULT STDMETHODCALLTYPE Write(const void* data, ULONG count, ULONG* writtenCount) override;
    /// STG_E_INVALIDFUNCTION, and the position as it was, before the beginning. newPosition: may be null.
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPosition) override;
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER newSize) override;
    /// Nothing but the size: the stream has no name and no times.
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* out, DWORD flags) override;

    /// There is nothing to commit or to go back to, which is no failure.
    HRESULT STDMETHODCALLTYPE Commit(DWORD flags) override;
    HRESULT STDMETHODCALLTYPE Revert() override;
    /// E_NOTIMPL.
    HRESULT STDMETHODCALLTYPE CopyTo(
        IStream* other, ULARGE_INTEGER count, ULARGE_INTEGER* readCount,
        ULARGE_INTEGER* writtenCount) override;
    HRESULT STDMETHODCALLTYPE Clone(IStream** out) override;
    /// STG_E_INVALIDFUNCTION, as published for streams without locks.
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) override;
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) override;

private:
    HRESULT Resize(std::uint64_t size) noexcept;

    std::vector<std::uint8_t> bytes;
    std::uint64_t position = 0;
};

} // namespace Tarvik
