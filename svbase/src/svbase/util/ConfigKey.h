#pragma once

#include "svbase/util/String.h"

namespace Util {

/// Where a value stands in the hierarchy of preferences. Texts end at their first NUL.
///
/// A key is written with "/" or "\" between its components and "\/" for a "/" inside of one: "a\/b/c" is the
/// value "c" in the sub-key "a/b". The character 7 stands for that "/" while a key is taken apart, and so is
/// one itself.
struct ConfigKey {
    /// The components with "\" between them; what is empty among them names nothing.
    String subkey;
    /// Empty for the default value of the sub-key.
    String valueName;

    /// The value that a key below a base path names. The two meet at one "/", also when the base ends in one
    /// or the key begins with one. [any]
    static ConfigKey ofValue(const String& basePath, const String& key);
    /// The sub-key that a path below a base path names; the base itself for an empty path. [any]
    static String ofSubkey(const String& basePath, const String& path);
};

} // namespace Util
