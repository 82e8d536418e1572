#include "directx/TestOutputPin.h"

#include "directx/TestFilter.h"

namespace TestFilters {

namespace {

// More than any input brings: a filter may answer with more than it was given.
constexpr long outputBytes = 131072;

} // namespace

TestOutputPin::TestOutputPin(TestFilter& owner, unsigned index) : TestPin(owner, PINDIR_OUTPUT, index) {}

TestOutputPin::~TestOutputPin() {
    TestOutputPin::Disconnect();
}

HRESULT TestOutputPin::Commit() {
    return allocator != nullptr ? allocator->Commit() : S_OK;
}

void TestOutputPin::Decommit() {
    if (allocator != nullptr) {
        allocator->Decommit();
    }
}

HRESULT TestOutputPin::GetBuffer(IMediaSample** out) {
    return allocator != nullptr ? allocator->GetBuffer(out, nullptr, nullptr, 0) : VFW_E_NOT_CONNECTED;
}

HRESULT TestOutputPin::Deliver(IMediaSample* sample) {
    return input != nullptr ? input->Receive(sample) : VFW_E_NOT_CONNECTED;
}

HRESULT STDMETHODCALLTYPE TestOutputPin::Connect(IPin* receiver, const AM_MEDIA_TYPE* type) {
    HRESULT answer = arriveAt(Filter().GetBehaviour(), Place::connectOutput, {.type = type});
    if (FAILED(answer)) {
        return answer;
    }
    // What goes in comes out.
    const TestInputPin& from = Filter().Input();
    if (!from.IsConnected()) {
        return VFW_E_NOT_CONNECTED;
    }
    answer = receiver->ReceiveConnection(this, &from.Type());
    if (FAILED(answer)) {
        return answer;
    }
    Connected(receiver, from.Type());
    answer = AgreeOnAllocator();
    if (FAILED(answer)) {
        Disconnect();
    }
    return answer;
}

HRESULT TestOutputPin::AgreeOnAllocator() {
    HRESULT answer = Peer()->QueryInterface(IID_IMemInputPin, reinterpret_cast<void**>(&input));
    if (SUCCEEDED(answer)) {
        answer = input->GetAllocator(&allocator);
    }
    if (FAILED(answer)) {
        return answer;
    }
    ALLOCATOR_PROPERTIES wanted{};
    wanted.cBuffers = 2;
    wanted.cbBuffer = outputBytes;
    wanted.cbAlign = 1;
    ALLOCATOR_PROPERTIES actual{};
    answer = allocator->SetProperties(&wanted, &actual);
    return SUCCEEDED(answer) ? input->NotifyAllocator(allocator, FALSE) : answer;
}

HRESULT STDMETHODCALLTYPE TestOutputPin::ReceiveConnection(IPin*, const AM_MEDIA_TYPE*) {
    return E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE TestOutputPin::Disconnect() {
    Decommit();
    releaseAndClear(allocator);
    releaseAndClear(input);
    return TestPin::Disconnect();
}

HRESULT STDMETHODCALLTYPE TestOutputPin::QueryAccept(const AM_MEDIA_TYPE* type) {
    return isAudioOf(*type, Filter().GetBehaviour().integersOnly) ? S_OK : S_FALSE;
}

} // namespace TestFilters
