#pragma once

#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

#include <cstdint>
#include <vector>

namespace Util {

/// The user's preferences below a base path: typed values in a hierarchy, on Windows a view of the registry.
/// Nothing here fails: a value that is missing, of another type or of another size reads as the caller's
/// default, and what cannot be written is dropped. A key is a path below the base, see ConfigKey.h.
///
/// No state beside base and hive: objects are made wherever a preference is needed, and every operation looks
/// at the store anew. Changes of other processes show at once, and none gets lost. [any], but not [audio]:
/// each operation opens and closes the store, and a write waits for other writers, some seconds at most: then
/// it is one of those that are dropped.
class ConfigFile : noncopyable {
public:
    /// The roots of the hierarchy, by the values that the platform publishes for their handles.
    enum class Hive : std::uint32_t {
        ClassesRoot = 0x80000000,
        CurrentUser = 0x80000001,
        LocalMachine = 0x80000002,
        Users = 0x80000003,
    };

    /// In the hive CurrentUser.
    explicit ConfigFile(const String& path);
    /// Every "\" of the path becomes "/", so that a base path has no way to write a "/" inside of a
    /// component.
    ConfigFile(const String& path, Hive rootKey);

    /// Where a feature of a product keeps its preferences, apart from those that all products share: a base
    /// path. Neither name may have a "/" or "\" in it.
    static String basePathOf(const String& product, const String& feature);

    virtual String path() const;

    /// Replaces `out` by the names directly below the base, or below a path in it. As they stand: to be used
    /// in a key, a "/" in a name must be written "\/".
    virtual void subkeys(std::vector<String>& out, const String& path) const;
    /// The default value of the sub-key, when it is set, has the empty name.
    virtual void valueNames(std::vector<String>& out, const String& path) const;

    /// Up to the first NUL. What has no UTF-8 form reads as the empty text.
    virtual String readString(const String& key, const String& defaultValue) const;
    /// What has no UTF-16 form is written as the empty text.
    virtual void writeString(const String& key, const String& value);
    /// The four bytes as they were written, so that a NaN is one again.
    virtual float readFloat(const String& key, float defaultValue) const;
    virtual void writeFloat(const String& key, float value);
    virtual bool readBool(const String& key, bool defaultValue) const;
    virtual void writeBool(const String& key, bool value);
    /// Ints and unsigneds share one form, and read as each other.
    virtual std::int32_t readInt(const String& key, std::int32_t defaultValue) const;
    virtual void writeInt(const String& key, std::int32_t value);
    virtual std::uint64_t readUInt64(const String& key, std::uint64_t defaultValue) const;
    virtual void writeUInt64(const String& key, std::uint64_t value);
    virtual std::uint32_t readUnsigned(const String& key, std::uint32_t defaultValue) const;
    virtual void writeUnsigned(const String& key, std::uint32_t value);
    /// False when not found; `out` is then empty.
    virtual bool readBlob(const String& key, std::vector<std::uint8_t>& out) const;
    virtual void writeBlob(const String& key, const std::vector<std::uint8_t>& value);
    /// data: size bytes; may be null when there are none, else nothing is written.
    virtual void writeBlob(const String& key, const void* data, std::uint32_t size);

    virtual void removeValue(const String& key);
    /// Takes the last component as a sub-key, and removes it with its values, unless there are sub-keys in
    /// it. A key that is empty or ends in "/" names none.
    virtual void removeKey(const String& key);

    /// Writes under the same key what `other` holds there, whatever its type; nothing when it holds nothing.
    virtual void copyValue(const String& key, const ConfigFile& other);

    /// What was written stands already.
    virtual void flush();

    virtual ~ConfigFile();

private:
    String basePath_;
    Hive rootKey_;
};

} // namespace Util
