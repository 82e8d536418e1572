// tarvik-sound: sound files in, what is in them out.

#include "audio/sound/PrepareThread.h"
#include "audio/sound/ReadSound.h"
#include "audio/sound/ReportText.h"
#include "command/Arguments.h"
#include "command/CommandLine.h"
#include "command/PrintableText.h"
#include "command/ProgressLine.h"
#include "command/StandardOutput.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <string>
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

/// What was read of a file, and as it is to be printed.
struct Told {
    SoundReport report;
    std::string text;
};

Told tell(const std::string& path, const Options& options, ProgressLine& line, const std::string& place) {
    Audio::Sound::ReadOptions how;
    how.headFrames = options.headFrames;
    how.progress = [&](std::uint64_t done, std::uint64_t all) {
        const double part = all == 0 ? 1.0 : static_cast<double>(done) / static_cast<double>(all);
        line.show(fmt::format("{}{:.0f} %", place, std::min(part, 1.0) * 100));
    };
    try {
        Told told{Audio::Sound::readSound(String(path), how), {}};
        told.text = options.json ? jsonText(told.report) : reportText(told.report);
        return told;
    } catch (const std::exception& error) {
        // No memory for it: the next file may need less.
        Told told;
        told.report.path = String(path);
        told.report.errors.emplace_back(error.what());
        told.text = options.json ? jsonText(told.report) : std::string();
        return told;
    }
}

int tellAll(const Options& options) {
    ProgressLine line({std::chrono::milliseconds(300), std::chrono::milliseconds(100)});
    bool isRead = true;
    bool isFirst = true;
    for (std::size_t i = 0; i < options.paths.size(); ++i) {
        const std::size_t count = options.paths.size();
        const Told told =
            tell(options.paths[i], options, line, count == 1 ? "" : fmt::format("[{}/{}] ", i + 1, count));
        line.erase();
        for (const String& error : told.report.errors) {
            fmt::print(
                stderr, "tarvik-sound: {}: {}\n", printable(told.report.path.view()),
                printable(error.view()));
            isRead = false;
        }
        // Each as soon as it is there: all of them together may be more than memory holds.
        if (options.json) {
            writeOutput(isFirst ? "[\n" : ",\n");
        } else if (!isFirst && !told.text.empty()) {
            writeOutput("\n");
        }
        writeOutput(told.text);
        isFirst = isFirst && told.text.empty();
    }
    if (options.json) {
        writeOutput("]\n");
    }
    return isRead ? exitRead : exitUnread;
}

} // namespace

int main(int count, char** arguments) {
    Options options;
    CLI::App app("Tells what is in sound files.", "tarvik-sound");
    makeUniform(app);
    app.footer(
        "Peak and RMS have 1 for full scale; what is no finite number is left out of them and counted.\n"
        "Exit codes: 0 every file was read to its end; 1 a file could not be read, or not wholly;\n"
        "2 bad command line; 3 the output could not be written.");
    addPaths(
        app, "file", options.paths,
        "Sound files: WAV, RF64, AIFF, AIFC; on Windows also REX, and what the media library reads")
        ->required();
    app.add_option("--head", options.headFrames, "Print the samples of so many of the first frames")
        ->check(CLI::Range(mostHeadFrames))
        ->capture_default_str();
    app.add_flag("--json", options.json, "Print JSON instead of text");
    try {
        parseArguments(app, commandLineArguments(count, arguments));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitRead : exitUsage;
    }
    try {
        Audio::Sound::prepareThread();
        return tellAll(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "tarvik-sound: {}\n", printable(error.what()));
        return exitOutput;
    }
}
