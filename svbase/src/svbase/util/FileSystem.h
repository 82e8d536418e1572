#pragma once

#include "svbase/util/File.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <cstdint>
#include <cstdio>

/// The C library's files with 64-bit positions and paths in Unicode. Duties of a platform: take paths in any
/// form, leave errno set on failure, keep nobody else from opening the file.
namespace Util::FileSystem {

struct OpenFlags {
    bool read = false;
    bool write = false;
    bool create = false;
    bool truncate = false;
    bool append = false;
    bool exclusive = false;
    bool text = false;
};

/// Null on failure, also for a directory. streamMode: the mode of the C stream, in agreement with the flags.
std::FILE* open(const String& path, const OpenFlags& flags, const char* streamMode);

bool seek(std::FILE* handle, std::uint64_t position);
checked_value<std::uint64_t> tell(std::FILE* handle);

checked_value<std::uint64_t> size(std::FILE* handle);
checked_value<std::uint64_t> size(const String& path);
checked_value<FileTimes> times(const String& path);
bool exists(const String& path);
bool isDirectory(const String& path);
/// One level; the parent must exist.
bool makeDirectory(const String& path);

} // namespace Util::FileSystem
