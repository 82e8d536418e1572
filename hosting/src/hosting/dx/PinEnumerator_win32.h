#pragma once

#include "hosting/dx/CUnknown_win32.h"
#include "hosting/dx/ComPointer_win32.h"

#include <cstdint>
#include <vector>

namespace Tarvik {

/// Gives out a list of pins, which it keeps alive. [main]
class PinEnumerator final : public CUnknown, public IEnumPins {
public:
    explicit PinEnumerator(IPin* pin);
    PinEnumerator(std::vector<ComPointer<IPin>> list, std::uint32_t from) noexcept;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        return GetOwner()->QueryInterface(iid, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return GetOwner()->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return GetOwner()->Release(); }
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** out) override;

    /// S_FALSE for fewer than asked, E_UNEXPECTED after Skip has gone past the end. fetched: may be null for
    /// one.
    HRESULT STDMETHODCALLTYPE Next(ULONG count, IPin** out, ULONG* fetched) override;
    /// S_FALSE when it goes past the end, where it stays.
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumPins** out) override;

private:
    std::vector<ComPointer<IPin>> pins;
    std::uint32_t position = 0;
};

} // namespace Tarvik
