#pragma once

#include "parent/ScanTask.h"

#include <functional>
#include <set>
#include <vector>

namespace Tarvik {

/// Scans plug-ins one after the other, each in a process of its own, and collects the outcomes. [control]
class ScanRunner : noncopyable {
public:
    explicit ScanRunner(ScannerSettings settings, ScanLimits limits = {});

    /// Called after each plug-in, in the order of the list.
    using Progress = std::function<void(const ScanOutcome&)>;

    /// knownPlugins: handed to each process; what equals one of them is reported as ScanResultKnown.
    /// Errors: zmq::error_t when no loopback socket is to be had; nothing about a plug-in or a process is an
    /// exception.
    std::vector<ScanOutcome>
    run(const std::vector<PluginIdentifier>& plugins, const std::set<PluginIdentifier>& knownPlugins = {},
        const Progress& progress = {});

private:
    ScanOutcome scan(WorkItem item);

    ScannerSettings settings_;
    ScanLimits limits_;
    zmq::context_t context_;
};

} // namespace Tarvik
