#include "parent/DirectXRegistry_win32.h"

#include "svbase/util/ConfigFile.h"
#include "svbase/util/Noncopyable.h"

#include <windows.h>

#include <objbase.h>

#include <oaidl.h>
#include <ocidl.h>

#include <strmif.h>

#include <uuids.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <vector>

namespace Tarvik {

namespace {

struct ReleaseObject {
    void operator()(IUnknown* object) const { object->Release(); }
};
template<class T>
using Owned = std::unique_ptr<T, ReleaseObject>;

class Apartment : noncopyable {
public:
    ~Apartment() {
        if (SUCCEEDED(answer)) {
            CoUninitialize();
        }
    }

private:
    // Where somebody else made COM ready, of whatever kind, that serves as well.
    HRESULT answer = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);
};

class Variant : noncopyable {
public:
    Variant() { VariantInit(&value_); }
    ~Variant() { VariantClear(&value_); }

    VARIANT* out() { return &value_; }
    /// Empty for what is no text.
    String text() const { return value_.vt == VT_BSTR ? String::fromWide(value_.bstrVal) : String(); }

private:
    VARIANT value_{};
};

class RegistryKey : noncopyable {
public:
    explicit RegistryKey(const String& pathInClassesRoot) {
        if (RegOpenKeyExW(
                HKEY_CLASSES_ROOT, pathInClassesRoot.toNativeWide().c_str(), 0, KEY_QUERY_VALUE, &key_) !=
            ERROR_SUCCESS) {
            key_ = nullptr;
        }
    }
    ~RegistryKey() {
        if (key_ != nullptr) {
            RegCloseKey(key_);
        }
    }

    explicit operator bool() const { return key_ != nullptr; }

    /// With environment variables filled in, as COM does. Empty where there is none, or no text.
    String defaultValue() const {
        std::vector<wchar_t> text(1024);
        for (;;) {
            auto bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
            // One with variables in it counts as a text once they are filled in.
            const LSTATUS status =
                RegGetValueW(key_, nullptr, nullptr, RRF_RT_REG_SZ, nullptr, text.data(), &bytes);
            if (status == ERROR_SUCCESS) {
                return String::fromWide(text.data());
            }
            if (status != ERROR_MORE_DATA || text.size() > longestText) {
                return {};
            }
            text.resize(text.size() * 2);
        }
    }

private:
    /// No path is longer.
    static constexpr std::size_t longestText = 32768;

    HKEY key_ = nullptr;
};

String bracedText(const ClassId& id) {
    return "{" + ClassIdToString(id) + "}";
}

/// Sixteen zeros for what is none.
ClassId classIdOf(const String& braced) {
    const ClassId id = ClassIdFromString(braced.mid(1, 36));
    return bracedText(id) == braced.toUpper() ? id : ClassId{};
}

/// COM takes what stands between quotes.
String unquoted(const String& path) {
    const auto open = path.indexOf('"');
    if (!open.valid) {
        return path;
    }
    const auto close = path.indexOf('"', open.value + 1);
    return path.mid(
        open.value + 1,
        close.valid ? checked_value(close.value - open.value - 1) : checked_value<String::size_type>());
}

/// A name without a folder is looked for where the loader would.
bool moduleStands(const String& path) {
    std::array<wchar_t, 32768> found{};
    return SearchPathW(
               nullptr, path.toNativeWide().c_str(), L".dll", static_cast<DWORD>(found.size()), found.data(),
               nullptr) != 0;
}

DirectXFilter lookUp(const ClassId& id, const String& listedName) {
    DirectXFilter filter;
    filter.classId = id;
    filter.listedName = listedName;
    const String braced = bracedText(id);
    // As the scanner asks for it.
    filter.name =
        Util::ConfigFile("Filter/" + braced, Util::ConfigFile::Hive::ClassesRoot).readString("", "");
    if (!RegistryKey("CLSID\\" + braced)) {
        // "Filter" is the same for all processes, "CLSID" is not.
        filter.registration = RegistryKey("Wow6432Node\\CLSID\\" + braced)
                                  ? DirectXFilter::Registration::otherProcessor
                                  : DirectXFilter::Registration::noClass;
        return filter;
    }
    const RegistryKey server("CLSID\\" + braced + "\\InprocServer32");
    filter.module = server ? unquoted(server.defaultValue()).trimmed() : String();
    filter.registration = filter.module.isEmpty()       ? DirectXFilter::Registration::noModule
                          : moduleStands(filter.module) ? DirectXFilter::Registration::complete
                                                        : DirectXFilter::Registration::moduleMissing;
    return filter;
}

/// What the platform calls them, by class.
using Found = std::map<ClassId, String>;

void addNamed(Found& found) {
    std::vector<String> names;
    Util::ConfigFile("Filter", Util::ConfigFile::Hive::ClassesRoot).subkeys(names, "");
    for (const String& name : names) {
        if (const ClassId id = classIdOf(name); id != ClassId{}) {
            found.try_emplace(id);
        }
    }
}

void addMoniker(IMoniker& moniker, Found& found) {
    IPropertyBag* bag = nullptr;
    if (FAILED(moniker.BindToStorage(nullptr, nullptr, IID_IPropertyBag, reinterpret_cast<void**>(&bag))) ||
        bag == nullptr) {
        return;
    }
    const Owned<IPropertyBag> owned(bag);
    Variant classId;
    Variant name;
    if (FAILED(bag->Read(L"CLSID", classId.out(), nullptr))) {
        return;
    }
    const bool isNamed = SUCCEEDED(bag->Read(L"FriendlyName", name.out(), nullptr));
    if (const ClassId id = classIdOf(classId.text()); id != ClassId{}) {
        // Devices share the class of their filter: the first is as good as the last.
        found.try_emplace(id, isNamed ? name.text() : String());
    }
}

/// needsInput, or else needs output: audio of any kind on such a pin.
HRESULT addMapped(IFilterMapper2& mapper, bool needsInput, Found& found) {
    const std::array<GUID, 2> audio{MEDIATYPE_Audio, GUID_NULL};
    const DWORD inputTypes = needsInput ? 1 : 0;
    const DWORD outputTypes = needsInput ? 0 : 1;
    IEnumMoniker* monikers = nullptr;
    const HRESULT answer = mapper.EnumMatchingFilters(
        &monikers, 0, FALSE, 0, needsInput, inputTypes, needsInput ? audio.data() : nullptr, nullptr, nullptr,
        FALSE, !needsInput, outputTypes, needsInput ? nullptr : audio.data(), nullptr, nullptr);
    if (FAILED(answer) || monikers == nullptr) {
        return answer;
    }
    const Owned<IEnumMoniker> owned(monikers);
    IMoniker* moniker = nullptr;
    while (monikers->Next(1, &moniker, nullptr) == S_OK && moniker != nullptr) {
        const Owned<IMoniker> each(moniker);
        addMoniker(*moniker, found);
        moniker = nullptr;
    }
    return S_OK;
}

HRESULT addListed(Found& found) {
    const Apartment apartment;
    void* object = nullptr;
    const HRESULT answer =
        CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2, &object);
    if (FAILED(answer)) {
        return answer;
    }
    const Owned<IFilterMapper2> mapper(static_cast<IFilterMapper2*>(object));
    const HRESULT withInput = addMapped(*mapper, true, found);
    const HRESULT withOutput = addMapped(*mapper, false, found);
    return FAILED(withInput) ? withInput : withOutput;
}

} // namespace

DirectXFilterList registeredDirectXFilters() {
    DirectXFilterList list;
    Found found;
    if (const HRESULT answer = addListed(found); FAILED(answer)) {
        list.problem = String("The platform's list of filters is not to be had: 0x%1")
                           .arg(static_cast<std::uint32_t>(answer), 16, 8);
    }
    addNamed(found);
    for (const auto& [id, listedName] : found) {
        list.filters.push_back(lookUp(id, listedName));
    }
    return list;
}

} // namespace Tarvik
