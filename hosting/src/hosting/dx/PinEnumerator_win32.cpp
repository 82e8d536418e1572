#include "hosting/dx/PinEnumerator_win32.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Tarvik {

PinEnumerator::PinEnumerator(IPin* pin) : CUnknown("PinEnumerator", nullptr) {
    pins.push_back(ComPointer<IPin>::Share(pin));
}

PinEnumerator::PinEnumerator(std::vector<ComPointer<IPin>> list, std::uint32_t from) noexcept
    : CUnknown("PinEnumerator", nullptr), pins(std::move(list)), position(from) {}

HRESULT STDMETHODCALLTYPE PinEnumerator::NonDelegatingQueryInterface(REFIID iid, void** out) {
    if (IsEqualIID(iid, IID_IEnumPins)) {
        return GetInterface(static_cast<IEnumPins*>(this), out);
    }
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT STDMETHODCALLTYPE PinEnumerator::Next(ULONG count, IPin** out, ULONG* fetched) {
    if (fetched != nullptr) {
        *fetched = 0;
    }
    if (out == nullptr) {
        return E_POINTER;
    }
    if (count == 0) {
        return S_OK;
    }
    if (position > pins.size()) {
        return E_UNEXPECTED;
    }
    if (fetched == nullptr && count > 1) {
        // Nobody could tell how many there are.
        return E_INVALIDARG;
    }
    const ULONG given = std::min<ULONG>(count, static_cast<ULONG>(pins.size()) - position);
    for (ULONG i = 0; i < given; ++i) {
        out[i] = pins[position++].Give();
    }
    if (fetched != nullptr) {
        *fetched = given;
    }
    return given == count ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE PinEnumerator::Skip(ULONG count) {
    position += std::min<ULONG>(count, std::numeric_limits<std::uint32_t>::max() - position);
    return position <= pins.size() ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE PinEnumerator::Reset() {
    position = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE PinEnumerator::Clone(IEnumPins** out) {
    return giveNew<PinEnumerator>(out, pins, position);
}

} // namespace Tarvik
