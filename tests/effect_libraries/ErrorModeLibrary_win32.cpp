#include <windows.h>

namespace {

unsigned seen = ~0u;

} // namespace

extern "C" {

/// The error mode of the process at the moment when this library was loaded.
__declspec(dllexport) unsigned ErrorModeWhileLoading() {
    return seen;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        seen = GetErrorMode();
    }
    return TRUE;
}
}
