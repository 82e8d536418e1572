#include "AlignedMemory.h"

#include <malloc.h>

namespace DSP::Testing {

void* AllocateAlignedMemory(std::size_t size, std::size_t boundary) noexcept {
    return _aligned_malloc(size, boundary);
}

void FreeAlignedMemory(void* memory) noexcept {
    _aligned_free(memory);
}

} // namespace DSP::Testing
