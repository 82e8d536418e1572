#include "parent/DirectXFilters.h"

#include "parent/DirectXRegistry_win32.h"

namespace Tarvik {

expected<DirectXFilterList, String> listDirectXFilters(const ScannerSettings&, std::chrono::milliseconds) {
    return registeredDirectXFilters();
}

} // namespace Tarvik
