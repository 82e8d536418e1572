#pragma once

#include "directx/Behaviour.h"
#include "directx/Interfaces.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace TestFilters {

/// One class of the test library: a filter of some behaviour, and how it is registered.
struct TestClass {
    std::string name;
    Behaviour behaviour;
    /// The default value below "Filter\"; none: no key.
    std::optional<std::wstring> filterName;
    /// The class factory fails.
    bool factoryFails = false;
};

/// All of them.
const std::vector<TestClass>& testClasses();

/// The class identifier of the test class of that name. Its last eight bytes are the FNV-1a hash of the name.
/// Its first four are anybody's choice, so that programs that run side by side can each register a class of
/// their own; the library looks at the rest alone.
CLSID classIdOf(std::string_view name, unsigned long choice = 0);

/// Null for a class identifier that is nobody's.
const TestClass* findTestClass(const CLSID& id);

/// The class of the property page of all of them.
inline constexpr std::string_view pageName = "Page";

} // namespace TestFilters
