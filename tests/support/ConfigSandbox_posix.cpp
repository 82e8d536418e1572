#include "support/ConfigSandbox.h"

#include "support/MemoryFolder_posix.h"
#include "svbase/TemporaryDirectory.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

constexpr const char* basePath = "SOFTWARE\\Solvane\\Tests";

std::string word(const std::string& text) {
    if (text.empty()) {
        return "-";
    }
    std::string result;
    for (const char c : text) {
        if ((c >= 0 && c <= ' ') || c == '%' || c == '\x7F' || text == "-") {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02x", static_cast<unsigned>(c));
            result += escaped;
        } else {
            result += c;
        }
    }
    return result;
}

std::string hex(const std::vector<std::uint8_t>& bytes) {
    std::string result;
    for (const std::uint8_t byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", unsigned{byte});
        result += digits;
    }
    return result.empty() ? "-" : result;
}

std::string below(const std::string& path) {
    return path.empty() ? basePath : std::string(basePath) + "\\" + path;
}

} // namespace

struct ConfigSandbox::Platform {
    Platform() {
        if (const char* now = std::getenv("XDG_CONFIG_HOME")) {
            before = now;
        }
        ::setenv("XDG_CONFIG_HOME", directory.path().c_str(), 1);
        std::filesystem::create_directory(directory.path() / "tarvik-plugin-scanner");
    }
    ~Platform() {
        if (before) {
            ::setenv("XDG_CONFIG_HOME", before->c_str(), 1);
        } else {
            ::unsetenv("XDG_CONFIG_HOME");
        }
    }

    std::filesystem::path file() const {
        return directory.path() / "tarvik-plugin-scanner" / "current-user.preferences";
    }
    /// Without the first and the last one.
    std::vector<std::string> lines() const {
        std::ifstream in(file());
        std::vector<std::string> result;
        for (std::string line; std::getline(in, line);) {
            result.push_back(line);
        }
        if (result.size() >= 2) {
            result.pop_back();
            result.erase(result.begin());
        }
        return result;
    }

    TemporaryDirectory directory{memoryFolder()};
    std::optional<std::string> before;
};

ConfigSandbox::ConfigSandbox() : platform_(std::make_unique<Platform>()) {}
ConfigSandbox::~ConfigSandbox() = default;

String ConfigSandbox::base() const {
    return String(basePath).replace('\\', '/');
}

void ConfigSandbox::plant(const std::vector<Entry>& entries) {
    std::ostringstream text;
    text << "Preferences of Tarvik Plugin Scanner, format 1\n";
    for (const std::string& line : platform_->lines()) {
        text << line << '\n';
    }
    for (const Entry& entry : entries) {
        text << "value " << word(below(entry.path)) << ' ' << word(entry.name) << ' ' << entry.value.type
             << ' ' << hex(entry.value.data) << '\n';
    }
    text << "end\n";
    std::ofstream(platform_->file()) << text.str();
}

std::optional<Util::ConfigValue>
ConfigSandbox::stored(const std::string& path, const std::string& name) const {
    const std::string start = "value " + word(below(path)) + " " + word(name) + " ";
    for (const std::string& line : platform_->lines()) {
        if (!line.starts_with(start)) {
            continue;
        }
        std::istringstream rest(line.substr(start.size()));
        Util::ConfigValue value;
        std::string digits;
        rest >> value.type >> digits;
        for (std::size_t i = 0; digits != "-" && i < digits.size(); i += 2) {
            value.data.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
        }
        return value;
    }
    return std::nullopt;
}

bool ConfigSandbox::hasSubkey(const std::string& path) const {
    for (const std::string& line : platform_->lines()) {
        const std::string rest = line.substr(line.find(' ') + 1) + " ";
        if (rest.starts_with(word(below(path)) + " ") || rest.starts_with(word(below(path) + "\\"))) {
            return true;
        }
    }
    return false;
}

void ConfigSandbox::clear() {
    std::filesystem::remove(platform_->file());
}
