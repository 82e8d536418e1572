// TarvikScannerLauncher: the Windows side's guardian for a parent that is no Windows process.
//
// usage: TarvikScannerLauncher SCANNER ENDPOINT
//
// Starts the scanner in a job object, waits for its end and prints "ended CODE", the whole 32-bit exit code
// in decimal, on its standard output. When this process goes, its job goes, and with it everything that a
// plug-in left behind. Exit code: 0 after that line, 1 for a wrong command line, 2 when the scanner could not
// be started (nothing printed).

#include "parent/ChildProcess.h"

#include <windows.h>

#include <cstdio>
#include <future>
#include <string>

int wmain(int count, wchar_t** arguments) {
    if (count != 3) {
        return 1;
    }
    std::promise<void> ended;
    auto process = Tarvik::ChildProcess::start(
        {String::fromWide(arguments[1]), String::fromWide(arguments[2])}, [&ended] { ended.set_value(); });
    if (!process) {
        return 2;
    }
    ended.get_future().wait();
    const auto status = (*process)->exitStatus();
    process->reset();
    std::printf("ended %u\n", static_cast<unsigned>(status.value.code));
    return std::fflush(stdout) == 0 ? 0 : 1;
}
