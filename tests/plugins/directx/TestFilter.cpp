#include "directx/TestFilter.h"

#include "directx/TestPinEnumerator.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace TestFilters {

namespace {

constexpr char stateMark[4] = {'G', 'A', 'I', 'N'};

struct State {
    char mark[4];
    float gain;
};

} // namespace

TestFilter::TestFilter(Behaviour whatItDoes, std::vector<CLSID> pageList)
    : behaviour(std::move(whatItDoes)), pages(std::move(pageList)), delivering(*this) {
    for (unsigned index = 0; index < behaviour.inputPins; ++index) {
        inputs.push_back(std::make_unique<TestInputPin>(*this, index));
    }
    for (unsigned index = 0; index < behaviour.outputPins; ++index) {
        outputs.push_back(std::make_unique<TestOutputPin>(*this, index));
    }
}

TestFilter::~TestFilter() noexcept(false) {
    releaseAndClear(clock);
    static_cast<void>(arriveAt(behaviour, Place::destruction));
}

HRESULT TestFilter::Receive(IMediaSample* sample) {
    const HRESULT answer = arriveAt(behaviour, Place::receive);
    return SUCCEEDED(answer) ? delivering.Receive(sample) : answer;
}

HRESULT STDMETHODCALLTYPE TestFilter::QueryInterface(REFIID iid, void** out) {
    *out = nullptr;
    if (IsEqualIID(iid, IID_IUnknown)) {
        return give(static_cast<IBaseFilter*>(this), out);
    }
    if (IsEqualIID(iid, IID_IBaseFilter) || IsEqualIID(iid, IID_IMediaFilter) ||
        IsEqualIID(iid, IID_IPersist)) {
        const HRESULT answer = arriveAt(behaviour, Place::queryFilter);
        return SUCCEEDED(answer) ? give(static_cast<IBaseFilter*>(this), out) : answer;
    }
    if (IsEqualIID(iid, IID_IPersistStream) && behaviour.persists) {
        const HRESULT answer = arriveAt(behaviour, Place::queryPersistStream);
        return SUCCEEDED(answer) ? give(static_cast<IPersistStream*>(this), out) : answer;
    }
    if (IsEqualIID(iid, IID_ISpecifyPropertyPages) && behaviour.hasPage) {
        const HRESULT answer = arriveAt(behaviour, Place::querySpecifyPages);
        return SUCCEEDED(answer) ? give(static_cast<ISpecifyPropertyPages*>(this), out) : answer;
    }
    if (IsEqualIID(iid, gainInterface)) {
        return give(static_cast<IGain*>(this), out);
    }
    return E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE TestFilter::AddRef() {
    return counted.Add();
}

ULONG STDMETHODCALLTYPE TestFilter::Release() {
    const ULONG left = counted.Release();
    if (left == 0) {
        delete this;
    }
    return left;
}

HRESULT STDMETHODCALLTYPE TestFilter::GetClassID(CLSID* out) {
    *out = {};
    return E_NOTIMPL;
}

HRESULT TestFilter::SetState(FILTER_STATE next) {
    for (const auto& pin : outputs) {
        if (next == State_Stopped) {
            pin->Decommit();
        } else {
            const HRESULT answer = pin->Commit();
            if (FAILED(answer)) {
                return answer;
            }
        }
    }
    if (next == State_Stopped) {
        delivering.End();
    } else if (next == State_Running) {
        delivering.Begin();
    }
    state = next;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::Stop() {
    const HRESULT answer = arriveAt(behaviour, Place::stop);
    return SUCCEEDED(answer) ? SetState(State_Stopped) : answer;
}

HRESULT STDMETHODCALLTYPE TestFilter::Pause() {
    return SetState(State_Paused);
}

HRESULT STDMETHODCALLTYPE TestFilter::Run(REFERENCE_TIME) {
    const HRESULT answer = arriveAt(behaviour, Place::run);
    return SUCCEEDED(answer) ? SetState(State_Running) : answer;
}

HRESULT STDMETHODCALLTYPE TestFilter::GetState(DWORD, FILTER_STATE* out) {
    *out = state;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::SetSyncSource(IReferenceClock* newClock) {
    if (newClock != nullptr) {
        newClock->AddRef();
    }
    releaseAndClear(clock);
    clock = newClock;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::GetSyncSource(IReferenceClock** out) {
    *out = clock;
    if (clock != nullptr) {
        clock->AddRef();
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::EnumPins(IEnumPins** out) {
    *out = nullptr;
    const HRESULT answer = arriveAt(behaviour, Place::enumPins);
    if (FAILED(answer)) {
        return answer;
    }
    std::vector<IPin*> pins;
    for (std::size_t index = 0; index < std::max(inputs.size(), outputs.size()); ++index) {
        if (index < outputs.size()) {
            pins.push_back(outputs[index].get());
        }
        if (index < inputs.size()) {
            pins.push_back(inputs[index].get());
        }
    }
    *out = new TestPinEnumerator(*this, std::move(pins), 0);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::FindPin(LPCWSTR id, IPin** out) {
    *out = nullptr;
    for (const auto& pin : inputs) {
        if (pin->Id() == id) {
            *out = pin.get();
        }
    }
    for (const auto& pin : outputs) {
        if (pin->Id() == id) {
            *out = pin.get();
        }
    }
    if (*out == nullptr) {
        return VFW_E_NOT_FOUND;
    }
    (*out)->AddRef();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::QueryFilterInfo(FILTER_INFO* out) {
    *out = {};
    name.copy(out->achName, MAX_FILTER_NAME - 1);
    out->pGraph = graph;
    if (graph != nullptr) {
        graph->AddRef();
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::JoinFilterGraph(IFilterGraph* newGraph, LPCWSTR newName) {
    if (newGraph != nullptr) {
        const HRESULT answer = arriveAt(behaviour, Place::joinFilterGraph);
        if (FAILED(answer)) {
            return answer;
        }
    }
    graph = newGraph;
    name = newName != nullptr ? newName : L"";
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::QueryVendorInfo(LPWSTR*) {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE TestFilter::IsDirty() {
    return dirty ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE TestFilter::Load(IStream* stream) {
    HRESULT answer = arriveAt(behaviour, Place::load);
    if (FAILED(answer)) {
        return answer;
    }
    State stored{};
    ULONG count = 0;
    answer = stream->Read(&stored, sizeof stored, &count);
    if (FAILED(answer)) {
        return answer;
    }
    if (count != sizeof stored || std::memcmp(stored.mark, stateMark, sizeof stateMark) != 0) {
        return E_INVALIDARG;
    }
    gain = stored.gain;
    dirty = false;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::Save(IStream* stream, BOOL clearDirty) {
    HRESULT answer = arriveAt(behaviour, Place::save);
    if (FAILED(answer)) {
        return answer;
    }
    // In two pieces, as most filters write.
    ULONG count = 0;
    answer = stream->Write(stateMark, sizeof stateMark, &count);
    if (SUCCEEDED(answer)) {
        answer = stream->Write(&gain, sizeof gain, &count);
    }
    dirty = dirty && clearDirty == FALSE;
    return answer;
}

HRESULT STDMETHODCALLTYPE TestFilter::GetSizeMax(ULARGE_INTEGER* out) {
    out->QuadPart = sizeof(State);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::GetPages(CAUUID* out) {
    *out = {};
    const HRESULT answer = arriveAt(behaviour, Place::getPages);
    if (FAILED(answer)) {
        return answer;
    }
    out->pElems = static_cast<CLSID*>(CoTaskMemAlloc(pages.size() * sizeof(CLSID)));
    if (out->pElems == nullptr) {
        return E_OUTOFMEMORY;
    }
    out->cElems = static_cast<ULONG>(pages.size());
    std::copy(pages.begin(), pages.end(), out->pElems);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::SetGain(float newGain) {
    gain = newGain;
    dirty = true;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestFilter::GetGain(float* out) {
    *out = gain;
    return S_OK;
}

} // namespace TestFilters
