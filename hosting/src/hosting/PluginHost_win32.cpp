#include "hosting/PluginHost.h"

#include "hosting/dx/DXPlugin.h"

#include <utility>

namespace Tarvik {

void PluginHost::InstantiateDirectX() {
    auto filter = std::make_unique<DXPlugin>(
        ClassIdToString(identifier.dxClassId).toUpper(), GetSampleRate(), GetChannelLayout());
    if (filter->IsValid()) {
        instantiationStatus = InstantiationOK;
        plugin = std::move(filter);
    } else {
        instantiationStatus = filter->IsClassNotFound() ? InstantiationNotFound : InstantiationFailed;
    }
    instantiationStatusValid = true;
}

} // namespace Tarvik
