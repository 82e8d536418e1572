#include "support/AlignedMemory.h"

#include <cstdlib>

void* AllocateAlignedMemory(std::size_t size, std::size_t boundary) noexcept {
    void* memory = nullptr;
    return posix_memalign(&memory, boundary, size) == 0 ? memory : nullptr;
}

void FreeAlignedMemory(void* memory) noexcept {
    std::free(memory);
}
