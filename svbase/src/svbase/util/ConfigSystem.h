#pragma once

#include "svbase/util/ConfigFile.h"
#include "svbase/util/ConfigKey.h"
#include "svbase/util/ConfigValue.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <cstdint>
#include <vector>

/// Where preferences are kept, for ConfigFile.h. Duties of a platform: a hierarchy of sub-keys below each
/// hive, whose names differ in more than the case of A to Z, with typed values in them; threads and processes
/// at once; every change whole or not at all, also when the process is killed in the middle; silence,
/// whatever fails. A text without a UTF-16 form names nothing. A sub-key that begins with "\" is none. [any]
namespace Util::ConfigSystem {

/// What a reader takes. Invalid: any.
struct Wanted {
    checked_value<std::uint32_t> type;
    checked_value<std::uint32_t> size;

    bool accepts(std::uint32_t storedType, std::uint64_t storedSize) const {
        return (!type || type.value == storedType) && (!size || size.value == storedSize);
    }
};

/// Invalid when there is no such value, it is not what is wanted, or it changes while it is read.
checked_value<ConfigValue> read(ConfigFile::Hive hive, const ConfigKey& key, const Wanted& wanted);
/// Creates the sub-keys on the way. data: size bytes, null when there are none.
void write(
    ConfigFile::Hive hive, const ConfigKey& key, std::uint32_t type, const void* data, std::uint32_t size);

/// Removals create nothing.
void removeValue(ConfigFile::Hive hive, const ConfigKey& key);
/// The sub-key that stands where the value would; with its values, but only when nothing is below it.
void removeSubkey(ConfigFile::Hive hive, const ConfigKey& key);

/// The names directly below the sub-key, in any order; none when it is missing. Without those that have no
/// UTF-8 form.
std::vector<String> subkeys(ConfigFile::Hive hive, const String& subkey);
std::vector<String> valueNames(ConfigFile::Hive hive, const String& subkey);

} // namespace Util::ConfigSystem
