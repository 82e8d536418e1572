#pragma once

#include <filesystem>
#include <unistd.h>

/// Where temporary files cost no disk, which tests that flush thousands of times would wait for.
inline std::filesystem::path memoryFolder() {
    const std::filesystem::path memory = "/dev/shm";
    return ::access(memory.c_str(), W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
}
