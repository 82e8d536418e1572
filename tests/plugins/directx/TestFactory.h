#pragma once

#include "directx/Behaviour.h"
#include "directx/Interfaces.h"

#include <atomic>
#include <functional>
#include <utility>
#include <vector>

namespace TestFilters {

/// A class factory around a function that makes an object, with the one reference that it begins with. Begins
/// with a reference of its own.
class TestFactory final : public IClassFactory {
public:
    using Make = std::function<HRESULT(REFIID iid, void** out)>;

    explicit TestFactory(Make how) : make(std::move(how)) {}
    virtual ~TestFactory() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IClassFactory)) {
            return give(static_cast<IClassFactory*>(this), out);
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        *out = nullptr;
        return outer != nullptr ? CLASS_E_NOAGGREGATION : make(iid, out);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    Make make;
    std::atomic<ULONG> references = 1;
};

/// Asks a new object for an interface and gives up the reference that it began with.
template<class Object>
HRESULT handOut(Object* object, REFIID iid, void** out) {
    const HRESULT answer = object->QueryInterface(iid, out);
    object->Release();
    return answer;
}

/// A new filter of a behaviour; pages are the property pages that it tells.
HRESULT makeTestFilter(const Behaviour& behaviour, const std::vector<CLSID>& pages, REFIID iid, void** out);
/// A new property page; of the behaviour only its places of a page count.
HRESULT makeTestPage(const Behaviour& behaviour, REFIID iid, void** out);

} // namespace TestFilters
