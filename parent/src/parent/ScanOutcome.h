#pragma once

#include "parent/ChildProcess.h"
#include "protocol/PluginIdentifier.h"
#include "protocol/ScanResult.h"

#include <chrono>

namespace Tarvik {

/// What became of one scanner process, as the parent sees it.
enum class ScanVerdict {
    /// A report arrived; what the process did afterwards does not matter.
    reported,
    /// An unhandled exception or an abort ended the process while it held the plug-in.
    crashed,
    /// The watchdog ended the process, or the parent did after its own limit.
    hung,
    /// The process ended by itself while it held the plug-in, and left no report.
    endedEarly,
    /// The process never asked for work: it could not connect, or ended before. Nothing was handed out, so no
    /// plug-in is to blame.
    notConnected,
    /// The process sent what the protocol does not allow at that point.
    protocolViolation,
    /// The scanner could not be started.
    notStarted,
    /// The identifier's text form cannot carry this path (it holds a comma), so there is nothing to hand out.
    notAddressable,
};

/// A word for tables and JSON, such as "crashed".
const char* verdictName(ScanVerdict verdict);

/// True where the plug-in that was handed out is to blame.
bool blamesPlugin(ScanVerdict verdict);

/// One plug-in's line in the parent's books.
struct ScanOutcome {
    /// The identifier that was handed out. Blame goes here.
    PluginIdentifier asked;
    ScanVerdict verdict = ScanVerdict::notStarted;

    /// Of the report, a ScanResult or a code of which this parent has not heard; ScanResultUnconfirmed, the
    /// empty name and `asked` where the report's body was empty or none came.
    std::int32_t result = ScanResultUnconfirmed;
    String name;
    PluginIdentifier identifier;
    /// A report came, but its body was empty.
    bool emptyReport = false;

    /// Invalid where no process ran.
    checked_value<ExitStatus> exit;
    /// From the start of the process to its end, or to the parent's decision to end it.
    std::chrono::milliseconds duration{0};
    /// What stood in the way, for the verdicts notStarted, notAddressable and protocolViolation.
    String detail;
};

} // namespace Tarvik
