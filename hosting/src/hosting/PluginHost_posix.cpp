#include "hosting/PluginHost.h"

namespace Tarvik {

void PluginHost::InstantiateDirectX() {}

} // namespace Tarvik
