#pragma once

#include "directx/Behaviour.h"
#include "directx/TestFactory.h"
#include "hosting/dx/ComPointer_win32.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// COM on this thread, as the main thread of a program with windows has it.
class ComApartment : private noncopyable {
public:
    ComApartment();
    ~ComApartment();
};

/// A class whose objects a function of this program makes. It takes the place of one that is registered with
/// the system, for as long as the object lives.
class ClassObject : private noncopyable {
public:
    ClassObject(const CLSID& id, TestFilters::TestFactory::Make make, DWORD context = CLSCTX_INPROC_SERVER);
    ~ClassObject();

private:
    DWORD cookie = 0;
};

CLSID newClassId();

/// 36 characters, upper case.
String classIdText(const CLSID& id);

/// A default value below HKEY_CLASSES_ROOT\Filter, which goes with the object.
class FilterName : private noncopyable {
public:
    FilterName(const CLSID& id, const std::wstring& name);
    ~FilterName();

private:
    std::wstring key;
};

/// A test filter of this program under a class identifier of its own, with a name, and its property pages:
/// one that it tells for each element of pageClassExists.
class RegisteredFilter : private noncopyable {
public:
    explicit RegisteredFilter(
        TestFilters::Behaviour filterBehaviour = {}, std::optional<std::wstring> name = L"Test filter",
        const std::vector<bool>& pageClassExists = {true});

    const CLSID& Id() const { return id; }
    String Text() const { return classIdText(id); }
    /// The filter that was made last, if it lives still.
    TestFilters::IGain* Last() const { return last; }
    /// Sets the gain of the last one.
    void SetGain(float gain) const { last->SetGain(gain); }

private:
    CLSID id = newClassId();
    std::vector<CLSID> pageIds;
    TestFilters::Behaviour behaviour;
    TestFilters::IGain* last = nullptr;
    std::optional<FilterName> filterName;
    std::optional<ClassObject> filterClass;
    std::vector<std::unique_ptr<ClassObject>> pageClasses;
};
