#pragma once

#include "svbase/util/String.h"

/// What a platform tells Path.h. Duties of a platform: answers in any separator, null on failure.
namespace Util::Path::System {

/// The environment variable HOME; null when it is not set.
String home();

/// The absolute form of a path that is relative in any way, by the current directory.
String complete(const String& path);

/// From the normal form to what the system's calls take.
String decorate(const String& path);

} // namespace Util::Path::System
