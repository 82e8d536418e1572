// tarvik-scan: files, folders and what is registered in, one scanner process per plug-in, a table or JSON
// out.

#include "Report.h"

#include "command/Arguments.h"
#include "command/CommandLine.h"
#include "command/PrintableText.h"
#include "command/ProgressLine.h"
#include "command/StandardOutput.h"
#include "parent/DirectXFilters.h"
#include "parent/PluginFinder.h"
#include "parent/ScanRunner.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace {

enum ExitCode {
    /// Every plug-in was reported.
    exitReported = 0,
    /// At least one plug-in crashed, hung, ended or corrupted its process.
    exitBlamed = 1,
    /// Bad command line, or a path that is not there.
    exitUsage = 2,
    /// At least one scanner process did not do its part: not started, not connected, out of protocol; or what
    /// was asked for cannot be handed to it.
    exitScanner = 3,
    /// What is registered cannot be told, or not all of it.
    exitList = 4,
    /// The output could not be written.
    exitCommand = 5,
};

struct Options {
    std::vector<std::string> paths;
    std::vector<std::string> identifiers;
    std::vector<std::string> known;
    std::string scanner;
    std::string vendor = "Tarvik";
    std::string product = "tarvik-scan";
    double timeLimit = 75;
    bool directX = false;
    bool json = false;

    std::chrono::milliseconds limit() const {
        return std::chrono::milliseconds(static_cast<long long>(timeLimit * 1000));
    }
};

/// TARVIK_SCANNER, or the scanner beside this program, or the one of the Windows build beside the native
/// build.
std::string defaultScanner() {
    if (const char* chosen = std::getenv("TARVIK_SCANNER")) {
        return chosen;
    }
    const std::string folder = programFolder();
    const std::string beside = folder + "/TarvikPluginScanner.exe";
    const std::string windowsBuild = folder + "/../../windows/bin/TarvikPluginScanner.exe";
    std::error_code error;
    return !std::filesystem::exists(beside, error) && std::filesystem::exists(windowsBuild, error)
               ? windowsBuild
               : beside;
}

/// Adds what the options name. Gives the reason where something cannot be read as a plug-in.
String collect(const Options& options, std::vector<Tarvik::PluginIdentifier>& plugins) {
    for (const std::string& path : options.paths) {
        auto found = Tarvik::findPlugins(String(path));
        if (!found) {
            return found.error();
        }
        plugins.insert(plugins.end(), found->begin(), found->end());
    }
    for (const std::string& text : options.identifiers) {
        Tarvik::PluginIdentifier identifier;
        if (!identifier.FromString(String(text))) {
            return String("Not an identifier: %1").arg(String(text));
        }
        plugins.push_back(identifier);
    }
    return {};
}

int exitCode(const std::vector<Tarvik::ScanOutcome>& outcomes) {
    int code = exitReported;
    for (const Tarvik::ScanOutcome& outcome : outcomes) {
        if (Tarvik::blamesPlugin(outcome.verdict)) {
            code = std::max<int>(code, exitBlamed);
        } else if (outcome.verdict != Tarvik::ScanVerdict::reported) {
            code = exitScanner;
        }
    }
    return code;
}

int scan(const Options& options) {
    std::vector<Tarvik::PluginIdentifier> plugins;
    std::set<Tarvik::PluginIdentifier> known;
    for (const std::string& text : options.known) {
        Tarvik::PluginIdentifier identifier;
        if (!identifier.FromString(String(text))) {
            fmt::print(stderr, "tarvik-scan: Not an identifier: {}\n", printable(text));
            return exitUsage;
        }
        known.insert(identifier);
    }
    if (const String error = collect(options, plugins); !error.isEmpty()) {
        fmt::print(stderr, "tarvik-scan: {}\n", printable(error.view()));
        return exitUsage;
    }

    const Tarvik::ScannerSettings settings{
        String(options.scanner), String(options.vendor), String(options.product)};
    const std::size_t asked = plugins.size();
    Tarvik::DirectXFilterList registered;
    if (options.directX) {
        auto list = Tarvik::listDirectXFilters(settings, options.limit());
        if (list) {
            registered = std::move(list).value();
        } else {
            // What was named beside it is scanned all the same.
            registered.problem = list.error();
        }
        for (const Tarvik::DirectXFilter& filter : registered.filters) {
            plugins.push_back(filter.identifier());
        }
    }

    Tarvik::ScanLimits limits;
    limits.total = options.limit();
    Tarvik::ScanRunner runner(settings, limits);
    std::size_t done = 0;
    ProgressLine line({});
    const auto progress = [&](const Tarvik::ScanOutcome& outcome) {
        ++done;
        line.show(fmt::format("[{}/{}] {}", done, plugins.size(), outcomeText(outcome)));
    };
    std::vector<Tarvik::ScanOutcome> outcomes = runner.run(plugins, known, progress);
    for (std::size_t i = 0; i < registered.filters.size(); ++i) {
        outcomes[asked + i].registration = registered.filters[i];
    }
    line.erase();
    writeOutput(options.json ? jsonText(outcomes) : tableText(outcomes));
    if (!registered.problem.isEmpty()) {
        fmt::print(stderr, "tarvik-scan: {}\n", printable(registered.problem.view()));
    }
    const int code = exitCode(outcomes);
    return !registered.problem.isEmpty() && code != exitScanner ? exitList : code;
}

} // namespace

int main(int count, char** arguments) {
    Options options;
    options.scanner = defaultScanner();
    CLI::App app("Scans audio plug-ins, each in a process of its own.", "tarvik-scan");
    makeUniform(app);
    app.footer("Exit codes: 0 every plug-in was reported;\n"
               "1 a plug-in crashed, hung, ended or corrupted its process;\n"
               "2 bad command line or no such path; 3 a scanner process could not do its part;\n"
               "4 the registered filters, or some of them, cannot be listed;\n"
               "5 the output could not be written. Of several 3 counts before 4, and 4 before 1.");
    addPaths(app, "path", options.paths, "VST 2 libraries, and folders that are searched for *.dll");
    app.add_option(
           "--identifier", options.identifiers,
           "A plug-in by its identifier, such as \"VST: 'abcd',C:\\a.dll\"")
        ->allow_extra_args(false);
    app.add_flag(
        "--directx", options.directX,
        "All audio filters that are registered; what is missing of one stands beside its name");
    app.add_option(
           "--known", options.known, "An identifier that is already known; what equals it reports \"known\"")
        ->allow_extra_args(false);
    app.add_option("--scanner", options.scanner, "The scanner program")->capture_default_str();
    app.add_option("--vendor", options.vendor, "The host vendor that plug-ins are told")
        ->capture_default_str();
    app.add_option("--product", options.product, "The host product that plug-ins are told")
        ->capture_default_str();
    app.add_option(
           "--time-limit", options.timeLimit, "Seconds until a process is ended; its own watchdog takes 60")
        ->check(CLI::Range(0.1, 86400.0))
        ->capture_default_str();
    app.add_flag("--json", options.json, "Print JSON instead of a table");
    try {
        parseArguments(app, commandLineArguments(count, arguments));
        if (options.paths.empty() && options.identifiers.empty() && !options.directX) {
            throw CLI::RequiredError("A path, an identifier or --directx");
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitReported : exitUsage;
    }
    try {
        return scan(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "tarvik-scan: {}\n", printable(error.what()));
        return exitCommand;
    }
}
