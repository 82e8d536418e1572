#include "hosting/TestProgram.h"

String TestProgramDirectory() {
    return String(std::filesystem::read_symlink("/proc/self/exe").parent_path().string());
}
