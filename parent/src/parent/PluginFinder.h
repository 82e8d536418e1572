#pragma once

#include "protocol/PluginIdentifier.h"
#include "svbase/util/expected.h"

#include <vector>

namespace Tarvik {

/// The identifiers that a path stands for: a file is taken as a VST library whatever its name; a folder gives
/// every
/// ".dll" below it (letter case ignored), in the order of their paths' bytes, links to folders not followed.
/// path: of this system. The identifiers carry the path as the scanner sees it, with unique identifier 0.
/// Errors: a text, for a path that does not exist or cannot be read.
expected<std::vector<PluginIdentifier>, String> findPlugins(const String& path);

} // namespace Tarvik
