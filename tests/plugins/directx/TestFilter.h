#pragma once

#include "directx/Behaviour.h"
#include "directx/Counted.h"
#include "directx/Delivering.h"
#include "directx/Interfaces.h"
#include "directx/TestInputPin.h"
#include "directx/TestOutputPin.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace TestFilters {

/// A transform filter that multiplies audio by a gain, written from the published contracts alone, and does
/// whatever else its behaviour says. Its state are the four bytes "GAIN" and the gain as a 32-bit float. As
/// with the published class library, a reference to a pin keeps the whole filter.
class TestFilter final : public IBaseFilter,
                         public IPersistStream,
                         public ISpecifyPropertyPages,
                         public IGain {
public:
    /// pages: what GetPages tells.
    TestFilter(Behaviour whatItDoes, std::vector<CLSID> pageList);
    /// May throw, as some filters do.
    virtual ~TestFilter() noexcept(false);

    const Behaviour& GetBehaviour() const { return behaviour; }
    float Gain() const { return gain; }
    bool IsRunning() const { return state == State_Running; }
    TestInputPin& Input() { return *inputs.front(); }
    /// Null where there is none.
    TestOutputPin* Output() { return outputs.empty() ? nullptr : outputs.front().get(); }

    HRESULT Receive(IMediaSample* sample);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* out) override;
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;
    HRESULT STDMETHODCALLTYPE GetState(DWORD timeoutMs, FILTER_STATE* out) override;
    HRESULT STDMETHODCALLTYPE SetSyncSource(IReferenceClock* newClock) override;
    HRESULT STDMETHODCALLTYPE GetSyncSource(IReferenceClock** out) override;
    HRESULT STDMETHODCALLTYPE EnumPins(IEnumPins** out) override;
    HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR id, IPin** out) override;
    HRESULT STDMETHODCALLTYPE QueryFilterInfo(FILTER_INFO* out) override;
    HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* newGraph, LPCWSTR newName) override;
    HRESULT STDMETHODCALLTYPE QueryVendorInfo(LPWSTR* out) override;

    HRESULT STDMETHODCALLTYPE IsDirty() override;
    HRESULT STDMETHODCALLTYPE Load(IStream* stream) override;
    HRESULT STDMETHODCALLTYPE Save(IStream* stream, BOOL clearDirty) override;
    HRESULT STDMETHODCALLTYPE GetSizeMax(ULARGE_INTEGER* out) override;

    HRESULT STDMETHODCALLTYPE GetPages(CAUUID* out) override;

    HRESULT STDMETHODCALLTYPE SetGain(float newGain) override;
    HRESULT STDMETHODCALLTYPE GetGain(float* out) override;

private:
    HRESULT SetState(FILTER_STATE next);

    Counted counted{"filter"};
    Behaviour behaviour;
    std::vector<CLSID> pages;
    float gain = 0.5f;
    bool dirty = false;
    FILTER_STATE state = State_Stopped;
    IReferenceClock* clock = nullptr;
    /// Borrowed, as published: the graph holds the filter.
    IFilterGraph* graph = nullptr;
    std::wstring name;
    std::vector<std::unique_ptr<TestInputPin>> inputs;
    std::vector<std::unique_ptr<TestOutputPin>> outputs;
    Delivering delivering;
};

} // namespace TestFilters
