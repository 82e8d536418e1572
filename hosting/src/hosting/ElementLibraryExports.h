#pragma once

/// What a library of elements exports. The names are kept for such libraries, so that nothing else takes
/// them: no plug-in format leads to one, and nothing here looks them up.
namespace Tarvik::ElementLibraryExports {

inline constexpr const char* getNumElements = "ElementFactory_GetNumElements";
inline constexpr const char* create = "ElementFactory_Create";
inline constexpr const char* destroy = "ElementFactory_Destroy";
inline constexpr const char* getElementName = "ElementFactory_GetElementName";

} // namespace Tarvik::ElementLibraryExports
