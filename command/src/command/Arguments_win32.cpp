#include "command/Arguments.h"

#include "svbase/util/String.h"

#include <windows.h>

#include <shellapi.h>

#include <array>

std::vector<std::string> commandLineArguments(int, char**) {
    // The narrow arguments went through the system's code page and lost what it cannot hold.
    int count = 0;
    LPWSTR* wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> result;
    for (int i = 1; wide != nullptr && i < count; ++i) {
        result.push_back(String::fromWide(wide[i]).toStdString());
    }
    LocalFree(wide);
    SetConsoleOutputCP(CP_UTF8);
    return result;
}

std::string programFolder() {
    std::array<wchar_t, 32768> path{};
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    const std::string text = String::fromWide(path.data(), length).toStdString();
    return text.substr(0, text.find_last_of('\\'));
}

bool standardErrorIsTerminal() {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}
