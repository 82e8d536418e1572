#include "hosting/dx/DXBaseFilter_win32.h"

#include "hosting/dx/PinEnumerator_win32.h"
#include "hosting/dx/WideName_win32.h"

#include <vector>

namespace Tarvik {

namespace {

// {442E1913-EB3A-4A30-A710-6E6780A131BD}. Of both filters: neither is ever created by it.
constexpr CLSID filterClass = {0x442E1913, 0xEB3A, 0x4A30, {0xA7, 0x10, 0x6E, 0x67, 0x80, 0xA1, 0x31, 0xBD}};

} // namespace

DXBaseFilter::DXBaseFilter(float rate, std::uint32_t layout) noexcept
    : CUnknown("DXBaseFilter", nullptr), sampleRate(rate), channelLayout(layout) {}

HRESULT STDMETHODCALLTYPE DXBaseFilter::NonDelegatingQueryInterface(REFIID iid, void** out) {
    if (IsEqualIID(iid, IID_IBaseFilter) || IsEqualIID(iid, IID_IMediaFilter) ||
        IsEqualIID(iid, IID_IPersist)) {
        return GetInterface(static_cast<IBaseFilter*>(this), out);
    }
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::GetClassID(CLSID* out) {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = filterClass;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::Stop() {
    filterState = State_Stopped;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::Pause() {
    filterState = State_Paused;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::Run(REFERENCE_TIME) {
    filterState = State_Running;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::GetState(DWORD, FILTER_STATE* out) {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = filterState;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::SetSyncSource(IReferenceClock* newClock) {
    clock = ComPointer<IReferenceClock>::Share(newClock);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::GetSyncSource(IReferenceClock** out) {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = clock.Give();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::EnumPins(IEnumPins** out) {
    return giveNew<PinEnumerator>(out, Pin());
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::FindPin(LPCWSTR id, IPin** out) {
    if (id == nullptr || out == nullptr) {
        return E_POINTER;
    }
    *out = nullptr;
    try {
        if (String(PinName()).toNativeWide() != id) {
            return VFW_E_NOT_FOUND;
        }
    } catch (...) {
        return E_OUTOFMEMORY;
    }
    *out = ComPointer<IPin>::Share(Pin()).Detach();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::QueryFilterInfo(FILTER_INFO* out) {
    if (out == nullptr) {
        return E_POINTER;
    }
    try {
        copyWideName(filterName, out->achName);
    } catch (...) {
        return E_OUTOFMEMORY;
    }
    out->pGraph = ComPointer<IFilterGraph>::Share(graph).Detach();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::JoinFilterGraph(IFilterGraph* newGraph, LPCWSTR newName) {
    try {
        filterName = newName != nullptr ? String::fromWide(newName) : String();
    } catch (...) {
        return E_OUTOFMEMORY;
    }
    graph = newGraph;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DXBaseFilter::QueryVendorInfo(LPWSTR*) {
    return E_NOTIMPL;
}

} // namespace Tarvik
