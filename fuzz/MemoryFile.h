#pragma once

#include "Require.h"

#include "svbase/util/String.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

/// A file that is nowhere but in memory, for what takes paths. One for the whole run: each input replaces the
/// bytes of the one before.
class MemoryFile {
public:
    MemoryFile() : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) { REQUIRE(descriptor_ >= 0); }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    /// The path by which this process opens it.
    String path() const { return String("/proc/self/fd/%1").arg(descriptor_); }

    void setBytes(const std::uint8_t* bytes, std::size_t size) {
        setSize(size);
        REQUIRE(pwrite(descriptor_, bytes, size, 0) == static_cast<ssize_t>(size));
    }

    /// Cuts the file, or lets it grow by zeros.
    void setSize(std::size_t size) { REQUIRE(ftruncate(descriptor_, static_cast<off_t>(size)) == 0); }

private:
    int descriptor_;
};
