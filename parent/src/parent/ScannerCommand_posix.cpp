#include "parent/LauncherCommand_posix.h"
#include "parent/ScannerCommand.h"

#include <filesystem>

namespace Tarvik {

expected<std::vector<String>, String>
scannerCommand(const ScannerSettings& settings, const String& endpoint) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(settings.scannerPath.toStdString(), error)) {
        return unexpected(String("Cannot find %1").arg(settings.scannerPath));
    }
    return launcherCommand(settings.scannerPath, {scannerSidePath(settings.scannerPath), endpoint});
}

String scannerSidePath(const String& path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path.toStdString(), error);
    return error ? path : String("Z:" + absolute.lexically_normal().string()).replace('/', '\\');
}

} // namespace Tarvik
