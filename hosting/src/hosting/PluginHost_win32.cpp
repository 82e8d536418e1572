#include "hosting/PluginHost.h"

#include "hosting/dx/DXPlugin.h"

#include <utility>

namespace Tarvik {

void PluginHost::InstantiateDirectX() {
    // Valid only once the object has told it.
    instantiationStatusValid = false;
    auto filter = std::make_unique<DXPlugin>(
        ClassIdToString(identifier.dxClassId).toUpper(), GetSampleRate(), GetChannelLayout());
    // Also where the new one turns out to be unusable: a plug-in never stands beside a failure.
    plugin.reset();
    if (filter->IsValid()) {
        instantiationStatus = InstantiationOK;
        plugin = std::move(filter);
    } else {
        instantiationStatus = filter->IsClassNotFound() ? InstantiationNotFound : InstantiationFailed;
    }
    instantiationStatusValid = true;
}

} // namespace Tarvik
