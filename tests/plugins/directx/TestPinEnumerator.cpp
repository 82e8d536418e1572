#include "directx/TestPinEnumerator.h"

#include "directx/TestFilter.h"

#include <algorithm>
#include <utility>

namespace TestFilters {

TestPinEnumerator::TestPinEnumerator(TestFilter& owner, std::vector<IPin*> list, std::size_t from)
    : filter(owner), pins(std::move(list)), position(from) {
    filter.AddRef();
}

TestPinEnumerator::~TestPinEnumerator() {
    filter.Release();
}

HRESULT STDMETHODCALLTYPE TestPinEnumerator::QueryInterface(REFIID iid, void** out) {
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IEnumPins)) {
        return give(static_cast<IEnumPins*>(this), out);
    }
    *out = nullptr;
    return E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE TestPinEnumerator::AddRef() {
    return counted.Add();
}

ULONG STDMETHODCALLTYPE TestPinEnumerator::Release() {
    const ULONG left = counted.Release();
    if (left == 0) {
        delete this;
    }
    return left;
}

HRESULT STDMETHODCALLTYPE TestPinEnumerator::Next(ULONG count, IPin** out, ULONG* fetched) {
    const HRESULT answer = arriveAt(filter.GetBehaviour(), Place::nextPin);
    if (FAILED(answer)) {
        return answer;
    }
    ULONG given = 0;
    for (; given < count && position < pins.size(); ++given) {
        out[given] = pins[position++];
        out[given]->AddRef();
    }
    if (fetched != nullptr) {
        *fetched = given;
    }
    return given == count ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE TestPinEnumerator::Skip(ULONG count) {
    const std::size_t left = pins.size() - position;
    position += std::min<std::size_t>(count, left);
    return count <= left ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE TestPinEnumerator::Reset() {
    position = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPinEnumerator::Clone(IEnumPins** out) {
    *out = new TestPinEnumerator(filter, pins, position);
    return S_OK;
}

} // namespace TestFilters
