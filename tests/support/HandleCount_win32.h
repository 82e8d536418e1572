#pragma once

#include <windows.h>

/// How many handles this process has open. Throws std::runtime_error where the platform does not tell: a
/// number that never changes would make every comparison pass. [any]
DWORD openHandles();
