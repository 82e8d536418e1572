#pragma once

#include "parent/ChildProcess.h"
#include "parent/DirectXFilter.h"
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
    /// What the process sent while it held the plug-in is not what the protocol allows: the plug-in soiled
    /// its memory, or speaks in its stead.
    corrupted,
    /// The process never asked for work, or ended before it could be answered. Nothing was handed out, so no
    /// plug-in is to blame.
    notConnected,
    /// The process sent what the protocol does not allow before it held a plug-in.
    protocolViolation,
    /// The scanner could not be started.
    notStarted,
    /// The identifier does not survive its text form, so there is nothing to hand out: its path holds a
    /// comma, begins or ends with white space, or its VST code does not read back, such as 'A,B1'.
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
    /// empty name and `asked` where the report's body was empty or none came, `asked` too where the report
    /// tells no identifier that can be read.
    std::int32_t result = ScanResultUnconfirmed;
    String name;
    PluginIdentifier identifier;
    /// What the report tells as identifier where that cannot be read: the text form has no escape for a comma
    /// or a "%2" in a VST code. Any bytes. Empty otherwise.
    String unreadIdentifier;
    /// A report came, but its body was empty.
    bool emptyReport = false;

    /// Invalid where no process ran, or the parent ended it.
    checked_value<ExitStatus> exit;
    /// From the start of the process to its end, or to the parent's decision to end it.
    std::chrono::milliseconds duration{0};
    /// What stood in the way, for the verdicts notStarted, notAddressable, protocolViolation and corrupted.
    String detail;
    /// What the registry tells of the filter. Only where whoever asked for the scan knows, and sets it.
    checked_value<DirectXFilter> registration;
};

} // namespace Tarvik
