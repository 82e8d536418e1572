#include "hosting/dx/WatchedPlatform_win32.h"

#include "directx/Counted.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using Tarvik::ComPointer;
using TestFilters::Counted;
using TestFilters::give;

/// Past the class that stands in the test's program.
template<class T>
HRESULT createReal(const CLSID& id, REFIID iid, ComPointer<T>& out) {
    using GetClassObject = HRESULT(STDMETHODCALLTYPE*)(REFCLSID, REFIID, void**);
    const HMODULE library = LoadLibraryW(L"quartz.dll");
    const FARPROC found = GetProcAddress(library, "DllGetClassObject");
    if (found == nullptr) {
        return E_FAIL;
    }
    ComPointer<IClassFactory> factory;
    HRESULT answer = Tarvik::receiveObject(factory, [&](IClassFactory** to) {
        return reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(found))(
            id, IID_IClassFactory, reinterpret_cast<void**>(to));
    });
    if (SUCCEEDED(answer)) {
        answer = Tarvik::receiveObject(
            out, [&](T** to) { return factory->CreateInstance(nullptr, iid, reinterpret_cast<void**>(to)); });
    }
    return answer;
}

/// An object in front of a real one, which goes with it.
template<class Interface>
class Watched : private noncopyable {
public:
    Watched(WatchedPlatform& platform, std::string name, ComPointer<Interface> realObject)
        : watcher(platform), label(std::move(name)), real(std::move(realObject)), counted(label) {}

protected:
    ~Watched() = default;

    template<class Call>
    HRESULT Pass(const char* call, Call pass) const {
        return Pass(call, {}, pass);
    }
    template<class Call>
    HRESULT Pass(const char* call, const std::string& argument, Call pass) const {
        const HRESULT answer = watcher.Arrive(label + ": " + call, argument);
        return answer == S_OK ? pass() : answer;
    }
    /// True when the real object has gone.
    void End() {
        watcher.calls.push_back(label + ": end");
        if (Interface* going = real.Detach(); going->Release() != 0) {
            ++watcher.unsettled;
        }
    }

    WatchedPlatform& watcher;
    std::string label;
    ComPointer<Interface> real;
    Counted counted;
};

class WatchedSample final : public IMediaSample, private Watched<IMediaSample> {
public:
    using Watched::Watched;
    // The allocator keeps the memory, and with it a count of its own.
    virtual ~WatchedSample() { watcher.calls.push_back(label + ": end"); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IMediaSample)) {
            return give(static_cast<IMediaSample*>(this), out);
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return counted.Add(); }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = counted.Release();
        if (left == 0) {
            delete this;
        }
        return left;
    }
    HRESULT STDMETHODCALLTYPE GetPointer(BYTE** out) override { return real->GetPointer(out); }
    long STDMETHODCALLTYPE GetSize() override { return real->GetSize(); }
    HRESULT STDMETHODCALLTYPE GetTime(REFERENCE_TIME* from, REFERENCE_TIME* to) override {
        return real->GetTime(from, to);
    }
    HRESULT STDMETHODCALLTYPE SetTime(REFERENCE_TIME* from, REFERENCE_TIME* to) override {
        return real->SetTime(from, to);
    }
    HRESULT STDMETHODCALLTYPE IsSyncPoint() override { return real->IsSyncPoint(); }
    HRESULT STDMETHODCALLTYPE SetSyncPoint(BOOL is) override {
        return Pass(
            is != FALSE ? "SetSyncPoint true" : "SetSyncPoint false", [&] { return real->SetSyncPoint(is); });
    }
    HRESULT STDMETHODCALLTYPE IsPreroll() override { return real->IsPreroll(); }
    HRESULT STDMETHODCALLTYPE SetPreroll(BOOL is) override {
        return Pass(
            is != FALSE ? "SetPreroll true" : "SetPreroll false", [&] { return real->SetPreroll(is); });
    }
    long STDMETHODCALLTYPE GetActualDataLength() override { return real->GetActualDataLength(); }
    HRESULT STDMETHODCALLTYPE SetActualDataLength(long length) override {
        return Pass("SetActualDataLength", [&] { return real->SetActualDataLength(length); });
    }
    HRESULT STDMETHODCALLTYPE GetMediaType(AM_MEDIA_TYPE** out) override { return real->GetMediaType(out); }
    HRESULT STDMETHODCALLTYPE SetMediaType(AM_MEDIA_TYPE* type) override { return real->SetMediaType(type); }
    HRESULT STDMETHODCALLTYPE IsDiscontinuity() override { return real->IsDiscontinuity(); }
    HRESULT STDMETHODCALLTYPE SetDiscontinuity(BOOL is) override {
        return Pass(is != FALSE ? "SetDiscontinuity true" : "SetDiscontinuity false", [&] {
            return real->SetDiscontinuity(is);
        });
    }
    HRESULT STDMETHODCALLTYPE GetMediaTime(LONGLONG* from, LONGLONG* to) override {
        return real->GetMediaTime(from, to);
    }
    HRESULT STDMETHODCALLTYPE SetMediaTime(LONGLONG* from, LONGLONG* to) override {
        return real->SetMediaTime(from, to);
    }
};

class WatchedAllocator final : public IMemAllocator, private Watched<IMemAllocator> {
public:
    WatchedAllocator(WatchedPlatform& platform, int index, ComPointer<IMemAllocator> realAllocator)
        : Watched(platform, "allocator " + std::to_string(index), std::move(realAllocator)), number(index) {}
    virtual ~WatchedAllocator() { End(); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IMemAllocator)) {
            return give(static_cast<IMemAllocator*>(this), out);
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return counted.Add(); }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = counted.Release();
        if (left == 0) {
            delete this;
        }
        return left;
    }
    HRESULT STDMETHODCALLTYPE
    SetProperties(ALLOCATOR_PROPERTIES* request, ALLOCATOR_PROPERTIES* actual) override {
        const HRESULT answer = Pass("SetProperties", [&] { return real->SetProperties(request, actual); });
        if (number == 1) {
            watcher.firstAllocator = this;
            watcher.requested = *request;
            if (watcher.changeActual) {
                watcher.changeActual(*actual);
            }
        }
        return answer;
    }
    HRESULT STDMETHODCALLTYPE GetProperties(ALLOCATOR_PROPERTIES* out) override {
        return real->GetProperties(out);
    }
    HRESULT STDMETHODCALLTYPE Commit() override {
        return Pass("Commit", [&] { return real->Commit(); });
    }
    HRESULT STDMETHODCALLTYPE Decommit() override {
        return Pass("Decommit", [&] { return real->Decommit(); });
    }
    HRESULT STDMETHODCALLTYPE
    GetBuffer(IMediaSample** out, REFERENCE_TIME* from, REFERENCE_TIME* to, DWORD flags) override {
        *out = nullptr;
        if (number == 1) {
            watcher.bufferRequested = {from != nullptr, to != nullptr, flags};
        }
        return Pass("GetBuffer", [&] {
            ComPointer<IMediaSample> sample;
            const HRESULT answer = Tarvik::receiveObject(
                sample, [&](IMediaSample** made) { return real->GetBuffer(made, from, to, flags); });
            if (SUCCEEDED(answer)) {
                *out = new WatchedSample(watcher, "sample " + std::to_string(number), std::move(sample));
            }
            return answer;
        });
    }
    HRESULT STDMETHODCALLTYPE ReleaseBuffer(IMediaSample*) override { return E_NOTIMPL; }

private:
    int number;
};

/// A pin's identifier.
std::string whichOf(IPin* pin) {
    LPWSTR id = nullptr;
    if (FAILED(pin->QueryId(&id))) {
        return "?";
    }
    const std::wstring text = id;
    CoTaskMemFree(id);
    return {text.begin(), text.end()};
}

std::string whichOf(IBaseFilter* filter) {
    for (const auto& [id, name] : {std::pair(L"DXSourcePin", "source"), {L"DXSinkPin", "sink"}}) {
        ComPointer<IPin> pin;
        if (SUCCEEDED(Tarvik::receiveObject(pin, [&](IPin** out) { return filter->FindPin(id, out); }))) {
            return name;
        }
    }
    return "plug-in";
}

class WatchedGraph final : public IFilterGraph, public IMediaControl, private Watched<IFilterGraph> {
public:
    WatchedGraph(WatchedPlatform& platform, ComPointer<IFilterGraph> realGraph)
        : Watched(platform, "graph", std::move(realGraph)) {
        EXPECT_EQ(Tarvik::queryInterface(real.Get(), IID_IMediaControl, control), S_OK);
    }
    virtual ~WatchedGraph() {
        control.Reset();
        End();
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        *out = nullptr;
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IFilterGraph)) {
            return give(static_cast<IFilterGraph*>(this), out);
        }
        if (IsEqualIID(iid, IID_IMediaControl)) {
            return Pass("IMediaControl", [&] { return give(static_cast<IMediaControl*>(this), out); });
        }
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return counted.Add(); }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = counted.Release();
        if (left == 0) {
            delete this;
        }
        return left;
    }

    HRESULT STDMETHODCALLTYPE AddFilter(IBaseFilter* filter, LPCWSTR name) override {
        if (watcher.onAddFilter) {
            watcher.onAddFilter(filter);
        }
        EXPECT_EQ(name, nullptr);
        return Pass("AddFilter", whichOf(filter), [&] { return real->AddFilter(filter, name); });
    }
    HRESULT STDMETHODCALLTYPE RemoveFilter(IBaseFilter* filter) override {
        return Pass("RemoveFilter", whichOf(filter), [&] { return real->RemoveFilter(filter); });
    }
    HRESULT STDMETHODCALLTYPE EnumFilters(IEnumFilters** out) override { return real->EnumFilters(out); }
    HRESULT STDMETHODCALLTYPE FindFilterByName(LPCWSTR name, IBaseFilter** out) override {
        return real->FindFilterByName(name, out);
    }
    HRESULT STDMETHODCALLTYPE ConnectDirect(IPin* from, IPin* to, const AM_MEDIA_TYPE* type) override {
        if (watcher.onConnectDirect) {
            watcher.onConnectDirect(type);
        }
        return Pass(type != nullptr ? "ConnectDirect by type" : "ConnectDirect", [&] {
            return real->ConnectDirect(from, to, type);
        });
    }
    HRESULT STDMETHODCALLTYPE Reconnect(IPin* pin) override { return real->Reconnect(pin); }
    HRESULT STDMETHODCALLTYPE Disconnect(IPin* pin) override {
        return Pass("Disconnect", whichOf(pin), [&] { return real->Disconnect(pin); });
    }
    HRESULT STDMETHODCALLTYPE SetDefaultSyncSource() override { return real->SetDefaultSyncSource(); }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE
    Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Run() override {
        return Pass("Run", [&] { return control->Run(); });
    }
    HRESULT STDMETHODCALLTYPE Pause() override { return control->Pause(); }
    HRESULT STDMETHODCALLTYPE Stop() override {
        return Pass("Stop", [&] { return control->Stop(); });
    }
    HRESULT STDMETHODCALLTYPE GetState(LONG timeoutMs, OAFilterState* out) override {
        return control->GetState(timeoutMs, out);
    }
    HRESULT STDMETHODCALLTYPE RenderFile(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE AddSourceFilter(BSTR, IDispatch**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_FilterCollection(IDispatch**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_RegFilterCollection(IDispatch**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE StopWhenReady() override { return E_NOTIMPL; }

private:
    ComPointer<IMediaControl> control;
};

} // namespace

WatchedPlatform::WatchedPlatform()
    : graphClass(std::make_unique<ClassObject>(
          CLSID_FilterGraph,
          [this](REFIID iid, void** out) {
              HRESULT answer = Arrive("graph: creation");
              ComPointer<IFilterGraph> real;
              if (SUCCEEDED(answer)) {
                  answer = createReal(CLSID_FilterGraph, IID_IFilterGraph, real);
              }
              return SUCCEEDED(answer)
                         ? TestFilters::handOut(new WatchedGraph(*this, std::move(real)), iid, out)
                         : answer;
          })),
      allocatorClass(std::make_unique<ClassObject>(CLSID_MemoryAllocator, [this](REFIID iid, void** out) {
          const int index = ++allocators;
          HRESULT answer = Arrive("allocator " + std::to_string(index) + ": creation");
          ComPointer<IMemAllocator> real;
          if (SUCCEEDED(answer)) {
              answer = createReal(CLSID_MemoryAllocator, IID_IMemAllocator, real);
          }
          return SUCCEEDED(answer)
                     ? TestFilters::handOut(new WatchedAllocator(*this, index, std::move(real)), iid, out)
                     : answer;
      })) {}

WatchedPlatform::~WatchedPlatform() = default;

HRESULT WatchedPlatform::Arrive(const std::string& call, const std::string& argument) {
    calls.push_back(argument.empty() ? call : call + " " + argument);
    const int count = ++counts[call];
    for (const std::string& name : {call, call + " " + std::to_string(count)}) {
        if (const auto found = failures.find(name); found != failures.end()) {
            return found->second;
        }
    }
    return S_OK;
}
