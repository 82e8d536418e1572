#include "hosting/TestProgram.h"

#include "svbase/util/Path.h"

#include <windows.h>

#include <array>
#include <stdexcept>

String TestProgramDirectory() {
    std::array<wchar_t, 1024> name{};
    GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
    return Util::Path::directory(String::fromWide(name.data()));
}

String MakeTestDirectory() {
    std::array<wchar_t, MAX_PATH + 1> temporary{};
    GetTempPathW(static_cast<DWORD>(temporary.size()), temporary.data());
    static unsigned count = 0;
    const String name = String("%1/hosting%2_%3")
                            .arg(Util::Path::normalise(String::fromWide(temporary.data())))
                            .arg(static_cast<unsigned>(GetCurrentProcessId()))
                            .arg(++count);
    if (CreateDirectoryW(Util::Path::toNative(name).toNativeWide().c_str(), nullptr) == 0) {
        throw std::runtime_error("no directory for the test");
    }
    return name;
}
