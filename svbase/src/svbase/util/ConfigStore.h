#pragma once

#include "svbase/util/ConfigKey.h"
#include "svbase/util/ConfigValue.h"
#include "svbase/util/String.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Util {

/// One hive of preferences in memory, and the text that it is kept as where there is no registry. It behaves
/// as a registry does: names differ in more than the case of A to Z and keep the case that they were first
/// written in, a sub-key lives on without values, and one with sub-keys in it cannot be removed. A plain
/// value.
///
/// The text is lines of UTF-8. Each names its whole path, so that a damaged one costs no more than itself:
///
///     Preferences of Tarvik Plugin Scanner, format 1
///     key SOFTWARE\Solvane\Empty
///     value SOFTWARE\Solvane ForceSystemFontRenderer 4 01000000
///     end
///
/// A value line has path, name, number of the type in decimal, and bytes in hexadecimal. Blanks, control
/// characters and "%" are "%" and two hexadecimal digits; a word of nothing is "-", and one that is a "-" is
/// "%2d". A key line stands only for a sub-key in which nothing is. The last line tells that the text is
/// whole.
class ConfigStore {
public:
    static constexpr std::size_t maxDepth = 512;
    /// In UTF-16 units.
    static constexpr std::size_t maxSubkeyNameLength = 255;
    static constexpr std::size_t maxValueNameLength = 16383;

    ConfigStore();
    ConfigStore(ConfigStore&&) noexcept;
    ConfigStore& operator=(ConfigStore&&) noexcept;
    ~ConfigStore();

    /// Adds what can be read of a text. False when something of it could not be: a line that says nothing, a
    /// value that stands there twice (the later one counts), the first or the last line missing. Nothing at
    /// all is whole.
    bool read(std::string_view text);
    /// One text for one content.
    std::string text() const;

    /// Null when there is none. Valid until the next change.
    const ConfigValue* value(const ConfigKey& key) const;

    /// All changes: true when it changed something. A name that is too long, or not UTF-8, names nothing, and
    /// neither does a sub-key that begins with "\".
    bool setValue(const ConfigKey& key, ConfigValue value);
    bool removeValue(const ConfigKey& key);
    /// The one in key.subkey that is called key.valueName, unless there are sub-keys in it.
    bool removeSubkey(const ConfigKey& key);

    /// In the order of their bytes, A to Z as a to z.
    std::vector<String> subkeys(const String& subkey) const;
    std::vector<String> valueNames(const String& subkey) const;

private:
    struct Node;

    Node* find(const String& subkey) const;
    Node* create(const String& subkey);
    bool readLine(std::string_view line);

    std::unique_ptr<Node> root_;
};

} // namespace Util
