// The same without a parent: what starting a process and opening a library cost by themselves. One byte on
// the standard output tells that the effect is closed, where a scanner would report.
// Argument: the library's path.

#include "TrivialHost.h"

#include <objbase.h>
#include <ole2.h>
#include <shellapi.h>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    static_cast<void>(OleInitialize(nullptr));
    int count = 0;
    LPWSTR* arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count != 2 || !openAndClose(arguments[1])) {
        return 1;
    }
    DWORD written = 0;
    return WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), ".", 1, &written, nullptr) && written == 1 ? 0 : 2;
}
