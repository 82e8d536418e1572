#pragma once

#include "audio/decode/REXLibrary.h"

#include <cstdint>
#include <memory>

namespace Audio::Decode::REX {

/// A Library::Loader: has the system find the vendor's library by its name, the preview of its next version
/// first, and looks at its version and for its functions. [any]
std::int32_t LoadVendorLibrary(Functions& functions, std::shared_ptr<Util::Module>& module);

/// From NT 4 on, and from 98 on of the line that ended with it. platform, major, minor: as GetVersionExA
/// tells them.
bool IsSystemSupported(std::uint32_t platform, std::uint32_t major, std::uint32_t minor);

/// NoError, LibraryTooOld or InterfaceTooOld.
ErrorNumber CheckVersion(std::uint32_t major, std::uint32_t minor, std::uint32_t build);

/// The one library of this process, loaded when a decoder first wants it. The process lets go of it at its
/// orderly end; decoders that are still there then keep it.
std::shared_ptr<Library> ProcessLibrary();

} // namespace Audio::Decode::REX
