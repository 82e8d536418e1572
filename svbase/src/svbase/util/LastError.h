#pragma once

#include <cstdint>

namespace Util {

/// The system's code of the last failed call of this thread: GetLastError() on Windows, errno elsewhere.
std::uint32_t lastSystemError();

} // namespace Util
