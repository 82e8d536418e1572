#include "hosting/dx/DXSourceFilter_win32.h"

namespace Tarvik {

DXSourceFilter::DXSourceFilter(float rate, std::uint32_t layout)
    : DXBaseFilter(rate, layout), pin(ComPointer<DXSourcePin>::Share(new DXSourcePin(this))) {}

DXSourceFilter::~DXSourceFilter() {
    pin->ForgetFilter();
}

} // namespace Tarvik
