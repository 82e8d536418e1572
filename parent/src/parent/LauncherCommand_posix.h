#pragma once

#include "svbase/util/String.h"
#include "svbase/util/expected.h"

#include <vector>

namespace Tarvik {

/// Wine with TarvikScannerLauncher.exe, which stands beside the scanner, and these arguments. Environment
/// variable TARVIK_WINE names another Wine. Errors: a text naming the file that is missing.
expected<std::vector<String>, String>
launcherCommand(const String& scannerPath, const std::vector<String>& arguments);

} // namespace Tarvik
