#include "hosting/vst/LibraryImage.h"

#include <cstddef>

namespace Tarvik {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint32_t littleEndian16(Bytes bytes, std::size_t at) {
    return bytes[at] | static_cast<std::uint32_t>(bytes[at + 1]) << 8;
}

constexpr std::uint32_t littleEndian32(Bytes bytes, std::size_t at) {
    return littleEndian16(bytes, at) | littleEndian16(bytes, at + 2) << 16;
}

// Where the DOS header keeps the offset of the NT headers, and its own size.
constexpr std::size_t newHeaderAt = 0x3C;
constexpr std::size_t dosHeaderSize = 0x40;
constexpr std::uint32_t dosSignature = 0x5A4D;
constexpr std::uint32_t ntSignature = 0x00004550;
// Of the signature and the file header behind it.
constexpr std::size_t ntHeaderSize = 24;

constexpr std::size_t elfHeaderSize = 20;
constexpr std::uint32_t elfSignature = 0x464C457F;
constexpr std::size_t elfMachineAt = 18;

} // namespace

std::vector<MachineType> readPortableExecutable(Bytes file) {
    if (file.size() < dosHeaderSize || littleEndian16(file, 0) != dosSignature) {
        return {};
    }
    const std::size_t header = littleEndian32(file, newHeaderAt);
    if (header > file.size() || file.size() - header < ntHeaderSize ||
        littleEndian32(file, header) != ntSignature) {
        return {};
    }
    switch (littleEndian16(file, header + 4)) {
    case 0x014C:
        return {MachineType::X86};
    case 0x8664:
        return {MachineType::X86_64};
    case 0x0200:
        return {MachineType::IA64};
    default:
        return {};
    }
}

std::vector<MachineType> readElf(Bytes file) {
    if (file.size() < elfHeaderSize || littleEndian32(file, 0) != elfSignature) {
        return {};
    }
    switch (littleEndian16(file, elfMachineAt)) {
    case 3:
        return {MachineType::X86};
    case 62:
        return {MachineType::X86_64};
    case 50:
        return {MachineType::IA64};
    default:
        return {};
    }
}

} // namespace Tarvik
