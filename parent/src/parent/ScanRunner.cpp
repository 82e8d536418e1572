#include "parent/ScanRunner.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace Tarvik {

ScanRunner::ScanRunner(ScannerSettings settings, ScanLimits limits)
    : settings_(std::move(settings)), limits_(limits) {}

std::vector<ScanOutcome> ScanRunner::run(
    const std::vector<PluginIdentifier>& plugins, const std::set<PluginIdentifier>& knownPlugins,
    const Progress& progress) {
    std::vector<ScanOutcome> outcomes;
    for (const PluginIdentifier& plugin : plugins) {
        outcomes.push_back(scan({plugin, knownPlugins, settings_.hostVendor, settings_.hostProduct}));
        if (progress) {
            progress(outcomes.back());
        }
    }
    return outcomes;
}

ScanOutcome ScanRunner::scan(WorkItem item) {
    ScanTask task(context_, settings_, std::move(item), limits_);
    task.start();
    while (!task.finished()) {
        auto items = task.pollItems();
        const auto wait =
            std::chrono::ceil<std::chrono::milliseconds>(task.deadline() - std::chrono::steady_clock::now());
        try {
            zmq::poll(items, std::max(wait, std::chrono::milliseconds(0)));
        } catch (const zmq::error_t& error) {
            // A signal that the program handles is nothing to the scan.
            if (error.num() != EINTR) {
                throw;
            }
        }
        task.step();
    }
    return task.outcome();
}

} // namespace Tarvik
