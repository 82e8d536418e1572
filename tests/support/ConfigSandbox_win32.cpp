#include "support/ConfigSandbox.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include <windows.h>

namespace {

std::wstring wide(const std::string& text) {
    return String(text).toNativeWide();
}

void require(LSTATUS status, const char* what) {
    if (status != ERROR_SUCCESS) {
        throw std::runtime_error(std::string(what) + ": " + std::to_string(status));
    }
}

} // namespace

struct ConfigSandbox::Platform {
    Platform() { base = "SOFTWARE\\Solvane\\Tests " + std::to_string(GetCurrentProcessId()); }
    ~Platform() {
        RegDeleteTreeW(HKEY_CURRENT_USER, wide(base).c_str());
        if (isEmpty(L"SOFTWARE\\Solvane")) {
            RegDeleteKeyW(HKEY_CURRENT_USER, L"SOFTWARE\\Solvane");
        }
    }

    /// Neither sub-keys nor values, which would all go with it: the user's own preferences stand there.
    static bool isEmpty(const wchar_t* path) {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key) != ERROR_SUCCESS) {
            return false;
        }
        DWORD subkeys = 1;
        DWORD values = 1;
        const LSTATUS status = RegQueryInfoKeyW(
            key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
            nullptr);
        RegCloseKey(key);
        return status == ERROR_SUCCESS && subkeys == 0 && values == 0;
    }

    std::wstring below(const std::string& path) const {
        return wide(path.empty() ? base : base + "\\" + path);
    }

    std::string base;
};

ConfigSandbox::ConfigSandbox() : platform_(std::make_unique<Platform>()) {
    RegDeleteTreeW(HKEY_CURRENT_USER, wide(platform_->base).c_str());
}
ConfigSandbox::~ConfigSandbox() = default;

String ConfigSandbox::base() const {
    return String(platform_->base).replace('\\', '/');
}

void ConfigSandbox::plant(const std::vector<Entry>& entries) {
    for (const Entry& entry : entries) {
        HKEY key = nullptr;
        require(
            RegCreateKeyW(HKEY_CURRENT_USER, platform_->below(entry.path).c_str(), &key), "RegCreateKeyW");
        // A text without its terminator would be given one that stands behind it by chance.
        std::vector<std::uint8_t> fenced(entry.value.data.size() + 16, 0xFF);
        std::copy(entry.value.data.begin(), entry.value.data.end(), fenced.begin() + 8);
        const LSTATUS status = RegSetValueExW(
            key, wide(entry.name).c_str(), 0, entry.value.type, fenced.data() + 8,
            static_cast<DWORD>(entry.value.data.size()));
        RegCloseKey(key);
        require(status, "RegSetValueExW");
    }
}

std::optional<Util::ConfigValue>
ConfigSandbox::stored(const std::string& path, const std::string& name) const {
    HKEY key = nullptr;
    if (RegOpenKeyW(HKEY_CURRENT_USER, platform_->below(path).c_str(), &key) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    Util::ConfigValue value;
    value.data.resize(1U << 20U);
    DWORD type = 0;
    DWORD size = static_cast<DWORD>(value.data.size());
    const LSTATUS status =
        RegQueryValueExW(key, wide(name).c_str(), nullptr, &type, value.data.data(), &size);
    RegCloseKey(key);
    if (status == ERROR_FILE_NOT_FOUND) {
        return std::nullopt;
    }
    require(status, "RegQueryValueExW");
    value.type = type;
    value.data.resize(size);
    return value;
}

bool ConfigSandbox::hasSubkey(const std::string& path) const {
    HKEY key = nullptr;
    if (RegOpenKeyW(HKEY_CURRENT_USER, platform_->below(path).c_str(), &key) != ERROR_SUCCESS) {
        return false;
    }
    RegCloseKey(key);
    return true;
}

void ConfigSandbox::clear() {
    RegDeleteTreeW(HKEY_CURRENT_USER, wide(platform_->base).c_str());
}
