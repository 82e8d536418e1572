#pragma once

#include <cstddef>
#include <cstring>

/// The position of a virtual operation in its class's table, destructors included. Read from the pointer to
/// the member, which holds one more than the offset on the platforms that this is built for.
template<class Member>
std::ptrdiff_t virtualSlot(Member member) {
    std::ptrdiff_t offset = 0;
    std::memcpy(&offset, &member, sizeof offset);
    return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}
