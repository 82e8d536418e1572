#pragma once

#include "svbase/util/DataStream.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

/// What the streams share about one value: which bytes it is on the stream, and how a message prints it.
namespace Util::StreamValue {

static_assert(std::endian::native == std::endian::little);

/// The type whose bytes stand on the stream.
template<class T>
struct Stored {
    using type = T;
};
template<class Integer>
struct Stored<LongStandIn<Integer>> {
    using type = Integer;
};
template<>
struct Stored<bool> {
    using type = std::uint8_t;
};
template<class T>
using stored_t = typename Stored<T>::type;

template<class T>
using Bytes = std::array<std::byte, sizeof(stored_t<T>)>;

constexpr bool swaps(ByteOrder order) {
    return order != ByteOrder::Processor && order != ByteOrder::LittleEndian;
}

template<class T>
Bytes<T> toBytes(T value, ByteOrder order) {
    auto bytes = std::bit_cast<Bytes<T>>(static_cast<stored_t<T>>(value));
    if (swaps(order)) {
        std::reverse(bytes.begin(), bytes.end());
    }
    return bytes;
}

template<class T>
T fromBytes(Bytes<T> bytes, ByteOrder order) {
    if (swaps(order)) {
        std::reverse(bytes.begin(), bytes.end());
    }
    return static_cast<T>(std::bit_cast<stored_t<T>>(bytes));
}

/// As a decimal, characters too.
template<class T>
String text(T value) {
    if constexpr (std::is_floating_point_v<T>) {
        return String::number(value);
    } else if constexpr (sizeof(stored_t<T>) == 1) {
        return String::number(static_cast<int>(value));
    } else {
        return String::number(static_cast<stored_t<T>>(value));
    }
}

} // namespace Util::StreamValue
