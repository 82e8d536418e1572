// The library of all test filters: what COM asks of it, and its registration.
//
//   regsvr32 /n /i:NAME[@HEX],... TestFilters.dll      registers the named classes, each with HEX as the
//   first four bytes
//                                                      of its class identifier
//   regsvr32 /u /n /i:NAME[@HEX],... TestFilters.dll   takes them out again
//   regsvr32 /u TestFilters.dll                        takes out everything of this library's

#include "directx/Ledger.h"
#include "directx/TestClasses.h"
#include "directx/TestFactory.h"

#include <array>
#include <cwchar>
#include <string>

using namespace TestFilters;

namespace {

HMODULE ownModule = nullptr;

std::wstring textOf(const CLSID& id) {
    std::array<wchar_t, 39> text{};
    StringFromGUID2(id, text.data(), static_cast<int>(text.size()));
    return text.data();
}

HRESULT setValue(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
    const LSTATUS status = RegSetKeyValueW(
        HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, text.c_str(),
        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    return HRESULT_FROM_WIN32(static_cast<unsigned long>(status));
}

HRESULT registerServer(const CLSID& id, const std::wstring& description) {
    std::array<wchar_t, 32768> path{};
    GetModuleFileNameW(ownModule, path.data(), static_cast<DWORD>(path.size()));
    const std::wstring key = L"CLSID\\" + textOf(id);
    HRESULT answer = setValue(key, nullptr, description);
    if (SUCCEEDED(answer)) {
        answer = setValue(key + L"\\InprocServer32", nullptr, path.data());
    }
    return SUCCEEDED(answer) ? setValue(key + L"\\InprocServer32", L"ThreadingModel", L"Both") : answer;
}

/// Where the platform's own search for filters finds it: audio in, audio out.
HRESULT tellFilterMapper(const CLSID& id, const std::wstring& description) {
    IFilterMapper2* mapper = nullptr;
    HRESULT answer = CoCreateInstance(
        CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2,
        reinterpret_cast<void**>(&mapper));
    if (FAILED(answer)) {
        return answer;
    }
    const REGPINTYPES audio{&MEDIATYPE_Audio, &MEDIASUBTYPE_PCM};
    REGFILTERPINS2 pins[2]{};
    pins[0].nMediaTypes = pins[1].nMediaTypes = 1;
    pins[0].lpMediaType = pins[1].lpMediaType = &audio;
    pins[1].dwFlags = REG_PINFLAG_B_OUTPUT;
    REGFILTER2 filter{};
    filter.dwVersion = 2;
    filter.dwMerit = MERIT_DO_NOT_USE;
    filter.cPins2 = 2;
    filter.rgPins2 = pins;
    answer = mapper->RegisterFilter(id, description.c_str(), nullptr, nullptr, nullptr, &filter);
    mapper->Release();
    return answer;
}

void forgetInFilterMapper(const CLSID& id) {
    IFilterMapper2* mapper = nullptr;
    if (SUCCEEDED(CoCreateInstance(
            CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2,
            reinterpret_cast<void**>(&mapper)))) {
        mapper->UnregisterFilter(nullptr, nullptr, id);
        mapper->Release();
    }
}

HRESULT registerClass(const TestClass& which, unsigned long choice) {
    const CLSID id = classIdOf(which.name, choice);
    const std::wstring description = L"Test filter " + std::wstring(which.name.begin(), which.name.end());
    HRESULT answer = registerServer(id, description);
    if (SUCCEEDED(answer) && which.filterName) {
        answer = setValue(L"Filter\\" + textOf(id), nullptr, *which.filterName);
    }
    if (SUCCEEDED(answer) && which.behaviour.hasPage) {
        answer = registerServer(classIdOf(pageName), L"Test page");
    }
    return SUCCEEDED(answer) ? tellFilterMapper(id, description) : answer;
}

void unregisterClass(const CLSID& id) {
    forgetInFilterMapper(id);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, (L"Filter\\" + textOf(id)).c_str());
    RegDeleteTreeW(HKEY_CLASSES_ROOT, (L"CLSID\\" + textOf(id)).c_str());
}

/// Calls what(class, choice) for each class that the list names. False for a name that is nobody's.
template<class What>
HRESULT forEachNamed(const std::wstring& list, What what) {
    for (std::size_t from = 0; from <= list.size();) {
        const std::size_t end = std::min(list.find(L',', from), list.size());
        const std::wstring item = list.substr(from, end - from);
        const std::size_t at = std::min(item.find(L'@'), item.size());
        const std::string name(item.begin(), item.begin() + static_cast<std::ptrdiff_t>(at));
        const unsigned long choice = at < item.size() ? std::wcstoul(item.c_str() + at + 1, nullptr, 16) : 0;
        const TestClass* which = findTestClass(classIdOf(name));
        if (which == nullptr) {
            return E_INVALIDARG;
        }
        const HRESULT answer = what(*which, choice);
        if (FAILED(answer)) {
            return answer;
        }
        from = end + 1;
    }
    return S_OK;
}

} // namespace

extern "C" {

HRESULT WINAPI DllGetClassObject(REFCLSID id, REFIID iid, LPVOID* out) {
    *out = nullptr;
    TestFactory* factory = nullptr;
    if (IsEqualCLSID(id, classIdOf(pageName))) {
        factory = new TestFactory([](REFIID wanted, void** made) { return makeTestPage({}, wanted, made); });
    } else if (const TestClass* which = findTestClass(id)) {
        factory = new TestFactory([which](REFIID wanted, void** made) {
            return which->factoryFails
                       ? E_FAIL
                       : makeTestFilter(which->behaviour, {classIdOf(pageName)}, wanted, made);
        });
    } else {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    return handOut(factory, iid, out);
}

HRESULT WINAPI DllCanUnloadNow() {
    return Ledger::Instance().Living() == 0 ? S_OK : S_FALSE;
}

HRESULT WINAPI DllInstall(BOOL install, LPCWSTR list) {
    return forEachNamed(list != nullptr ? list : L"", [&](const TestClass& which, unsigned long choice) {
        if (install != FALSE) {
            return registerClass(which, choice);
        }
        unregisterClass(classIdOf(which.name, choice));
        return S_OK;
    });
}

HRESULT WINAPI DllRegisterServer() {
    return E_NOTIMPL;
}

HRESULT WINAPI DllUnregisterServer() {
    HKEY classes = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, L"CLSID", 0, KEY_READ, &classes) != ERROR_SUCCESS) {
        return E_FAIL;
    }
    std::vector<CLSID> ours;
    std::array<wchar_t, 256> name{};
    for (DWORD index = 0;; ++index) {
        auto length = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(classes, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            break;
        }
        CLSID id{};
        if (SUCCEEDED(CLSIDFromString(name.data(), &id)) &&
            (findTestClass(id) != nullptr || IsEqualCLSID(id, classIdOf(pageName)))) {
            ours.push_back(id);
        }
    }
    RegCloseKey(classes);
    for (const CLSID& id : ours) {
        unregisterClass(id);
    }
    return S_OK;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID);
BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        ownModule = module;
    }
    return TRUE;
}

} // extern "C"
