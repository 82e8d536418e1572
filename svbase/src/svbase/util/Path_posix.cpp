#include "svbase/util/PathSystem.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace Util::Path::System {

String home() {
    return std::getenv("HOME");
}

String complete(const String& path) {
    std::string buffer(256, '\0');
    while (getcwd(buffer.data(), buffer.size()) == nullptr) {
        if (errno != ERANGE) {
            return {};
        }
        buffer.resize(buffer.size() * 2);
    }
    return String(buffer.c_str()) + "/" + path;
}

String decorate(const String& path) {
    return path;
}

} // namespace Util::Path::System
