#include "directx/TestInputPin.h"

#include "directx/TestFilter.h"

namespace TestFilters {

TestInputPin::TestInputPin(TestFilter& owner, unsigned index) : TestPin(owner, PINDIR_INPUT, index) {}

TestInputPin::~TestInputPin() {
    releaseAndClear(allocator);
}

HRESULT STDMETHODCALLTYPE TestInputPin::QueryInterface(REFIID iid, void** out) {
    if (!IsEqualIID(iid, IID_IMemInputPin)) {
        return TestPin::QueryInterface(iid, out);
    }
    const HRESULT answer = arriveAt(Filter().GetBehaviour(), Place::queryMemInputPin);
    if (FAILED(answer)) {
        *out = nullptr;
        return answer;
    }
    return give(static_cast<IMemInputPin*>(this), out);
}

HRESULT STDMETHODCALLTYPE TestInputPin::Connect(IPin*, const AM_MEDIA_TYPE*) {
    return E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE TestInputPin::QueryAccept(const AM_MEDIA_TYPE* type) {
    const HRESULT answer = arriveAt(Filter().GetBehaviour(), Place::queryAccept, {.type = type});
    if (answer != S_OK) {
        return answer;
    }
    return isAudioOf(*type, Filter().GetBehaviour().integersOnly) ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE TestInputPin::ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* type) {
    const HRESULT answer = arriveAt(Filter().GetBehaviour(), Place::receiveConnection, {.type = type});
    if (FAILED(answer)) {
        return answer;
    }
    if (IsConnected()) {
        return VFW_E_ALREADY_CONNECTED;
    }
    if (!isAudioOf(*type, Filter().GetBehaviour().integersOnly)) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    Connected(connector, *type);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestInputPin::GetAllocator(IMemAllocator** out) {
    *out = nullptr;
    return VFW_E_NO_ALLOCATOR;
}

HRESULT STDMETHODCALLTYPE TestInputPin::NotifyAllocator(IMemAllocator* agreed, BOOL readOnly) {
    const HRESULT answer = arriveAt(
        Filter().GetBehaviour(), Place::notifyAllocator,
        {.allocator = agreed, .argument = static_cast<UINT>(readOnly)});
    if (FAILED(answer)) {
        return answer;
    }
    agreed->AddRef();
    releaseAndClear(allocator);
    allocator = agreed;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestInputPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES*) {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE TestInputPin::Receive(IMediaSample* sample) {
    return Filter().Receive(sample);
}

HRESULT STDMETHODCALLTYPE TestInputPin::ReceiveMultiple(IMediaSample** samples, long count, long* processed) {
    HRESULT answer = S_OK;
    for (*processed = 0; *processed < count && answer == S_OK; ++*processed) {
        answer = Receive(samples[*processed]);
    }
    return answer;
}

HRESULT STDMETHODCALLTYPE TestInputPin::ReceiveCanBlock() {
    return S_FALSE;
}

} // namespace TestFilters
