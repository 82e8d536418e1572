#pragma once

#include <cstdint>

namespace Tarvik {

/// What became of a scan: the code in the report. The values travel; 0, 1 and 8 are never sent.
enum ScanResult : std::int32_t {
    /// A VST or DirectX plug-in that is usable as an effect.
    ScanResultEffect = 2,
    /// A VST plug-in that is an instrument or a generator, or has no outputs.
    ScanResultInstrument = 3,
    /// Nothing more is known: the format is not examined, or the load failed for a reason not listed here.
    ScanResultUnconfirmed = 4,
    /// A VST plug-in rejected for want of an editor.
    ScanResultNoEditor = 5,
    /// A VST library that holds several plug-ins.
    ScanResultShell = 6,
    /// The library is not built for this process's processor.
    ScanResultWrongArchitecture = 7,
    /// The identifier, after the scan, equals one that the parent already has.
    ScanResultKnown = 9,
    /// The library has no plug-in entry point, but serves others as their core.
    ScanResultCoreLibrary = 10,
    /// Answers an instantiation status that no present format produces.
    ScanResultReserved = 11,
};

} // namespace Tarvik
