#pragma once

#include "directx/Interfaces.h"
#include "directx/TestPin.h"

namespace TestFilters {

class TestOutputPin final : public TestPin {
public:
    TestOutputPin(TestFilter& owner, unsigned index);
    ~TestOutputPin() override;

    /// Memory for what is delivered, between the two.
    HRESULT Commit();
    void Decommit();
    HRESULT GetBuffer(IMediaSample** out);
    /// To whoever is connected. [any]
    HRESULT Deliver(IMediaSample* sample);

    HRESULT STDMETHODCALLTYPE Connect(IPin* receiver, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE Disconnect() override;
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE* type) override;

private:
    HRESULT AgreeOnAllocator();

    IMemInputPin* input = nullptr;
    IMemAllocator* allocator = nullptr;
};

} // namespace TestFilters
