#pragma once

#include "svbase/util/String.h"
#include "svbase/util/expected.h"

#include <vector>

namespace Tarvik {

/// Where the scanner stands and what starts it.
struct ScannerSettings {
    /// TarvikPluginScanner.exe, as a path of this system.
    String scannerPath;
    /// What the plug-in is told when it asks for its host.
    String hostVendor = "Tarvik";
    String hostProduct = "tarvik-scan";
};

/// The command line that runs the scanner for the given endpoint.
///
/// On Windows the scanner itself. Elsewhere Wine with TarvikScannerLauncher.exe, which stands beside the
/// scanner: a process of this system gets only the low 8 bits of a Windows exit code and cannot see the
/// Windows side's family of processes, so the launcher keeps the family in a job object and prints the whole
/// code. Environment variable TARVIK_WINE names another Wine. Errors: a text naming the file that is missing.
expected<std::vector<String>, String> scannerCommand(const ScannerSettings& settings, const String& endpoint);

/// The path in the form that the scanner understands: absolute, and elsewhere than on Windows below the drive
/// Z: that Wine maps to the root.
String scannerSidePath(const String& path);

} // namespace Tarvik
