#include "AlignedMemory.h"

#include <cstdlib>

namespace DSP::Testing {

void* AllocateAlignedMemory(std::size_t size, std::size_t boundary) noexcept {
    void* memory = nullptr;
    return posix_memalign(&memory, boundary, size) == 0 ? memory : nullptr;
}

void FreeAlignedMemory(void* memory) noexcept {
    std::free(memory);
}

} // namespace DSP::Testing
