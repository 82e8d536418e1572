#pragma once

#include "svbase/util/ConfigValue.h"

#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

/// A hierarchy of preferences as three facts that are looked up when they are asked: which sub-keys there
/// are, which values, and that case does not count. Paths are lists of names.
class ConfigModel {
public:
    using Path = std::vector<std::string>;

    static std::string lower(std::string text) {
        for (char& c : text) {
            if (c >= 'A' && c <= 'Z') {
                c = static_cast<char>(c + 32);
            }
        }
        return text;
    }
    static Path lower(Path path) {
        for (std::string& name : path) {
            name = lower(name);
        }
        return path;
    }

    void write(const Path& path, const std::string& name, const Util::ConfigValue& value) {
        for (std::size_t depth = 1; depth <= path.size(); ++depth) {
            const Path part(path.begin(), path.begin() + static_cast<std::ptrdiff_t>(depth));
            subkeyNames_.try_emplace(lower(part), part.back());
        }
        const auto key = std::pair(lower(path), lower(name));
        valueNames_.try_emplace(key, name);
        values_[key] = value;
    }
    std::optional<Util::ConfigValue> value(const Path& path, const std::string& name) const {
        const auto found = values_.find({lower(path), lower(name)});
        return found == values_.end() ? std::nullopt : std::optional(found->second);
    }
    void removeValue(const Path& path, const std::string& name) {
        values_.erase({lower(path), lower(name)});
        valueNames_.erase({lower(path), lower(name)});
    }
    void removeSubkey(Path path, const std::string& name) {
        path.push_back(name);
        path = lower(path);
        if (!subkeys(path).empty()) {
            return;
        }
        subkeyNames_.erase(path);
        std::erase_if(values_, [&](const auto& entry) { return entry.first.first == path; });
        std::erase_if(valueNames_, [&](const auto& entry) { return entry.first.first == path; });
    }
    std::set<std::string> subkeys(Path path) const {
        path = lower(path);
        std::set<std::string> names;
        for (const auto& [subkey, name] : subkeyNames_) {
            if (subkey.size() == path.size() + 1 && std::equal(path.begin(), path.end(), subkey.begin())) {
                names.insert(name);
            }
        }
        return names;
    }
    std::set<std::string> valueNames(const Path& path) const {
        std::set<std::string> names;
        for (const auto& [key, name] : valueNames_) {
            if (key.first == lower(path)) {
                names.insert(name);
            }
        }
        return names;
    }

    /// Few names, so that operations meet; some differ in case alone.
    static std::string randomName(std::mt19937& random) {
        static const std::vector<std::string> names = {"a",   "A",        "b", "B",   "c/d",
                                                       "C/D", "\xC3\xA9", "-", "%41", " "};
        return names[random() % names.size()];
    }
    static Path randomPath(std::mt19937& random) {
        Path path(random() % 4);
        for (std::string& name : path) {
            name = randomName(random);
        }
        return path;
    }
    static Util::ConfigValue randomValue(std::mt19937& random) {
        static const std::vector<std::uint32_t> types = {0, 1, 2, 3, 4, 7, 11};
        Util::ConfigValue value{types[random() % types.size()], std::vector<std::uint8_t>(random() % 10)};
        for (std::uint8_t& byte : value.data) {
            byte = static_cast<std::uint8_t>(random());
        }
        return value;
    }

private:
    std::map<Path, std::string> subkeyNames_;
    std::map<std::pair<Path, std::string>, std::string> valueNames_;
    std::map<std::pair<Path, std::string>, Util::ConfigValue> values_;
};
