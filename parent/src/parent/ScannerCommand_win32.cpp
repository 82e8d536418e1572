#include "parent/ScannerCommand.h"

#include <filesystem>

namespace Tarvik {

expected<std::vector<String>, String>
scannerCommand(const ScannerSettings& settings, const String& endpoint) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(settings.scannerPath.toNativeWide(), error)) {
        return unexpected(String("Cannot find the scanner %1").arg(settings.scannerPath));
    }
    return std::vector<String>{settings.scannerPath, endpoint};
}

String scannerSidePath(const String& path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path.toNativeWide(), error);
    return error ? path : String::fromWide(absolute.lexically_normal().c_str());
}

} // namespace Tarvik
