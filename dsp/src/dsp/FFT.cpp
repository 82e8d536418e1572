#include "dsp/FFT.h"

#include "dsp/FFTPlan.h"
#include "dsp/KernelFailure.h"
#include "svbase/util/Noncopyable.h"

#include <new>
#include <utility>

namespace DSP {

namespace {

class PlannedFFT final : public FFT, noncopyable {
public:
    explicit PlannedFFT(FFTPlan made) : plan(std::move(made)) {}

    unsigned GetOrder() const noexcept override { return plan.order; }
    std::size_t GetBufferBytes() const noexcept override { return plan.bufferBytes; }
    void Forward(const float* signal, float* packed, void* buffer) const noexcept override {
        plan.forward(plan, signal, packed, buffer);
    }
    void Inverse(const float* packed, float* signal, void* buffer) const noexcept override {
        plan.inverse(plan, packed, signal, buffer);
    }

private:
    const FFTPlan plan;
};

void Check(KernelStatus status) {
    if (status != KernelStatus::Ok) {
        THROW_HERE(KernelFailure, String("IPP failure: %1").arg(GetStatusText(status)));
    }
}

KernelStatus MakeState(unsigned order, std::unique_ptr<const FFT>& state) {
    if (order > maxFFTOrder) {
        return KernelStatus::OrderOutOfRange;
    }
    try {
        state = std::make_unique<const PlannedFFT>(MakeFFTPlan(order));
    } catch (const std::bad_alloc&) {
        return KernelStatus::OutOfMemory;
    }
    return KernelStatus::Ok;
}

} // namespace

std::unique_ptr<const FFT> CreateFFT(unsigned order) {
    std::unique_ptr<const FFT> state;
    Check(MakeState(order, state));
    return state;
}

} // namespace DSP
