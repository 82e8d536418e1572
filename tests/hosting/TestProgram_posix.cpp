#include "hosting/TestProgram.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

String TestProgramDirectory() {
    return String(std::filesystem::read_symlink("/proc/self/exe").parent_path().string());
}

String MakeTestDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "hostingXXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no directory for the test");
    }
    return String(name);
}
