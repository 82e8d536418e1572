#include "svbase/util/FileSystem.h"

#include "svbase/util/Path.h"

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace Util::FileSystem {

namespace {

std::FILE* refuse(int descriptor, int error) {
    ::close(descriptor);
    errno = error;
    return nullptr;
}

bool status(const String& path, struct stat& result) {
    return ::stat(Path::toSystem(path).c_str(), &result) == 0;
}

} // namespace

std::FILE* open(const String& path, const OpenFlags& flags, const char* streamMode) {
    int mode = O_CLOEXEC | (flags.read && flags.write ? O_RDWR : flags.write ? O_WRONLY : O_RDONLY);
    mode |= flags.create ? O_CREAT : 0;
    mode |= flags.truncate ? O_TRUNC : 0;
    mode |= flags.append ? O_APPEND : 0;
    mode |= flags.exclusive ? O_EXCL : 0;
    const int descriptor = ::open(Path::toSystem(path).c_str(), mode, 0666);
    if (descriptor < 0) {
        return nullptr;
    }
    struct stat result = {};
    if (fstat(descriptor, &result) == 0 && S_ISDIR(result.st_mode)) {
        return refuse(descriptor, EISDIR);
    }
    std::FILE* handle = fdopen(descriptor, streamMode);
    return handle == nullptr ? refuse(descriptor, errno) : handle;
}

bool seek(std::FILE* handle, std::uint64_t position) {
    static_assert(sizeof(off_t) == 8);
    return fseeko(handle, static_cast<off_t>(position), SEEK_SET) == 0;
}

checked_value<std::uint64_t> tell(std::FILE* handle) {
    const off_t position = ftello(handle);
    return position < 0 ? checked_value<std::uint64_t>() : static_cast<std::uint64_t>(position);
}

checked_value<std::uint64_t> size(std::FILE* handle) {
    struct stat result = {};
    if (fstat(fileno(handle), &result) != 0) {
        return {};
    }
    return static_cast<std::uint64_t>(result.st_size);
}

checked_value<std::uint64_t> size(const String& path) {
    struct stat result = {};
    if (!status(path, result)) {
        return {};
    }
    return static_cast<std::uint64_t>(result.st_size);
}

checked_value<FileTimes> times(const String& path) {
    struct stat result = {};
    if (!status(path, result)) {
        return {};
    }
    return FileTimes{result.st_mtim.tv_sec, result.st_ctim.tv_sec};
}

bool exists(const String& path) {
    return access(Path::toSystem(path).c_str(), F_OK) == 0;
}

bool isDirectory(const String& path) {
    struct stat result = {};
    return status(path, result) && S_ISDIR(result.st_mode);
}

bool makeDirectory(const String& path) {
    return mkdir(Path::toSystem(path).c_str(), 0777) == 0;
}

} // namespace Util::FileSystem
