#include "dsp/ScratchPool.h"

#include <functional>
#include <new>
#include <utility>

namespace DSP {

ScratchPool::ScratchPool(String poolName) : name(std::move(poolName)) {}

void ScratchPool::ReserveScratch(std::uint32_t size) {
    if (bytes.size() < size) {
        bytes.resize(size);
    }
}

void* ScratchPool::AllocScratch(std::uint32_t size) {
    if (used > bytes.size()) {
        used = 0;
    }
    if (std::uint64_t{used} + size <= bytes.size()) {
        void* block = bytes.data() + used;
        used += size;
        return block;
    }
    return ::operator new(size);
}

void ScratchPool::FreeScratch(void* pointer, std::uint32_t size) {
    if (used > bytes.size()) {
        used = 0;
        return;
    }
    if (size > used) {
        return;
    }
    const std::byte* begin = bytes.data();
    const std::byte* position = static_cast<const std::byte*>(pointer);
    const std::less_equal<const std::byte*> notAfter;
    if (notAfter(begin, position) && notAfter(position, begin + bytes.size())) {
        used -= size;
    } else {
        ::operator delete(pointer);
    }
}

} // namespace DSP
