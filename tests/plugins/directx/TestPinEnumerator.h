#pragma once

#include "directx/Counted.h"
#include "directx/Interfaces.h"

#include <cstddef>
#include <vector>

namespace TestFilters {

class TestFilter;

class TestPinEnumerator final : public IEnumPins {
public:
    TestPinEnumerator(TestFilter& owner, std::vector<IPin*> list, std::size_t from);
    virtual ~TestPinEnumerator();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE Next(ULONG count, IPin** out, ULONG* fetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumPins** out) override;

private:
    Counted counted{"pin enumerator"};
    TestFilter& filter;
    std::vector<IPin*> pins;
    std::size_t position;
};

} // namespace TestFilters
