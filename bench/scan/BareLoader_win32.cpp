// The same without a parent: what starting a process and opening a library cost by themselves.
// Argument: the library's path.

#include "TrivialHost.h"

#include <objbase.h>
#include <ole2.h>
#include <shellapi.h>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    static_cast<void>(OleInitialize(nullptr));
    int count = 0;
    LPWSTR* arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    return count == 2 && openAndClose(arguments[1]) ? 0 : 1;
}
