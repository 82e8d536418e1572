#pragma once

// The published interfaces that the test filters implement, in the order in which their headers need each
// other.

#include <windows.h>

#include <objbase.h>

#include <mmsystem.h>

#include <mmreg.h>

#include <ocidl.h>
#include <olectl.h>

#include <strmif.h>

#include <control.h>
#include <uuids.h>
#include <vfwmsgs.h>

namespace TestFilters {

/// {6A1C02E4-73B5-4D54-9C0C-3F6A51D7E1B2}: the filter's own interface, which its property page speaks.
inline constexpr IID gainInterface = {
    0x6A1C02E4, 0x73B5, 0x4D54, {0x9C, 0x0C, 0x3F, 0x6A, 0x51, 0xD7, 0xE1, 0xB2}};

struct IGain : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetGain(float gain) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetGain(float* gain) = 0;
};

/// Gives out an interface with a reference of its own.
template<class Interface>
HRESULT give(Interface* which, void** out) {
    which->AddRef();
    *out = which;
    return S_OK;
}

template<class Interface>
void releaseAndClear(Interface*& which) {
    if (which != nullptr) {
        which->Release();
        which = nullptr;
    }
}

} // namespace TestFilters
