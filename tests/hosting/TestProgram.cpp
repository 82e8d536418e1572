#include "hosting/TestProgram.h"

#include <fstream>
#include <random>
#include <string>
#include <system_error>

std::filesystem::path ToFilePath(const String& path) {
    return std::filesystem::path(std::u8string(path.view().begin(), path.view().end()));
}

TestDirectory::TestDirectory() {
    const String scratch = String("%1/scratch").arg(TestProgramDirectory());
    std::filesystem::create_directories(ToFilePath(scratch));
    std::random_device random;
    do {
        path_ = String("%1/%2").arg(scratch).arg(random(), 16);
    } while (!std::filesystem::create_directory(ToFilePath(path_)));
}

TestDirectory::~TestDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(ToFilePath(path_), ignored);
}

String TestDirectory::Path(const String& name) const {
    return String("%1/%2").arg(path_).arg(name);
}

String TestDirectory::Write(const String& name, const std::vector<std::uint8_t>& bytes) const {
    const String path = Path(name);
    std::ofstream file(ToFilePath(path), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return path;
}

String TestDirectory::Copy(const String& from, const String& name) const {
    const String path = Path(name);
    std::filesystem::copy_file(ToFilePath(from), ToFilePath(path));
    return path;
}
