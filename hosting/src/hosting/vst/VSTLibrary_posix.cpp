#include "hosting/vst/LibraryImage.h"
#include "hosting/vst/VSTLibrary.h"

#include "svbase/util/Module.h"
#include "svbase/util/Path.h"

#include <array>
#include <cstddef>
#include <fstream>

namespace Tarvik {

String VSTLibrary::LoadPath(const String& path) {
    return Util::Path::toSystem(path);
}

bool VSTLibrary::LoadQuietly(Util::Module& module) {
    return module.load();
}

std::vector<MachineType> VSTLibrary::ReadMachineTypes(const String& path) {
    std::ifstream file(Util::Path::toSystem(path).c_str(), std::ios::binary);
    // The header is all that an ELF file is asked for.
    std::array<char, 64> header{};
    file.read(header.data(), header.size());
    return readElf(
        {reinterpret_cast<const std::uint8_t*>(header.data()), static_cast<std::size_t>(file.gcount())});
}

} // namespace Tarvik
