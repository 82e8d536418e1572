#include "parent/LauncherCommand_posix.h"

#include <cstdlib>
#include <filesystem>

namespace Tarvik {

namespace {

/// The loader itself where it can be found: the wrapper script costs a shell per scan.
String wineProgram() {
    if (const char* chosen = std::getenv("TARVIK_WINE")) {
        return chosen;
    }
    constexpr const char* loader = "/usr/lib/wine/wine64";
    std::error_code error;
    return std::filesystem::is_regular_file(loader, error) ? loader : "wine";
}

} // namespace

expected<std::vector<String>, String>
launcherCommand(const String& scannerPath, const std::vector<String>& arguments) {
    const std::filesystem::path launcher =
        std::filesystem::path(scannerPath.toStdString()).parent_path() / "TarvikScannerLauncher.exe";
    std::error_code error;
    if (!std::filesystem::is_regular_file(launcher, error)) {
        return unexpected(String("Cannot find %1").arg(String(launcher.string())));
    }
    std::vector<String> command{wineProgram(), String(launcher.string())};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

} // namespace Tarvik
