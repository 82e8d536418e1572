// The program: prepares the process for a plug-in that may crash or hang, and runs one worker.

#include "hosting/ElementHostImpl.h"
#include "hosting/InstantiationStatus.h"
#include "hosting/PluginHost.h"
#include "hosting/PluginInstantiator.h"
#include "hosting/dx/DXPlugin.h"
#include "hosting/vst/VSTPlugin.h"
#include "protocol/ScanResult.h"
#include "scanner/ScanWorker.h"
#include "svbase/util/String.h"
#include "svbase/util/TaskQueue.h"

#include <zmq.hpp>

#include <windows.h>

#include <objbase.h>
#include <ole2.h>
#include <shellapi.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

/// What static set-up may leave for the main function: anything but 0 and 20 ends the process with that code
/// before it has begun. Nothing sets it at present.
std::int32_t startupStatus = 0;

namespace {

using namespace Tarvik;

constexpr int exitWorkerReturned = 0;
constexpr int exitBadCommandLine = 1;
constexpr int exitWatchdog = 2;

constexpr int watchdogRounds = 60;
constexpr DWORD watchdogRoundMs = 1000;

/// A scan only loads; nothing is ever played at these.
constexpr float scanSampleRate = 44100.0f;

/// Makes plug-ins at once, on the thread that asks. There is only one.
class SimplePluginInstantiator final : public PluginInstantiator {
public:
    bool Instantiate(PluginInstantiatorHandler* handler) override {
        handler->InstantiatePlugin(this);
        return true;
    }
    void Destroy(PluginInstantiatorHandler* handler) override { handler->DestroyPlugin(this); }
    void* GetTestableDSPHost() override { return nullptr; }
};

class SingleThreadScanWorker : public ScanWorker {
public:
    using ScanWorker::ScanWorker;
    ~SingleThreadScanWorker() override = default;

protected:
    std::int32_t Scan() override;

private:
    /// Not a lookup: equality is looser than the set's order. An unknown unique identifier matches any.
    bool IsKnown() const;
};

/// What a VST library that gave no valid plug-in is reported as.
ScanResult resultOfRejection(checked_value<InstantiationStatus> status) {
    if (!status) {
        return ScanResultUnconfirmed;
    }
    switch (status.value) {
    case InstantiationWrongArchitecture:
        return ScanResultWrongArchitecture;
    case InstantiationShell:
        return ScanResultShell;
    case InstantiationNoEditor:
        return ScanResultNoEditor;
    case InstantiationCoreLibrary:
        return ScanResultCoreLibrary;
    default:
        return ScanResultUnconfirmed;
    }
}

std::int32_t SingleThreadScanWorker::Scan() {
    // In the order in which they need each other: everything is gone again when the scan returns.
    ElementHostImpl elementHost;
    SimplePluginInstantiator instantiator;
    PluginHost host(&elementHost, scanSampleRate, &instantiator, hostVendor, hostProduct);
    if (!(host.GetIdentifier() == workItem)) {
        host.SetIdentifier(workItem);
        host.ChangePlugin(true);
    }
    const auto status = host.GetInstantiationStatus();

    ScanResult result = ScanResultUnconfirmed;
    if (workItem.format == PluginFormat::VST) {
        const auto* plugin = dynamic_cast<VSTPlugin*>(host.GetPlugin());
        if (plugin && plugin->IsValid()) {
            pluginName = plugin->GetName();
            workItem = plugin->GetIdentifier();
            result = plugin->IsInstrument() || plugin->GetNumOutputs() == 0 ? ScanResultInstrument
                                                                            : ScanResultEffect;
        } else {
            result = resultOfRejection(status);
        }
    } else if (workItem.format == PluginFormat::DirectX) {
        const auto* plugin = dynamic_cast<DXPlugin*>(host.GetPlugin());
        if (plugin && plugin->IsValid()) {
            pluginName = plugin->GetName();
            result = ScanResultEffect;
        }
    }
    if (status && status.value == InstantiationReserved) {
        result = ScanResultReserved;
    }
    if (result == ScanResultCoreLibrary) {
        // Such a library is never a plug-in that the parent has, even if it is listed as one.
        return result;
    }
    return IsKnown() ? ScanResultKnown : result;
}

bool SingleThreadScanWorker::IsKnown() const {
    return workItem.IsComplete() && std::ranges::any_of(knownPlugins, [this](const PluginIdentifier& known) {
               return known == workItem;
           });
}

/// A crash in plug-in code is to end the process at once, without a dialog that nobody would close.
void silenceCrashes() {
    SetErrorMode(GetErrorMode() | SEM_NOGPFAULTERRORBOX);
}

/// The same for abort: no message box, just the end. This program uses one of two C libraries, as it was
/// built, and the other is here as well when anything else uses it: whichever is here is told. By name, since
/// the import library of the older one lacks the function, which that of any current system has.
void silenceAbort() {
    using SetAbortBehavior = unsigned(__cdecl*)(unsigned flags, unsigned mask);
    constexpr unsigned writeAbortMessage = 1;
    bool silenced = false;
    for (const wchar_t* name : {L"ucrtbase.dll", L"msvcrt.dll"}) {
        const HMODULE library = GetModuleHandleW(name);
        const FARPROC found = library ? GetProcAddress(library, "_set_abort_behavior") : nullptr;
        if (found) {
            reinterpret_cast<SetAbortBehavior>(reinterpret_cast<void*>(found))(0, writeAbortMessage);
            silenced = true;
        }
    }
    if (!silenced) {
        // Where the message cannot be cleared it goes where nobody has to confirm it.
        _set_error_mode(_OUT_TO_STDERR);
    }
}

std::vector<String> readCommandLine() {
    int count = 0;
    LPWSTR* entries = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<String> arguments;
    // The block lives as long as the process, which is not long.
    for (int i = 0; entries && i < count; ++i) {
        arguments.push_back(String::fromWide(entries[i]));
    }
    return arguments;
}

/// Ends the process after a minute, whatever a plug-in holds or does by then: no clean-up, no flush, no
/// static destructors. Not by _exit, which leaves through the loader: that waits for whoever holds its lock,
/// as a plug-in does that hangs in DllMain, and gives every library a last call that may hang in turn.
///
/// The flag is held here a second time, beside the task's own hold on it: that shows the watchdog at its
/// watch.
void watch(const std::shared_ptr<std::atomic<bool>> finished) {
    for (int round = 0; round < watchdogRounds; ++round) {
        if (finished->load()) {
            return;
        }
        Sleep(watchdogRoundMs);
    }
    TerminateProcess(GetCurrentProcess(), exitWatchdog);
    // Where not even that is granted.
    _exit(exitWatchdog);
}

/// Returns once the watchdog is at its watch. The thread that it gets needs the loader's lock before it can
/// begin, and a plug-in that hangs in DllMain never gives that back: on a busy machine the plug-in could come
/// first. A system that has no thread to give is waited for so long and no longer.
void awaitWatchdog(const std::shared_ptr<std::atomic<bool>>& finished) {
    constexpr long holders = 3; // the caller, the task, the watchdog
    constexpr ULONGLONG patienceMs = 5000;
    const ULONGLONG began = GetTickCount64();
    while (finished.use_count() < holders && GetTickCount64() - began < patienceMs) {
        Sleep(0);
    }
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    if (startupStatus != 0 && startupStatus != 20) {
        return startupStatus;
    }
    silenceCrashes();
    silenceAbort();
    // Never undone: a plug-in may have left threads behind that still use it.
    static_cast<void>(OleInitialize(nullptr));

    const std::vector<String> arguments = readCommandLine();
    const auto finished = std::make_shared<std::atomic<bool>>(false);
    Util::TaskQueue taskQueue(true);
    taskQueue.enqueue([finished] { watch(finished); });

    auto context = std::make_shared<zmq::context_t>();
    if (arguments.size() != 2) {
        // The flag stays down: a watchdog that has begun runs its time, and its code is then the answer.
        context.reset();
        return exitBadCommandLine;
    }
    {
        SingleThreadScanWorker worker(context, arguments[1]);
        awaitWatchdog(finished);
        worker.Run();
    }
    // Ends the context, which waits for messages on their way; the watchdog still bounds that.
    context.reset();
    finished->exchange(true);
    taskQueue.finish();
    return exitWorkerReturned;
}
