#include "support/AlignedMemory.h"

#include <malloc.h>

void* AllocateAlignedMemory(std::size_t size, std::size_t boundary) noexcept {
    return _aligned_malloc(size, boundary);
}

void FreeAlignedMemory(void* memory) noexcept {
    _aligned_free(memory);
}
