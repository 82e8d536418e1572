#include "hosting/dx/DXSinkFilter_win32.h"

namespace Tarvik {

DXSinkFilter::DXSinkFilter(float rate, std::uint32_t layout, std::uint32_t bufferedFloats)
    : DXBaseFilter(rate, layout), pin(ComPointer<DXSinkPin>::Share(new DXSinkPin(this, bufferedFloats))) {}

DXSinkFilter::~DXSinkFilter() {
    pin->ForgetFilter();
}

} // namespace Tarvik
