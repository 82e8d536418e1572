// TarvikScannerLauncher: the Windows side's guardian for a parent that is no Windows process.
//
// usage: TarvikScannerLauncher SCANNER ENDPOINT
//        TarvikScannerLauncher --list-directx
//
// The first starts the scanner in a job object, waits for its end and prints "ended CODE", the whole 32-bit
// exit code in decimal, on its standard output; or, when the scanner cannot be started, "failed" and the
// reason. When this process goes, its job goes, and with it everything that a plug-in left behind. It goes
// when the scanner does, or when its standard input ends: its parent holds the other end, and lets go of it
// however it ends itself.
//
// The second prints the list of the audio filters that are registered here, in the form of
// parent/FilterListText.h. It too goes when its input ends.
//
// Exit code: 0 after "ended" or the list, 1 for a wrong command line, 2 after "failed", 4 when the scanner's
// code is not to be had (nothing printed), 5 when the list could not be written, 6 when the input ended.
// Never 3: with that the runtime library ends a process that aborts.

#include "parent/ChildProcess.h"
#include "parent/DirectXRegistry_win32.h"
#include "parent/FilterListText.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <future>
#include <string>
#include <string_view>
#include <thread>

namespace {

enum ExitCode {
    exitEnded = 0,
    exitUsage = 1,
    exitFailed = 2,
    exitUnknown = 4,
    exitListNotWritten = 5,
    exitInputEnded = 6,
};

/// By the system's own calls: a thread that waits in the C library holds a lock that the end of the process
/// needs.
void endWithInput() {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    char byte = 0;
    DWORD count = 0;
    while (ReadFile(input, &byte, 1, &count, nullptr) && count != 0) {
    }
    // Without a word: nobody listens. The job's last handle closes with the process.
    TerminateProcess(GetCurrentProcess(), exitInputEnded);
}

int say(const char* word, const char* what) {
    std::printf("%s %s\n", word, what);
    return std::fflush(stdout);
}

int listFilters() {
    std::thread(endWithInput).detach();
    const std::string text = Tarvik::filterListText(Tarvik::registeredDirectXFilters());
    // Lines as they are.
    _setmode(_fileno(stdout), _O_BINARY);
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return std::fflush(stdout) == 0 && written ? exitEnded : exitListNotWritten;
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count == 2 && std::wstring_view(arguments[1]) == L"--list-directx") {
        return listFilters();
    }
    if (count != 3) {
        return exitUsage;
    }
    std::promise<void> ended;
    auto process = Tarvik::ChildProcess::start(
        {String::fromWide(arguments[1]), String::fromWide(arguments[2])}, [&ended] { ended.set_value(); });
    if (!process) {
        say("failed", process.error().c_str());
        return exitFailed;
    }
    std::thread(endWithInput).detach();
    ended.get_future().wait();
    const auto status = (*process)->exitStatus();
    process->reset();
    if (status.value.unknown) {
        return exitUnknown;
    }
    return say("ended", std::to_string(status.value.code).c_str()) == 0 ? exitEnded : exitUnknown;
}
