#pragma once

#include <cstddef>

/// Memory below operator new. boundary: a power of two. Null when there is none left.
void* AllocateAlignedMemory(std::size_t size, std::size_t boundary) noexcept;
void FreeAlignedMemory(void* memory) noexcept;
