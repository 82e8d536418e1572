#pragma once

#include <cstdint>

namespace Tarvik {

/// What became of the attempt to make a plug-in. Values 3 and 4 are never set.
enum InstantiationStatus : std::int32_t {
    /// The plug-in object is valid.
    InstantiationOK = 0,
    /// No file for the identifier, or a filter that is not registered.
    InstantiationNotFound = 1,
    /// The library is not built for this process.
    InstantiationWrongArchitecture = 2,
    /// No present format sets it; a scan that met it would report ScanResultReserved.
    InstantiationReserved = 4,
    /// A library that holds several plug-ins.
    InstantiationShell = 5,
    InstantiationNoEditor = 6,
    /// A library without an entry point that serves others as their core.
    InstantiationCoreLibrary = 7,
    InstantiationFailed = 8,
};

} // namespace Tarvik
