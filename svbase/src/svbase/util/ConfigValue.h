#pragma once

#include <cstdint>
#include <vector>

namespace Util {

/// A preference as it is stored. Integers and floats are little-endian, texts UTF-16 little-endian with their
/// terminator.
struct ConfigValue {
    /// The published numbers of the types that preferences are written with; others may be met.
    enum Type : std::uint32_t { Text = 1, Binary = 3, DWord = 4, QWord = 11 };

    std::uint32_t type = 0;
    std::vector<std::uint8_t> data;

    friend bool operator==(const ConfigValue&, const ConfigValue&) = default;
};

} // namespace Util
