#include "parent/DirectXFilters.h"

#include "parent/FilterListExchange_posix.h"
#include "parent/LauncherCommand_posix.h"
#include "parent/PipedProgram_posix.h"

namespace Tarvik {

expected<DirectXFilterList, String>
listDirectXFilters(const ScannerSettings& settings, std::chrono::milliseconds limit) {
    const auto command = launcherCommand(settings.scannerPath, {"--list-directx"});
    if (!command) {
        return unexpected(command.error());
    }
    PipedProgram launcher;
    if (const String error = launcher.start(*command); !error.isEmpty()) {
        return unexpected(error);
    }
    return readFilterList(launcher, limit);
}

} // namespace Tarvik
