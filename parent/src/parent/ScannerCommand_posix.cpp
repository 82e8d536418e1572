#include "parent/ScannerCommand.h"

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
scannerCommand(const ScannerSettings& settings, const String& endpoint) {
    const std::filesystem::path scanner(settings.scannerPath.toStdString());
    const std::filesystem::path launcher = scanner.parent_path() / "TarvikScannerLauncher.exe";
    for (const auto& file : {scanner, launcher}) {
        std::error_code error;
        if (!std::filesystem::is_regular_file(file, error)) {
            return unexpected(String("Cannot find %1").arg(String(file.string())));
        }
    }
    return std::vector<String>{
        wineProgram(), String(launcher.string()), scannerSidePath(settings.scannerPath), endpoint};
}

String scannerSidePath(const String& path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path.toStdString(), error);
    return error ? path : String("Z:" + absolute.lexically_normal().string()).replace('/', '\\');
}

} // namespace Tarvik
