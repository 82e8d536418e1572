#pragma once

#include "parent/DirectXFilter.h"
#include "parent/ScannerCommand.h"
#include "svbase/util/expected.h"

#include <chrono>

namespace Tarvik {

/// The audio filters that are registered where the scanner runs. None of them is loaded.
///
/// On Windows this process asks the system itself, and settings and limit are not looked at. Elsewhere
/// TarvikScannerLauncher.exe asks on Wine's side, and is ended when it has told everything or when the limit
/// is over. Errors: a text, when there is no list at all. [control]
expected<DirectXFilterList, String>
listDirectXFilters(const ScannerSettings& settings, std::chrono::milliseconds limit);

} // namespace Tarvik
