// tarvik-sound: sound files in, what is in them out.

#include "audio/sound/ReadSound.h"
#include "audio/sound/ReportText.h"
#include "command/Arguments.h"
#include "command/PrintableText.h"
#include "command/ProgressLine.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <string>
#include <system_error>
#include <vector>

namespace {

using Audio::Sound::SoundReport;

constexpr unsigned mostHeadFrames = 1'000'000;

enum ExitCode {
    /// Every file was read to its end.
    exitRead = 0,
    /// At least one file could not be read, or not wholly.
    exitUnread = 1,
    exitUsage = 2,
    /// What was read could not be printed.
    exitOutput = 3,
};

struct Options {
    std::vector<std::string> paths;
    std::uint64_t headFrames = 0;
    bool json = false;
};

/// Written at once, so that it stands in order with the errors, and known to be written.
void print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot write the output");
    }
}

SoundReport
read(const std::string& path, const Options& options, ProgressLine& line, const std::string& place) {
    Audio::Sound::ReadOptions how;
    how.headFrames = options.headFrames;
    how.progress = [&](std::uint64_t done, std::uint64_t all) {
        const double part = all == 0 ? 1.0 : static_cast<double>(done) / static_cast<double>(all);
        line.show(fmt::format("{}{:.0f} %", place, std::min(part, 1.0) * 100));
    };
    try {
        return Audio::Sound::readSound(String(path), how);
    } catch (const std::exception& error) {
        // No memory for it: the next file may need less.
        SoundReport report;
        report.path = String(path);
        report.errors.emplace_back(error.what());
        return report;
    }
}

int tell(const Options& options) {
    ProgressLine line({std::chrono::milliseconds(300), std::chrono::milliseconds(100)});
    std::vector<SoundReport> reports;
    bool isRead = true;
    bool isFirst = true;
    for (std::size_t i = 0; i < options.paths.size(); ++i) {
        const std::size_t count = options.paths.size();
        const SoundReport report =
            read(options.paths[i], options, line, count == 1 ? "" : fmt::format("[{}/{}] ", i + 1, count));
        line.erase();
        for (const String& error : report.errors) {
            fmt::print(
                stderr, "tarvik-sound: {}: {}\n", printable(report.path.view()), printable(error.view()));
            isRead = false;
        }
        if (options.json) {
            reports.push_back(report);
        } else if (report.isOpen) {
            print((isFirst ? "" : "\n") + reportText(report));
            isFirst = false;
        }
    }
    if (options.json) {
        print(Audio::Sound::jsonText(reports));
    }
    return isRead ? exitRead : exitUnread;
}

} // namespace

int main(int count, char** arguments) {
    Options options;
    CLI::App app("Tells what is in sound files.", "tarvik-sound");
    app.footer(
        "Peak and RMS have 1 for full scale; what is no finite number is left out of them and counted.\n"
        "Exit codes: 0 every file was read to its end; 1 a file could not be read, or not wholly;\n"
        "2 bad command line; 3 the output could not be written.");
    app.add_option("file", options.paths, "Sound files: WAV, RF64, AIFF, AIFC")->required();
    app.add_option("--head", options.headFrames, "Print the samples of so many of the first frames")
        ->check(CLI::Range(mostHeadFrames))
        ->capture_default_str();
    app.add_flag("--json", options.json, "Print JSON instead of text");
    try {
        std::vector<std::string> reversed = commandLineArguments(count, arguments);
        std::reverse(reversed.begin(), reversed.end());
        app.parse(std::move(reversed));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitRead : exitUsage;
    }
    try {
        return tell(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "tarvik-sound: {}\n", error.what());
        return exitOutput;
    }
}
