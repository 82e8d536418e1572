#pragma once

#include "hosting/vst/VSTLibrary.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Tarvik {

/// The machine type that a Windows library names in its headers; empty when there are none, when they reach
/// past the end of the bytes, or when the machine is another. The bytes may be anything. [any]
std::vector<MachineType> readPortableExecutable(std::span<const std::uint8_t> file);

/// The same of an ELF library.
std::vector<MachineType> readElf(std::span<const std::uint8_t> file);

} // namespace Tarvik
