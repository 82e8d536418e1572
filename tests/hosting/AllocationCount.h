#pragma once

#include <cstdint>

/// Allocations of the calling thread since its start: every form of operator new in this program counts.
std::uint64_t AllocationCount();
