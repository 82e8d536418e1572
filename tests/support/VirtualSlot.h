#pragma once

#include <cstddef>
#include <cstring>
#include <numeric>
#include <vector>

/// The position of a virtual operation in its class's table, destructors included. Read from the pointer to
/// the member, which holds one more than the offset on the platforms that this is built for.
template<class Member>
std::ptrdiff_t virtualSlot(Member member) {
    std::ptrdiff_t offset = 0;
    std::memcpy(&offset, &member, sizeof offset);
    return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

/// The positions of the operations, in the order given.
template<class... Members>
std::vector<std::ptrdiff_t> virtualSlots(Members... members) {
    return {virtualSlot(members)...};
}

/// first, the number behind it, and so on: what virtualSlots gives for operations that stand in that order.
inline std::vector<std::ptrdiff_t> slotsFrom(std::ptrdiff_t first, std::size_t count) {
    std::vector<std::ptrdiff_t> slots(count);
    std::iota(slots.begin(), slots.end(), first);
    return slots;
}

/// A destructor takes two entries of the table: one that frees the memory, one that does not.
inline constexpr std::ptrdiff_t destructorSlots = 2;
