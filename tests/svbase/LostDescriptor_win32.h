#pragma once

#include <fcntl.h>
#include <io.h>

/// The descriptor that the next file to be opened gets: the lowest that is free. Who closes it takes a file
/// away behind the back of whatever was opened with it.
inline int nextDescriptor() {
    const int descriptor = _wopen(L"NUL", _O_RDONLY);
    _close(descriptor);
    return descriptor;
}
