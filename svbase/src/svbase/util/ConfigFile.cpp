#include "svbase/util/ConfigFile.h"

#include "svbase/util/ConfigSystem.h"

#include <bit>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>

namespace Util {

namespace {

using Bytes = std::vector<std::uint8_t>;
using ConfigSystem::Wanted;

template<class T>
Bytes littleEndian(T value) {
    Bytes bytes;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
    return bytes;
}

template<class T>
T fromLittleEndian(const std::uint8_t* bytes) {
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        value = static_cast<T>(value | static_cast<T>(T{bytes[i]} << (8 * i)));
    }
    return value;
}

/// The integer of exactly the type's size.
template<class T>
checked_value<T> readInteger(ConfigFile::Hive hive, const ConfigKey& key, ConfigValue::Type type) {
    const auto stored = ConfigSystem::read(hive, key, Wanted{std::uint32_t{type}, std::uint32_t{sizeof(T)}});
    return stored ? checked_value<T>(fromLittleEndian<T>(stored.value.data.data())) : checked_value<T>();
}

void writeBytes(ConfigFile::Hive hive, const ConfigKey& key, std::uint32_t type, const Bytes& bytes) {
    if (bytes.size() <= std::numeric_limits<std::uint32_t>::max()) {
        ConfigSystem::write(
            hive, key, type, bytes.empty() ? nullptr : bytes.data(),
            static_cast<std::uint32_t>(bytes.size()));
    }
}

} // namespace

ConfigFile::ConfigFile(const String& path) : ConfigFile(path, Hive::CurrentUser) {}

ConfigFile::ConfigFile(const String& path, Hive rootKey)
    : basePath_(path.replace('\\', '/')), rootKey_(rootKey) {}

ConfigFile::~ConfigFile() = default;

String ConfigFile::basePathOf(const String& product, const String& feature) {
    return String("SOFTWARE\\%1\\%2").arg(product).arg(feature);
}

String ConfigFile::path() const {
    return basePath_;
}

void ConfigFile::subkeys(std::vector<String>& out, const String& path) const {
    out = ConfigSystem::subkeys(rootKey_, ConfigKey::ofSubkey(basePath_, path));
}

void ConfigFile::valueNames(std::vector<String>& out, const String& path) const {
    out = ConfigSystem::valueNames(rootKey_, ConfigKey::ofSubkey(basePath_, path));
}

String ConfigFile::readString(const String& key, const String& defaultValue) const {
    const auto stored = ConfigSystem::read(
        rootKey_, ConfigKey::ofValue(basePath_, key), {std::uint32_t{ConfigValue::Text}, {}});
    if (!stored) {
        return defaultValue;
    }
    // Other programs leave out the terminator, write several, or half a unit too much.
    const Bytes& bytes = stored.value.data;
    std::u16string text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto unit = static_cast<char16_t>(fromLittleEndian<std::uint16_t>(&bytes[i]));
        if (unit == u'\0') {
            break;
        }
        text.push_back(unit);
    }
    return String::fromWide(text.data(), text.size());
}

void ConfigFile::writeString(const String& key, const String& value) {
    Bytes bytes;
    for (const char16_t unit : value.toWide()) {
        bytes.push_back(static_cast<std::uint8_t>(unit));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8U));
    }
    bytes.insert(bytes.end(), 2, 0);
    writeBytes(rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::Text, bytes);
}

float ConfigFile::readFloat(const String& key, float defaultValue) const {
    const auto bits =
        readInteger<std::uint32_t>(rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::Binary);
    return bits ? std::bit_cast<float>(bits.value) : defaultValue;
}

void ConfigFile::writeFloat(const String& key, float value) {
    writeBytes(
        rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::Binary,
        littleEndian(std::bit_cast<std::uint32_t>(value)));
}

bool ConfigFile::readBool(const String& key, bool defaultValue) const {
    const auto value =
        readInteger<std::uint32_t>(rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::DWord);
    return value ? value.value != 0 : defaultValue;
}

void ConfigFile::writeBool(const String& key, bool value) {
    writeBytes(
        rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::DWord,
        littleEndian(std::uint32_t{value ? 1U : 0U}));
}

std::int32_t ConfigFile::readInt(const String& key, std::int32_t defaultValue) const {
    const auto value =
        readInteger<std::uint32_t>(rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::DWord);
    return value ? static_cast<std::int32_t>(value.value) : defaultValue;
}

void ConfigFile::writeInt(const String& key, std::int32_t value) {
    writeBytes(
        rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::DWord,
        littleEndian(static_cast<std::uint32_t>(value)));
}

std::uint64_t ConfigFile::readUInt64(const String& key, std::uint64_t defaultValue) const {
    const auto value =
        readInteger<std::uint64_t>(rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::QWord);
    return value.value_or(defaultValue);
}

void ConfigFile::writeUInt64(const String& key, std::uint64_t value) {
    writeBytes(rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::QWord, littleEndian(value));
}

std::uint32_t ConfigFile::readUnsigned(const String& key, std::uint32_t defaultValue) const {
    const auto value =
        readInteger<std::uint32_t>(rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::DWord);
    return value.value_or(defaultValue);
}

void ConfigFile::writeUnsigned(const String& key, std::uint32_t value) {
    writeBytes(rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::DWord, littleEndian(value));
}

bool ConfigFile::readBlob(const String& key, std::vector<std::uint8_t>& out) const {
    auto stored = ConfigSystem::read(
        rootKey_, ConfigKey::ofValue(basePath_, key), {std::uint32_t{ConfigValue::Binary}, {}});
    out = std::move(stored.value.data);
    return stored.valid;
}

void ConfigFile::writeBlob(const String& key, const std::vector<std::uint8_t>& value) {
    if (value.size() <= std::numeric_limits<std::uint32_t>::max()) {
        writeBlob(key, value.empty() ? nullptr : value.data(), static_cast<std::uint32_t>(value.size()));
    }
}

void ConfigFile::writeBlob(const String& key, const void* data, std::uint32_t size) {
    if (data != nullptr || size == 0) {
        ConfigSystem::write(rootKey_, ConfigKey::ofValue(basePath_, key), ConfigValue::Binary, data, size);
    }
}

void ConfigFile::removeValue(const String& key) {
    ConfigSystem::removeValue(rootKey_, ConfigKey::ofValue(basePath_, key));
}

void ConfigFile::removeKey(const String& key) {
    const ConfigKey place = ConfigKey::ofValue(basePath_, key);
    // The platform would take an empty name for the sub-key that it is asked in, and remove that.
    if (!place.valueName.isEmpty()) {
        ConfigSystem::removeSubkey(rootKey_, place);
    }
}

void ConfigFile::copyValue(const String& key, const ConfigFile& other) {
    const auto stored = ConfigSystem::read(other.rootKey_, ConfigKey::ofValue(other.basePath_, key), {});
    if (stored) {
        writeBytes(rootKey_, ConfigKey::ofValue(basePath_, key), stored.value.type, stored.value.data);
    }
}

void ConfigFile::flush() {}

} // namespace Util
