#pragma once

#include "hosting/dx/DXBaseFilter_win32.h"
#include "hosting/dx/DXSourcePin_win32.h"

#include <cstdint>

namespace Tarvik {

/// The filter that a graph's audio comes out of. [main]
class DXSourceFilter final : public DXBaseFilter {
public:
    DXSourceFilter(float rate, std::uint32_t layout);
    ~DXSourceFilter() override;

    DXSourcePin* GetPin() const noexcept { return pin.Get(); }

private:
    IPin* Pin() noexcept override { return pin.Get(); }
    const char* PinName() const noexcept override { return DXSourcePin::name; }

    ComPointer<DXSourcePin> pin;
};

} // namespace Tarvik
