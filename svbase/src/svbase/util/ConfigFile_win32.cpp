#include "svbase/util/ConfigSystem.h"

#include "svbase/util/Noncopyable.h"
#include "svbase/util/Unicode.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include <windows.h>

namespace Util::ConfigSystem {

namespace {

HKEY handleOf(ConfigFile::Hive hive) {
    // The published values are negative 32-bit numbers, and widen as such.
    // NOLINTNEXTLINE(performance-no-int-to-ptr): that is what these handles are
    return reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(hive)));
}

/// As the platform's calls take it. False when there is no such form: an empty text in its place would name
/// the hive itself, or a default value.
bool toNative(const String& text, std::wstring& out) {
    std::u16string wide;
    if (!Unicode::toUtf16(text.view(), wide)) {
        return false;
    }
    out.assign(wide.begin(), wide.end());
    return true;
}

struct NativeKey {
    explicit NativeKey(const ConfigKey& key)
        : isValid(toNative(key.subkey, subkey) && toNative(key.valueName, valueName)) {}

    std::wstring subkey;
    std::wstring valueName;
    bool isValid;
};

/// An open sub-key, or none.
class Key : noncopyable {
public:
    static constexpr REGSAM readRight = 0x20019;
    static constexpr REGSAM writeRight = 0x20006;

    Key() = default;
    ~Key() {
        if (key_ != nullptr) {
            RegCloseKey(key_);
        }
    }

    bool open(ConfigFile::Hive hive, const std::wstring& subkey, REGSAM right) {
        return succeeded(RegOpenKeyExW(handleOf(hive), subkey.c_str(), 0, right, &key_));
    }
    bool create(ConfigFile::Hive hive, const std::wstring& subkey) {
        return succeeded(RegCreateKeyExW(
            handleOf(hive), subkey.c_str(), 0, nullptr, 0, writeRight, nullptr, &key_, nullptr));
    }
    HKEY get() const { return key_; }

private:
    bool succeeded(LSTATUS status) {
        if (status != ERROR_SUCCESS) {
            key_ = nullptr;
        }
        return status == ERROR_SUCCESS;
    }

    HKEY key_ = nullptr;
};

using Enumerate = LSTATUS(HKEY key, DWORD index, wchar_t* name, DWORD* length);

std::vector<String> names(ConfigFile::Hive hive, const String& subkey, Enumerate* enumerate) {
    std::vector<String> found;
    std::wstring native;
    Key opened;
    if (!toNative(subkey, native) || !opened.open(hive, native, Key::readRight)) {
        return found;
    }
    std::wstring name(256, L'\0');
    for (DWORD index = 0;;) {
        DWORD length = static_cast<DWORD>(name.size());
        const LSTATUS status = enumerate(opened.get(), index, name.data(), &length);
        if (status == ERROR_MORE_DATA && name.size() < 65536) {
            name.resize(name.size() * 2);
            continue;
        }
        if (status != ERROR_SUCCESS) {
            return found;
        }
        String text = String::fromWide(name.data(), length);
        if (length == 0 || !text.isEmpty()) {
            found.push_back(std::move(text));
        }
        ++index;
    }
}

} // namespace

checked_value<ConfigValue> read(ConfigFile::Hive hive, const ConfigKey& key, const Wanted& wanted) {
    const NativeKey native(key);
    Key opened;
    DWORD type = 0;
    DWORD size = 0;
    if (!native.isValid || !opened.open(hive, native.subkey, Key::readRight) ||
        RegQueryValueExW(opened.get(), native.valueName.c_str(), nullptr, &type, nullptr, &size) !=
            ERROR_SUCCESS ||
        !wanted.accepts(type, size)) {
        return {};
    }
    // One byte more, as the address of no bytes is null, which asks for the size alone.
    ConfigValue value{type, std::vector<std::uint8_t>(std::size_t{size} + 1)};
    DWORD typeNow = 0;
    DWORD sizeNow = size;
    if (RegQueryValueExW(
            opened.get(), native.valueName.c_str(), nullptr, &typeNow, value.data.data(), &sizeNow) !=
            ERROR_SUCCESS ||
        typeNow != type || sizeNow != size) {
        return {};
    }
    value.data.resize(size);
    return value;
}

void write(
    ConfigFile::Hive hive, const ConfigKey& key, std::uint32_t type, const void* data, std::uint32_t size) {
    const NativeKey native(key);
    Key created;
    if (!native.isValid || !created.create(hive, native.subkey)) {
        return;
    }
    // Of a text, the platform looks at the character before its end and at the one behind, and takes a
    // terminator in that was not counted. What it finds around these bytes is ours.
    constexpr std::size_t margin = 8;
    std::vector<std::uint8_t> fenced(margin + size + margin, 0xFF);
    if (size != 0) {
        std::memcpy(fenced.data() + margin, data, size);
    }
    RegSetValueExW(
        created.get(), native.valueName.c_str(), 0, type, size == 0 ? nullptr : fenced.data() + margin, size);
}

void removeValue(ConfigFile::Hive hive, const ConfigKey& key) {
    const NativeKey native(key);
    Key opened;
    if (native.isValid && opened.open(hive, native.subkey, Key::writeRight)) {
        RegDeleteValueW(opened.get(), native.valueName.c_str());
    }
}

void removeSubkey(ConfigFile::Hive hive, const ConfigKey& key) {
    const NativeKey native(key);
    Key opened;
    if (native.isValid && opened.open(hive, native.subkey, Key::writeRight)) {
        RegDeleteKeyW(opened.get(), native.valueName.c_str());
    }
}

std::vector<String> subkeys(ConfigFile::Hive hive, const String& subkey) {
    return names(hive, subkey, [](HKEY key, DWORD index, wchar_t* name, DWORD* length) {
        return RegEnumKeyExW(key, index, name, length, nullptr, nullptr, nullptr, nullptr);
    });
}

std::vector<String> valueNames(ConfigFile::Hive hive, const String& subkey) {
    return names(hive, subkey, [](HKEY key, DWORD index, wchar_t* name, DWORD* length) {
        return RegEnumValueW(key, index, name, length, nullptr, nullptr, nullptr, nullptr);
    });
}

} // namespace Util::ConfigSystem
