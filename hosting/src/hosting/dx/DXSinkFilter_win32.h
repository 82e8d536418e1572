#pragma once

#include "hosting/dx/DXBaseFilter_win32.h"
#include "hosting/dx/DXSinkPin_win32.h"

#include <cstdint>

namespace Tarvik {

/// The filter that a graph's audio goes into. [main]
class DXSinkFilter final : public DXBaseFilter {
public:
    /// bufferedFloats: see DXSinkPin.
    DXSinkFilter(float rate, std::uint32_t layout, std::uint32_t bufferedFloats);
    ~DXSinkFilter() override;

    DXSinkPin* GetPin() const noexcept { return pin.Get(); }

private:
    IPin* Pin() noexcept override { return pin.Get(); }
    const char* PinName() const noexcept override { return DXSinkPin::name; }

    ComPointer<DXSinkPin> pin;
};

} // namespace Tarvik
