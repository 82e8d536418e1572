#pragma once

#include <random>
#include <string>
#include <vector>

/// The grammar of keys, symbol by symbol: what a character means is decided once, at its first reading.
namespace ConfigKeyModel {

struct Symbol {
    bool separates = false;
    char character = '\0';
};
using Symbols = std::vector<Symbol>;

struct Place {
    std::string subkey;
    std::string valueName;
    /// The names on the way to the sub-key; what is empty is no name.
    std::vector<std::string> names;
};

inline Symbols symbols(const std::string& text) {
    Symbols result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size() && text[i + 1] == '/') {
            result.push_back({false, '/'});
            ++i;
        } else if (text[i] == '/' || text[i] == '\\') {
            result.push_back({true, '\0'});
        } else {
            result.push_back({false, text[i] == 7 ? '/' : text[i]});
        }
    }
    return result;
}

/// What stands between the separators, with nothing between two that meet.
inline std::vector<std::string> parts(const std::string& base, const std::string& path) {
    Symbols all = symbols(base);
    Symbols rest = symbols(path);
    if (!all.empty()) {
        if (!all.back().separates) {
            all.push_back({true, '\0'});
        }
        if (!rest.empty() && rest.front().separates) {
            rest.erase(rest.begin());
        }
    }
    all.insert(all.end(), rest.begin(), rest.end());
    std::vector<std::string> result(1);
    for (const Symbol& symbol : all) {
        if (symbol.separates) {
            result.emplace_back();
        } else {
            result.back() += symbol.character;
        }
    }
    return result;
}

inline std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        text += (i == 0 ? "" : "\\") + parts[i];
    }
    return text;
}

inline Place place(const std::string& base, const std::string& key) {
    std::vector<std::string> names = parts(base, key);
    Place result;
    result.valueName = names.back();
    names.pop_back();
    result.subkey = joined(names);
    std::erase(names, "");
    result.names = names;
    return result;
}

/// Of pieces that the grammar gives a meaning, and of names that need care elsewhere.
inline std::string randomKey(std::mt19937& random, unsigned maxPieces) {
    static const std::vector<std::string> pieces = {
        "/",     "/",  "/", "\\", "\\/", "\\/", "\\\\/", "\a", "a", "B",        "c1",
        " ",     "%",  "@", "-",  "%41", ".",   "..",    "\"", "=", "\xC3\xA9", "\xF0\x9F\x98\x80",
        "Value", "key"};
    std::string key;
    for (auto count = 1 + random() % maxPieces; count > 0; --count) {
        key += pieces[random() % pieces.size()];
    }
    return key;
}

} // namespace ConfigKeyModel
