#include "svbase/util/LastError.h"

#include <cerrno>

namespace Util {

std::uint32_t lastSystemError() {
    return static_cast<std::uint32_t>(errno);
}

} // namespace Util
