#pragma once

#include "protocol/PluginIdentifier.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

#include <zmq.hpp>

#include <cstdint>
#include <memory>
#include <set>

namespace Tarvik {

/// One exchange with the parent: asks for a plug-in, has it scanned, reports, and waits for the
/// acknowledgement. Runs once; nothing is retried. What Scan does is the heir's. [main]
class ScanWorker : private noncopyable {
public:
    /// Connects nothing yet.
    ScanWorker(std::shared_ptr<zmq::context_t> context, String endpoint);
    virtual ~ScanWorker();

    /// The exchange. Returns normally whatever happens: a parent that is gone, silent or talks nonsense ends
    /// it without a report, and nobody is told why. A plug-in that crashes or hangs takes the process along.
    void Run();

protected:
    /// Loads and examines workItem: fills pluginName and updates workItem. Answers a ScanResult; a plug-in
    /// that fails to load is one of those. What Scan throws ends the exchange without a report.
    virtual std::int32_t Scan() = 0;

    /// Bounds each wait for the parent. Seconds.
    virtual float GetReplyTimeoutSeconds();

    /// Receives the work item, scans and reports. True if a report was sent, false for a message that is no
    /// work item. Errors: zmq::error_t; msgpack's exceptions for a malformed body.
    virtual bool HandleReply(zmq::socket_t& socket);

    /// One wait. True if the socket is readable. Errors: zmq::error_t.
    virtual bool WaitForReply(zmq::socket_t& socket);

    std::shared_ptr<zmq::context_t> context;
    String endpoint;
    /// `None` until the parent names one; after the scan of a VST plug-in, the plug-in's own identifier.
    PluginIdentifier workItem;
    /// What a plug-in is told when it asks for its host.
    String hostVendor;
    String hostProduct;
    std::set<PluginIdentifier> knownPlugins;
    /// Empty until a scan establishes one.
    String pluginName;
};

} // namespace Tarvik
