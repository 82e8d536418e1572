#include "hosting/TestProgram.h"

#include "svbase/util/Path.h"

#include <windows.h>

#include <array>

String TestProgramDirectory() {
    std::array<wchar_t, 1024> name{};
    GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
    return Util::Path::directory(String::fromWide(name.data()));
}
