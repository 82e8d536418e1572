#pragma once

#include "directx/Interfaces.h"
#include "directx/TestPin.h"

namespace TestFilters {

class TestInputPin final : public TestPin, public IMemInputPin {
public:
    TestInputPin(TestFilter& owner, unsigned index);
    ~TestInputPin() override;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return TestPin::AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return TestPin::Release(); }

    HRESULT STDMETHODCALLTYPE Connect(IPin* receiver, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE* type) override;

    HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** out) override;
    HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* agreed, BOOL readOnly) override;
    HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES* out) override;
    HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;
    HRESULT STDMETHODCALLTYPE ReceiveMultiple(IMediaSample** samples, long count, long* processed) override;
    HRESULT STDMETHODCALLTYPE ReceiveCanBlock() override;

private:
    IMemAllocator* allocator = nullptr;
};

} // namespace TestFilters
