#include "hosting/dx/CUnknown_win32.h"

namespace Tarvik {

CUnknown::CUnknown(const char* name, IUnknown* outer) noexcept
    : CBaseObject(name), ownUnknown(*this), owner(outer != nullptr ? outer : &ownUnknown) {}

CUnknown::~CUnknown() = default;

HRESULT CUnknown::GetInterface(IUnknown* which, void** out) {
    if (out == nullptr) {
        return E_POINTER;
    }
    which->AddRef();
    *out = which;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CUnknown::NonDelegatingQueryInterface(REFIID iid, void** out) {
    if (out == nullptr) {
        return E_POINTER;
    }
    if (IsEqualIID(iid, IID_IUnknown)) {
        return GetInterface(&ownUnknown, out);
    }
    *out = nullptr;
    return E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE CUnknown::NonDelegatingAddRef() {
    return ++references;
}

ULONG STDMETHODCALLTYPE CUnknown::NonDelegatingRelease() {
    const ULONG left = --references;
    if (left == 0) {
        // Whoever takes and gives back a reference while the destructor runs must not make it run again.
        ++references;
        delete this;
    }
    return left;
}

} // namespace Tarvik
