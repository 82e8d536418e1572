#include "svbase/util/ConfigStore.h"

#include "svbase/util/EscapedWord.h"
#include "svbase/util/Unicode.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>

namespace Util {

namespace {

constexpr std::string_view firstLine = "Preferences of Tarvik Plugin Scanner, format 1";
constexpr std::string_view lastLine = "end";
constexpr std::string_view nothing = "-";

std::string folded(std::string_view name) {
    std::string result(name);
    for (char& c : result) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return result;
}

bool isName(std::string_view text, std::size_t maxLength) {
    std::u16string wide;
    return text.find('\0') == std::string_view::npos && Unicode::toUtf16(text, wide) &&
           wide.size() <= maxLength;
}

/// The names in a path of sub-keys; invalid when it cannot be one.
std::optional<std::vector<std::string_view>> components(std::string_view path) {
    std::vector<std::string_view> names;
    if (!path.empty() && path.front() == '\\') {
        return std::nullopt;
    }
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('\\'), path.size());
        if (end != 0) {
            names.push_back(path.substr(0, end));
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return names;
}

/// The whole word as a number.
template<class T>
std::optional<T> numberOf(std::string_view word) {
    T number = 0;
    const char* const begin =
        word.data(); // NOLINT(bugprone-suspicious-stringview-data-usage): the end goes with it
    const char* const end = begin + word.size();
    const auto [stopped, error] = std::from_chars(begin, end, number);
    return error == std::errc() && stopped == end ? std::optional(number) : std::nullopt;
}

std::optional<std::vector<std::uint8_t>> dataOf(std::string_view word) {
    std::vector<std::uint8_t> data;
    if (word == nothing) {
        return data;
    }
    data.reserve(word.size() / 2);
    for (; !word.empty(); word.remove_prefix(2)) {
        const auto byte = hexByteOf(word.substr(0, 2));
        if (!byte) {
            return std::nullopt;
        }
        data.push_back(*byte);
    }
    return data.empty() ? std::nullopt : std::optional(data);
}

} // namespace

struct ConfigStore::Node {
    struct Named {
        std::string name;
        ConfigValue value;
    };

    /// As first written; keyed by the folded form.
    std::string name;
    std::map<std::string, std::unique_ptr<Node>> below;
    std::map<std::string, Named> values;

    void append(std::string& out, const std::string& path) const {
        if (!path.empty() && below.empty() && values.empty()) {
            out += "key";
            out += " " + escapedWord(path);
            out.push_back('\n');
        }
        for (const auto& [key, named] : values) {
            out += "value";
            out += " " + escapedWord(path);
            out += " " + escapedWord(named.name);
            out += " " + std::to_string(named.value.type) + " ";
            if (named.value.data.empty()) {
                out += nothing;
            }
            for (const std::uint8_t byte : named.value.data) {
                appendHexByte(out, byte);
            }
            out.push_back('\n');
        }
        for (const auto& [key, node] : below) {
            node->append(out, path.empty() ? node->name : path + "\\" + node->name);
        }
    }
};

ConfigStore::ConfigStore() : root_(std::make_unique<Node>()) {}
ConfigStore::ConfigStore(ConfigStore&&) noexcept = default;
ConfigStore& ConfigStore::operator=(ConfigStore&&) noexcept = default;
ConfigStore::~ConfigStore() = default;

bool ConfigStore::read(std::string_view text) {
    if (text.empty()) {
        return true;
    }
    bool whole = true;
    bool ended = false;
    for (bool first = true; !text.empty(); first = false) {
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos) {
            // What was cut off may have changed its meaning.
            return false;
        }
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end + 1);
        if (!ended && line == lastLine) {
            ended = true;
            whole = whole && !first;
        } else if (!first || line != firstLine) {
            // Also where no such line may stand: it can be all that is left of the text.
            whole = readLine(line) && whole && !first && !ended;
        }
    }
    return whole && ended;
}

std::string ConfigStore::text() const {
    std::string out(firstLine);
    out.push_back('\n');
    root_->append(out, {});
    out += lastLine;
    out.push_back('\n');
    return out;
}

bool ConfigStore::readLine(std::string_view line) {
    const std::vector<std::string_view> words = wordsOf(line);
    const bool isKey = words.size() == 2 && words[0] == "key";
    if (!isKey && (words.size() != 5 || words[0] != "value")) {
        return false;
    }
    const auto path = textOfWord(words[1]);
    if (!path) {
        return false;
    }
    if (isKey) {
        return create(String(*path)) != nullptr;
    }
    const auto name = textOfWord(words[2]);
    const auto type = numberOf<std::uint32_t>(words[3]);
    auto data = dataOf(words[4]);
    if (!name || !type || !data) {
        return false;
    }
    const ConfigKey key{String(*path), String(*name)};
    const bool isNew = value(key) == nullptr;
    return setValue(key, {*type, std::move(*data)}) && isNew;
}

ConfigStore::Node* ConfigStore::find(const String& subkey) const {
    const auto names = components(subkey.view());
    if (!names) {
        return nullptr;
    }
    Node* node = root_.get();
    for (const std::string_view name : *names) {
        const auto found = node->below.find(folded(name));
        if (found == node->below.end()) {
            return nullptr;
        }
        node = found->second.get();
    }
    return node;
}

ConfigStore::Node* ConfigStore::create(const String& subkey) {
    const auto names = components(subkey.view());
    if (!names || names->size() > maxDepth) {
        return nullptr;
    }
    for (const std::string_view name : *names) {
        if (!isName(name, maxSubkeyNameLength)) {
            return nullptr;
        }
    }
    Node* node = root_.get();
    for (const std::string_view name : *names) {
        std::unique_ptr<Node>& place = node->below[folded(name)];
        if (!place) {
            place = std::make_unique<Node>();
            place->name = name;
        }
        node = place.get();
    }
    return node;
}

const ConfigValue* ConfigStore::value(const ConfigKey& key) const {
    const Node* node = find(key.subkey);
    if (node == nullptr) {
        return nullptr;
    }
    const auto found = node->values.find(folded(key.valueName.view()));
    return found == node->values.end() ? nullptr : &found->second.value;
}

bool ConfigStore::setValue(const ConfigKey& key, ConfigValue value) {
    Node* node = isName(key.valueName.view(), maxValueNameLength) ? create(key.subkey) : nullptr;
    if (node == nullptr) {
        return false;
    }
    const auto [place, isNew] =
        node->values.try_emplace(folded(key.valueName.view()), Node::Named{key.valueName.toStdString(), {}});
    if (!isNew && place->second.value == value) {
        return false;
    }
    place->second.value = std::move(value);
    return true;
}

bool ConfigStore::removeValue(const ConfigKey& key) {
    Node* node = find(key.subkey);
    return node != nullptr && node->values.erase(folded(key.valueName.view())) != 0;
}

bool ConfigStore::removeSubkey(const ConfigKey& key) {
    Node* node = find(key.subkey);
    if (node == nullptr) {
        return false;
    }
    const auto found = node->below.find(folded(key.valueName.view()));
    if (found == node->below.end() || !found->second->below.empty()) {
        return false;
    }
    node->below.erase(found);
    return true;
}

std::vector<String> ConfigStore::subkeys(const String& subkey) const {
    std::vector<String> names;
    if (const Node* node = find(subkey)) {
        for (const auto& [key, below] : node->below) {
            names.emplace_back(below->name);
        }
    }
    return names;
}

std::vector<String> ConfigStore::valueNames(const String& subkey) const {
    std::vector<String> names;
    if (const Node* node = find(subkey)) {
        for (const auto& [key, named] : node->values) {
            names.emplace_back(named.name);
        }
    }
    return names;
}

} // namespace Util
