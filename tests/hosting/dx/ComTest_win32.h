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
    ClassObject(const CLSID& id, TestFilters::TestFactory::Make make);
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

/// A test filter of this program under a class identifier of its own, with a name, and its property page.
class RegisteredFilter : private noncopyable {
public:
    explicit RegisteredFilter(
        TestFilters::Behaviour filterBehaviour = {}, std::optional<std::wstring> name = L"Test filter",
        bool withPageClass = true);

    const CLSID& Id() const { return id; }
    String Text() const { return classIdText(id); }
    /// Of filters and pages that are made from now on.
    TestFilters::Behaviour& GetBehaviour() { return behaviour; }
    /// The filter that was made last, if it lives still.
    TestFilters::IGain* Last() const { return last; }
    /// Sets the gain of the last one.
    void SetGain(float gain) const { last->SetGain(gain); }

private:
    CLSID id = newClassId();
    CLSID pageId = newClassId();
    TestFilters::Behaviour behaviour;
    TestFilters::IGain* last = nullptr;
    std::optional<FilterName> filterName;
    std::optional<ClassObject> filterClass;
    std::optional<ClassObject> pageClass;
};
