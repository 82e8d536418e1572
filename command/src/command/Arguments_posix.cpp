#include "command/Arguments.h"

#include <filesystem>
#include <system_error>

#include <unistd.h>

std::vector<std::string> commandLineArguments(int count, char** arguments) {
    return {arguments + 1, arguments + count};
}

std::string programFolder() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path().string();
}

bool standardErrorIsTerminal() {
    return isatty(STDERR_FILENO) != 0;
}
