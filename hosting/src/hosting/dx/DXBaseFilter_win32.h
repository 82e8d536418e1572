#pragma once

#include "hosting/dx/CUnknown_win32.h"
#include "hosting/dx/ComPointer_win32.h"
#include "svbase/util/String.h"

#include <cstdint>

namespace Tarvik {

/// A filter with one pin that does nothing by itself: it knows its state, its clock and its graph. The
/// answers are those of IBaseFilter where nothing else is said. [main]
class DXBaseFilter : public CUnknown, public IBaseFilter {
public:
    float GetSampleRate() const noexcept { return sampleRate; }
    std::uint32_t GetChannelLayout() const noexcept { return channelLayout; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        return GetOwner()->QueryInterface(iid, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return GetOwner()->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return GetOwner()->Release(); }
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** out) override;

    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* out) override;
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;
    /// At once: no change of state takes any time.
    HRESULT STDMETHODCALLTYPE GetState(DWORD timeoutMs, FILTER_STATE* out) override;
    HRESULT STDMETHODCALLTYPE SetSyncSource(IReferenceClock* newClock) override;
    HRESULT STDMETHODCALLTYPE GetSyncSource(IReferenceClock** out) override;
    HRESULT STDMETHODCALLTYPE EnumPins(IEnumPins** out) override;
    HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR id, IPin** out) override;
    HRESULT STDMETHODCALLTYPE QueryFilterInfo(FILTER_INFO* out) override;
    /// newGraph: borrowed; null when the filter leaves its graph. newName: may be null.
    HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* newGraph, LPCWSTR newName) override;
    HRESULT STDMETHODCALLTYPE QueryVendorInfo(LPWSTR* out) override;

protected:
    DXBaseFilter(float rate, std::uint32_t layout) noexcept;

    /// The one pin, and its name. A literal.
    virtual IPin* Pin() noexcept = 0;
    virtual const char* PinName() const noexcept = 0;

private:
    float sampleRate;
    std::uint32_t channelLayout;
    FILTER_STATE filterState = State_Stopped;
    ComPointer<IReferenceClock> clock;
    IFilterGraph* graph = nullptr;
    String filterName;
};

} // namespace Tarvik
