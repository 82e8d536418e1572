#pragma once

#include "svbase/util/String.h"

#include <cstdint>
#include <vector>

namespace Util {
class Module;
}

namespace Tarvik {

/// The processors that a library may be built for.
enum class MachineType : std::uint8_t {
    X86 = 0,
    X86_64 = 1,
    IA64 = 2,
};

/// Duties of the platform towards the library of an effect. [main]
class VSTLibrary {
public:
    /// The form of a path that the platform loads a library by. Effects see it again when they ask where they
    /// are, so it is as plain as it can be.
    static String LoadPath(const String& path);

    /// Loads without the system's dialogs about missing disks and parts. False on any failure.
    static bool LoadQuietly(Util::Module& module);

    /// The machine types of a library file, loaded or not. Empty when the file is no library or cannot be
    /// read. path: in either form.
    static std::vector<MachineType> ReadMachineTypes(const String& path);
};

} // namespace Tarvik
