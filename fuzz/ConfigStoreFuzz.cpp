// Any bytes are a store of preferences, or what is left of one: what was read is written and read again, a
// text that was called whole lost no value, and no damage costs a good line that stands behind it.

#include "Require.h"

#include "svbase/util/ConfigStore.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using Util::ConfigStore;
using Util::ConfigValue;

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

/// Every sub-key that a list names is there, and every value; and each can be removed.
std::size_t emptied(ConfigStore& store, const String& subkey) {
    std::size_t values = 0;
    for (const String& name : store.valueNames(subkey)) {
        REQUIRE(store.value({subkey, name}) != nullptr);
        REQUIRE(store.removeValue({subkey, name}));
        REQUIRE(store.value({subkey, name}) == nullptr);
        ++values;
    }
    for (const String& name : store.subkeys(subkey)) {
        values += emptied(store, subkey.isEmpty() ? name : subkey + "\\" + name);
        REQUIRE(store.removeSubkey({subkey, name}));
    }
    REQUIRE(store.subkeys(subkey).empty() && store.valueNames(subkey).empty());
    return values;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    ConfigStore store;
    const bool whole = store.read(input);
    const std::string text = store.text();
    if (whole) {
        REQUIRE(countOf("\n" + input, "\nvalue ") == countOf(text, "\nvalue "));
    }

    ConfigStore again;
    REQUIRE(again.read(text));
    REQUIRE(again.text() == text);

    ConfigStore longer;
    REQUIRE(!longer.read(input + "\nvalue SOFTWARE\\Solvane Fuzz%20target 11 0102\n"));
    const ConfigValue* const found = longer.value({"software\\solvane", "fuzz TARGET"});
    REQUIRE(found != nullptr && *found == (ConfigValue{ConfigValue::QWord, {1, 2}}));

    REQUIRE(emptied(store, {}) == countOf(text, "\nvalue "));
    REQUIRE(store.text() == ConfigStore().text());
    return 0;
}
