#include "parent/PluginFinder.h"

#include "parent/ScannerCommand.h"

#include <algorithm>
#include <filesystem>

namespace Tarvik {

namespace {

namespace fs = std::filesystem;

/// Paths travel as UTF-8 whatever the system's own form.
String toString(const fs::path& path) {
    const std::u8string text = path.u8string();
    return String(std::string(text.begin(), text.end()));
}

fs::path toPath(const String& text) {
    const std::string_view bytes = text.view();
    return fs::path(std::u8string(bytes.begin(), bytes.end()));
}

PluginIdentifier vstIdentifier(const fs::path& file) {
    return PluginIdentifier::ForVST(scannerSidePath(toString(file)), 0);
}

} // namespace

expected<std::vector<PluginIdentifier>, String> findPlugins(const String& path) {
    std::error_code error;
    const fs::path root = toPath(path);
    if (!fs::is_directory(root, error)) {
        if (!fs::exists(root, error)) {
            return unexpected(String("Cannot find %1").arg(path));
        }
        return std::vector<PluginIdentifier>{vstIdentifier(root)};
    }

    std::vector<fs::path> files;
    fs::recursive_directory_iterator entry(root, fs::directory_options::skip_permission_denied, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        std::error_code ignored;
        if (toString(entry->path().extension()).toLower() == ".dll" && entry->is_regular_file(ignored)) {
            files.push_back(entry->path());
        }
    }
    if (error) {
        return unexpected(String("Cannot read %1: %2").arg(path).arg(error.message().c_str()));
    }
    // Paths themselves compare name by name.
    std::ranges::sort(files, {}, [](const fs::path& file) { return file.generic_u8string(); });
    std::vector<PluginIdentifier> identifiers;
    identifiers.reserve(files.size());
    for (const fs::path& file : files) {
        identifiers.push_back(vstIdentifier(file));
    }
    return identifiers;
}

} // namespace Tarvik
