#pragma once

#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

#include <cstdint>
#include <filesystem>
#include <vector>

/// The directory that the running test program stands in, without a trailing separator.
String TestProgramDirectory();

std::filesystem::path ToFilePath(const String& path);

/// A new empty directory of one test, beside the test program. Goes with the object, except for libraries
/// that stay loaded.
class TestDirectory : private noncopyable {
public:
    TestDirectory();
    ~TestDirectory();

    /// Of a file in it, which need not exist.
    String Path(const String& name) const;
    /// Writes a file, and gives its path.
    String Write(const String& name, const std::vector<std::uint8_t>& bytes) const;
    /// Copies a file here, and gives the copy's path.
    String Copy(const String& from, const String& name) const;

private:
    String path_;
};
