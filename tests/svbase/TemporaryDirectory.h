#pragma once

#include "svbase/util/String.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

/// An empty directory of its own, gone with everything in it at the end.
class TemporaryDirectory {
public:
    TemporaryDirectory() : TemporaryDirectory(std::filesystem::temp_directory_path()) {}
    explicit TemporaryDirectory(const std::filesystem::path& parent) {
        std::random_device random;
        do {
            path_ = parent / ("svbase-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// The path of a name in the directory. name: UTF-8.
    String operator/(const std::u8string& name) const { return text(path_ / name); }

    /// Writes the bytes as they stand and gives the path.
    String file(const std::u8string& name, const std::string& bytes) const {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
        return *this / name;
    }

    /// The bytes of a file.
    std::string bytes(const std::u8string& name) const {
        std::ifstream in(path_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

private:
    static String text(const std::filesystem::path& path) {
        const std::u8string utf8 = path.u8string();
        return String(std::string(utf8.begin(), utf8.end()));
    }

    std::filesystem::path path_;
};
