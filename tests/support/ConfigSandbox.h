#pragma once

#include "svbase/util/ConfigValue.h"
#include "svbase/util/String.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Preferences that only this test sees, gone at the end, and a way to them past the code under test. One at
/// a time.
class ConfigSandbox {
public:
    /// Paths have "\" between their components; both are below base().
    struct Entry {
        std::string path;
        std::string name;
        Util::ConfigValue value;
    };

    ConfigSandbox();
    ~ConfigSandbox();
    ConfigSandbox(const ConfigSandbox&) = delete;
    ConfigSandbox& operator=(const ConfigSandbox&) = delete;

    /// The base path for a ConfigFile of the current user's, with "/" as separator.
    String base() const;

    void plant(const std::vector<Entry>& entries);
    void plant(const std::string& path, const std::string& name, const Util::ConfigValue& value) {
        plant({{path, name, value}});
    }
    std::optional<Util::ConfigValue> stored(const std::string& path, const std::string& name) const;
    bool hasSubkey(const std::string& path) const;
    /// Takes everything away.
    void clear();

private:
    struct Platform;
    std::unique_ptr<Platform> platform_;
};
