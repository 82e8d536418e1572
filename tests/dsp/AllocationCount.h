#pragma once

#include <cstddef>

namespace DSP::Testing {

/// Calls of operator new, in all its forms, on any thread since the program began. [any]
std::size_t GetAllocationCount() noexcept;

} // namespace DSP::Testing
