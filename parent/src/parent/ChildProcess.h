#pragma once

#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"
#include "svbase/util/expected.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace Tarvik {

/// How a process ended.
struct ExitStatus {
    /// All 32 bits of a Windows exit code, where the platform shows them.
    std::uint32_t code = 0;
    /// The code is not known: the process was ended from outside, or its launcher died before it could tell.
    bool unknown = false;

    /// An unhandled exception's code, or the 3 with which the C library's abort ends a process. Exceptions
    /// have error severity, or, like a breakpoint, warning severity; exit(-1) and HRESULTs, with which a
    /// process ends itself, lie outside of both.
    bool isCrash() const {
        const bool error = code >= 0xC0000000U && code < 0xFFFF0000U;
        const bool warning = code > 0x80000000U && code <= 0x80000FFFU;
        return !unknown && (error || warning || code == 3);
    }
};

/// One running program and everything that it starts. Its standard streams lead nowhere: what a plug-in
/// prints can neither block it nor reach a result. [control]; the end is announced on a thread of its own.
///
/// On Windows the family is held together by a job object that ends with this object. Elsewhere the program
/// is a Windows program and starts through Wine; see ScannerCommand for how the job and the full code are
/// kept there.
class ChildProcess : noncopyable {
public:
    /// Starts command[0] with the rest as its arguments.
    /// onEnd: called once, on a thread of the object's own, after the process ended; exitStatus() is valid
    /// then. It does not throw. Errors: a text that tells the system's reason.
    static expected<std::unique_ptr<ChildProcess>, String>
    start(const std::vector<String>& command, std::function<void()> onEnd);

    /// Ends the family, and waits for onEnd to have returned.
    virtual ~ChildProcess() = default;

    /// Ends the whole family at once. Harmless after the end. [any]
    virtual void kill() = 0;

    /// Invalid while the process runs. [any]
    virtual checked_value<ExitStatus> exitStatus() const = 0;

    /// Why the program never ran, where that shows only after start(): a launcher's reason. Empty otherwise.
    /// Told from when exitStatus() is valid. [any]
    virtual String startError() const = 0;

protected:
    ChildProcess() = default;
};

} // namespace Tarvik
