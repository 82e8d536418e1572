#include "hosting/dx/DXPropertyPageSite_win32.h"

namespace Tarvik {

DXPropertyPageSite::DXPropertyPageSite() noexcept : CUnknown("DXPropertyPageSite", nullptr) {}

HRESULT STDMETHODCALLTYPE DXPropertyPageSite::NonDelegatingQueryInterface(REFIID iid, void** out) {
    if (IsEqualIID(iid, IID_IPropertyPageSite)) {
        return GetInterface(static_cast<IPropertyPageSite*>(this), out);
    }
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT STDMETHODCALLTYPE DXPropertyPageSite::OnStatusChange(DWORD) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXPropertyPageSite::GetLocaleID(LCID* out) {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = GetUserDefaultLCID();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXPropertyPageSite::GetPageContainer(IUnknown** out) {
    if (out != nullptr) {
        *out = nullptr;
    }
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE DXPropertyPageSite::TranslateAccelerator(MSG*) {
    return E_NOTIMPL;
}

} // namespace Tarvik
