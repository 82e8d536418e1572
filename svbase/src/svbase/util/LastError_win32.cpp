#include "svbase/util/LastError.h"

#include <windows.h>

namespace Util {

std::uint32_t lastSystemError() {
    return GetLastError();
}

} // namespace Util
