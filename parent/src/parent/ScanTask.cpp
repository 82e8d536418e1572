#include "parent/ScanTask.h"

#include "protocol/MessageNames.h"
#include "protocol/ScanReport.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <string>
#include <utility>

namespace Tarvik {

using Clock = std::chrono::steady_clock;

namespace {

/// A report that left the process before its end can still be on its way through the socket's own thread.
constexpr std::chrono::milliseconds reportInFlight{500};

constexpr std::uint32_t watchdogExitCode = 2;

/// A report has one name and one path. Whoever sends a larger frame is cut off, before memory is given to it.
constexpr std::int64_t largestFrameBytes = 4 << 20;

} // namespace

ScanTask::ScanTask(zmq::context_t& context, const ScannerSettings& settings, WorkItem item, ScanLimits limits)
    : settings_(settings), item_(std::move(item)), limits_(limits), socket_(context, zmq::socket_type::rep),
      endReceiver_(context, zmq::socket_type::pair), endSender_(context, zmq::socket_type::pair) {
    socket_.set(zmq::sockopt::linger, 0);
    socket_.set(zmq::sockopt::maxmsgsize, largestFrameBytes);
    socket_.bind("tcp://127.0.0.1:*");
    endReceiver_.set(zmq::sockopt::linger, 0);
    endSender_.set(zmq::sockopt::linger, 0);
    // Never used twice: a name stays taken for a while after its socket was closed.
    static std::atomic<unsigned> count = 0;
    const std::string name = "inproc://scan-task-" + std::to_string(++count);
    endReceiver_.bind(name);
    endSender_.connect(name);
    outcome_.asked = item_.identifier;
    outcome_.identifier = item_.identifier;
}

ScanTask::~ScanTask() {
    // Joins the watcher before the sockets that it writes to go.
    process_.reset();
}

void ScanTask::start() {
    started_ = Clock::now();
    deadline_ = started_ + limits_.total;

    PluginIdentifier readBack;
    if (!readBack.FromString(item_.identifier.ToString()) || !(readBack == item_.identifier)) {
        outcome_.detail = "The identifier does not survive its text form";
        finish(ScanVerdict::notAddressable);
        return;
    }
    const auto command = scannerCommand(settings_, String(socket_.get(zmq::sockopt::last_endpoint)));
    if (!command) {
        outcome_.detail = command.error();
        finish(ScanVerdict::notStarted);
        return;
    }
    auto process = ChildProcess::start(
        *command, [this] { endSender_.send(zmq::message_t(), zmq::send_flags::dontwait); });
    if (!process) {
        outcome_.detail = process.error();
        finish(ScanVerdict::notStarted);
        return;
    }
    process_ = std::move(process).value();
}

std::vector<zmq::pollitem_t> ScanTask::pollItems() {
    return {{socket_.handle(), 0, ZMQ_POLLIN, 0}, {endReceiver_.handle(), 0, ZMQ_POLLIN, 0}};
}

void ScanTask::step() {
    // Messages first: a report counts even if the process is gone by now.
    while (!finished_ && (socket_.get(zmq::sockopt::events) & ZMQ_POLLIN) != 0) {
        receive();
    }
    if (zmq::message_t ended; !finished_ && endReceiver_.recv(ended, zmq::recv_flags::dontwait)) {
        onProcessEnd();
    }
    if (!finished_ && Clock::now() >= deadline_) {
        onDeadline();
    }
}

void ScanTask::receive() {
    std::vector<zmq::message_t> frames;
    do {
        frames.emplace_back();
        if (!socket_.recv(frames.back(), zmq::recv_flags::dontwait)) {
            return;
        }
    } while (frames.back().more());

    const std::string_view name = frames.front().to_string_view();
    if (phase_ == Phase::starting && name == MessageName::workRequest) {
        onRequest(frames);
    } else if (phase_ == Phase::handedOut && name == MessageName::workComplete) {
        onReport(frames);
    } else if (phase_ == Phase::reported) {
        // The report stands; a process that goes on talking has nothing more to say.
        process_->kill();
        finish(ScanVerdict::reported);
    } else {
        onViolation("A message that the protocol does not allow here");
    }
}

void ScanTask::onRequest(std::vector<zmq::message_t>& frames) {
    if (process_->exitStatus().valid) {
        // Asked, and gone: whatever ended it, it was not the plug-in. Nothing is handed out to nobody.
        return;
    }
    if (frames.size() != 1) {
        onViolation("A work request with a body");
        return;
    }
    socket_.send(zmq::buffer(MessageName::workReply), zmq::send_flags::sndmore);
    const msgpack::sbuffer body = EncodeWorkItem(item_);
    socket_.send(zmq::buffer(body.data(), body.size()), zmq::send_flags::none);
    phase_ = Phase::handedOut;
}

void ScanTask::onReport(std::vector<zmq::message_t>& frames) {
    if (frames.size() != 2) {
        onViolation("A report of another number of frames than two");
        return;
    }
    try {
        const checked_value<ScanReport> report = DecodeScanReport(frames[1].data(), frames[1].size());
        outcome_.emptyReport = !report.valid;
        if (report.valid) {
            outcome_.result = report.value.result;
            outcome_.name = report.value.pluginName;
            const String& text = report.value.identifierText;
            if (PluginIdentifier read; read.FromString(text)) {
                outcome_.identifier = read;
            } else {
                outcome_.unreadIdentifier = text;
            }
        }
    } catch (const std::exception& error) {
        onViolation(error.what());
        return;
    }
    socket_.send(zmq::buffer(MessageName::workRecorded), zmq::send_flags::none);
    phase_ = Phase::reported;
    deadline_ = std::min(deadline_, Clock::now() + limits_.exitGrace);
    if (processEnded_) {
        finish(ScanVerdict::reported);
    }
}

void ScanTask::onViolation(const char* what) {
    outcome_.detail = what;
    process_->kill();
    finish(phase_ == Phase::handedOut ? ScanVerdict::corrupted : ScanVerdict::protocolViolation);
}

void ScanTask::onProcessEnd() {
    processEnded_ = true;
    outcome_.exit = process_->exitStatus();
    outcome_.duration = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - started_);
    if (phase_ == Phase::reported) {
        finish(ScanVerdict::reported);
    } else if (const String error = process_->startError(); !error.isEmpty()) {
        // The launcher ran, and the scanner never did.
        outcome_.exit = {};
        outcome_.detail = error;
        finish(ScanVerdict::notStarted);
    } else {
        deadline_ = std::min(deadline_, Clock::now() + reportInFlight);
    }
}

void ScanTask::onDeadline() {
    if (phase_ == Phase::reported) {
        process_->kill();
        finish(ScanVerdict::reported);
        return;
    }
    if (!processEnded_) {
        process_->kill();
        finish(phase_ == Phase::starting ? ScanVerdict::notConnected : ScanVerdict::hung);
        return;
    }
    const ExitStatus exit = outcome_.exit.value;
    if (phase_ == Phase::starting) {
        finish(ScanVerdict::notConnected);
    } else if (exit.isCrash()) {
        finish(ScanVerdict::crashed);
    } else if (
        !exit.unknown && exit.code == watchdogExitCode && outcome_.duration >= limits_.watchdogEarliest) {
        finish(ScanVerdict::hung);
    } else {
        finish(ScanVerdict::endedEarly);
    }
}

void ScanTask::finish(ScanVerdict verdict) {
    outcome_.verdict = verdict;
    if (!processEnded_) {
        outcome_.duration = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - started_);
    }
    finished_ = true;
}

} // namespace Tarvik
