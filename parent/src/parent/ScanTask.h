#pragma once

#include "parent/ScanOutcome.h"
#include "parent/ScannerCommand.h"
#include "protocol/WorkItem.h"
#include "svbase/util/Noncopyable.h"

#include <zmq.hpp>

#include <chrono>
#include <memory>
#include <vector>

namespace Tarvik {

/// How long the parent waits. The scanner's own watchdog ends it sixty seconds after its start.
struct ScanLimits {
    /// From the start of the process to its report or its end.
    std::chrono::milliseconds total{75'000};
    /// From the report to the end of the process. After that the process is ended; the report stands.
    std::chrono::milliseconds exitGrace{10'000};
    /// The watchdog cannot end a process sooner than this, so that an earlier end with its code is the
    /// plug-in's own doing.
    std::chrono::milliseconds watchdogEarliest{58'000};
};

/// One plug-in, one listening socket, one scanner process, one exchange. The states follow the protocol: the
/// process asks, is handed the work item, reports, and ends. The process is watched beside the socket, so
/// that its end is seen at once whatever the state.
///
/// All operations on one [control] thread. A task never blocks outside of the caller's poll, so that one
/// thread can drive several: poll pollItems(), call step(), until finished().
class ScanTask : noncopyable {
public:
    /// Binds an ephemeral loopback port. context outlives the task.
    ScanTask(zmq::context_t& context, const ScannerSettings& settings, WorkItem item, ScanLimits limits = {});
    ~ScanTask();

    /// Starts the process. A failure to start finishes the task with notStarted.
    void start();

    /// What to poll for ZMQ_POLLIN before the next step().
    std::vector<zmq::pollitem_t> pollItems();

    /// When step() is due even if nothing became readable.
    std::chrono::steady_clock::time_point deadline() const { return deadline_; }

    /// Handles what arrived; never waits.
    void step();

    bool finished() const { return finished_; }

    /// Complete once finished() is true.
    const ScanOutcome& outcome() const { return outcome_; }

private:
    /// How far the exchange got.
    enum class Phase { starting, handedOut, reported };

    void receive();
    void onRequest(std::vector<zmq::message_t>& frames);
    void onReport(std::vector<zmq::message_t>& frames);
    void onViolation(const char* what);
    void onProcessEnd();
    void onDeadline();
    void finish(ScanVerdict verdict);

    ScannerSettings settings_;
    WorkItem item_;
    ScanLimits limits_;
    zmq::socket_t socket_;
    /// The watcher thread of the process writes to endSender_; endReceiver_ is polled beside socket_.
    zmq::socket_t endReceiver_;
    zmq::socket_t endSender_;
    std::unique_ptr<ChildProcess> process_;
    Phase phase_ = Phase::starting;
    bool processEnded_ = false;
    bool finished_ = false;
    std::chrono::steady_clock::time_point started_;
    std::chrono::steady_clock::time_point deadline_;
    ScanOutcome outcome_;
};

} // namespace Tarvik
