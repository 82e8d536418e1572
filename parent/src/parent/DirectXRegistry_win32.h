#pragma once

#include "parent/DirectXFilter.h"

namespace Tarvik {

/// Everything that is registered in this system as an audio filter: what the platform's filter mapper has
/// with audio on a pin, and the classes below "Filter" in HKEY_CLASSES_ROOT, which are the ones that have a
/// name as plug-ins. Asks the registry and the platform, and loads nothing of what it finds. One registration
/// that is broken costs no other its place. COM is made ready on this thread for as long as it takes.
/// [control]
DirectXFilterList registeredDirectXFilters();

} // namespace Tarvik
