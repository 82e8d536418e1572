#include "svbase/util/FileSystem.h"

#include "svbase/util/Path.h"

#include <cerrno>
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <string>
#include <sys/stat.h>
#include <wchar.h>

#include <windows.h>

namespace Util::FileSystem {

namespace {

std::wstring systemPath(const String& path) {
    return Path::toSystem(path).toNativeWide();
}

std::uint64_t joined(DWORD high, DWORD low) {
    return (std::uint64_t{high} << 32U) | low;
}

std::int64_t seconds(const FILETIME& time) {
    constexpr std::int64_t ticksPerSecond = 10'000'000;
    constexpr std::int64_t from1601To1970 = 11'644'473'600;
    const auto ticks = static_cast<std::int64_t>(joined(time.dwHighDateTime, time.dwLowDateTime));
    return ticks / ticksPerSecond - from1601To1970;
}

// Not the C library's status call: it takes the '?' of the "\\?\" prefix for a wildcard and refuses.
bool status(const String& path, WIN32_FILE_ATTRIBUTE_DATA& result) {
    if (GetFileAttributesExW(systemPath(path).c_str(), GetFileExInfoStandard, &result) != 0) {
        return true;
    }
    errno = GetLastError() == ERROR_ACCESS_DENIED ? EACCES : ENOENT;
    return false;
}

} // namespace

std::FILE* open(const String& path, const OpenFlags& flags, const char* streamMode) {
    int mode = flags.read && flags.write ? _O_RDWR : flags.write ? _O_WRONLY : _O_RDONLY;
    mode |= flags.create ? _O_CREAT : 0;
    mode |= flags.truncate ? _O_TRUNC : 0;
    mode |= flags.append ? _O_APPEND : 0;
    mode |= flags.exclusive ? _O_EXCL : 0;
    mode |= flags.text ? _O_TEXT : _O_BINARY;
    const int descriptor = _wsopen(systemPath(path).c_str(), mode, _SH_DENYNO, _S_IREAD | _S_IWRITE);
    if (descriptor < 0) {
        return nullptr;
    }
    std::FILE* handle = _fdopen(descriptor, streamMode);
    if (handle == nullptr) {
        const int error = errno;
        _close(descriptor);
        errno = error;
    }
    return handle;
}

bool seek(std::FILE* handle, std::uint64_t position) {
    return _fseeki64(handle, static_cast<std::int64_t>(position), SEEK_SET) == 0;
}

checked_value<std::uint64_t> tell(std::FILE* handle) {
    const std::int64_t position = _ftelli64(handle);
    return position < 0 ? checked_value<std::uint64_t>() : static_cast<std::uint64_t>(position);
}

checked_value<std::uint64_t> size(std::FILE* handle) {
    struct _stat64 result = {};
    if (_fstat64(_fileno(handle), &result) != 0) {
        return {};
    }
    return static_cast<std::uint64_t>(result.st_size);
}

checked_value<std::uint64_t> size(const String& path) {
    WIN32_FILE_ATTRIBUTE_DATA result = {};
    if (!status(path, result)) {
        return {};
    }
    return joined(result.nFileSizeHigh, result.nFileSizeLow);
}

checked_value<FileTimes> times(const String& path) {
    WIN32_FILE_ATTRIBUTE_DATA result = {};
    if (!status(path, result)) {
        return {};
    }
    return FileTimes{seconds(result.ftLastWriteTime), seconds(result.ftCreationTime)};
}

bool exists(const String& path) {
    return _waccess(systemPath(path).c_str(), 0) == 0;
}

bool isDirectory(const String& path) {
    WIN32_FILE_ATTRIBUTE_DATA result = {};
    return status(path, result) && (result.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool makeDirectory(const String& path) {
    return _wmkdir(systemPath(path).c_str()) == 0;
}

} // namespace Util::FileSystem
