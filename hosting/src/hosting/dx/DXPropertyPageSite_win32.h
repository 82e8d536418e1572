#pragma once

#include "hosting/dx/CUnknown_win32.h"

namespace Tarvik {

/// What a property page sees of the frame around it, which is next to nothing. [main]
class DXPropertyPageSite final : public CUnknown, public IPropertyPageSite {
public:
    DXPropertyPageSite() noexcept;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        return GetOwner()->QueryInterface(iid, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return GetOwner()->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return GetOwner()->Release(); }
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** out) override;

    HRESULT STDMETHODCALLTYPE OnStatusChange(DWORD flags) override;
    HRESULT STDMETHODCALLTYPE GetLocaleID(LCID* out) override;
    HRESULT STDMETHODCALLTYPE GetPageContainer(IUnknown** out) override;
    HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG* message) override;
};

} // namespace Tarvik
