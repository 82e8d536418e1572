#pragma once

#include "hosting/dx/DirectShow_win32.h"

namespace Tarvik {

/// What an object does about its own interfaces and its own life, whoever its owner is. Published with
/// DirectShow's class library.
class INonDelegatingUnknown {
public:
    virtual HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** out) = 0;
    virtual ULONG STDMETHODCALLTYPE NonDelegatingAddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE NonDelegatingRelease() = 0;

protected:
    ~INonDelegatingUnknown() = default;
};

} // namespace Tarvik
