#pragma once

#include <cstdint>

/// Integers from the bytes of a file. source: as many bytes as the name says bits.
namespace Audio::Decode {

inline std::uint16_t little16(const std::uint8_t* source) {
    return static_cast<std::uint16_t>(source[0] | source[1] << 8U);
}
inline std::uint32_t little32(const std::uint8_t* source) {
    return little16(source) | std::uint32_t{little16(source + 2)} << 16U;
}
inline std::uint64_t little64(const std::uint8_t* source) {
    return little32(source) | std::uint64_t{little32(source + 4)} << 32U;
}
inline std::uint16_t big16(const std::uint8_t* source) {
    return static_cast<std::uint16_t>(source[0] << 8U | source[1]);
}
inline std::uint32_t big32(const std::uint8_t* source) {
    return std::uint32_t{big16(source)} << 16U | big16(source + 2);
}

} // namespace Audio::Decode
