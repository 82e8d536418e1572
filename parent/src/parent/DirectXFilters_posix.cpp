#include "parent/DirectXFilters.h"

#include "parent/FilterListText.h"
#include "parent/LauncherCommand_posix.h"
#include "parent/PipedProgram_posix.h"

#include <algorithm>
#include <array>

namespace Tarvik {

namespace {

using Clock = std::chrono::steady_clock;

/// How long the end of the process can go unnoticed: the pipe need not tell it.
constexpr std::chrono::milliseconds betweenLooks{50};

} // namespace

expected<DirectXFilterList, String>
listDirectXFilters(const ScannerSettings& settings, std::chrono::milliseconds limit) {
    const auto command = launcherCommand(settings.scannerPath, {"--list-directx"});
    if (!command) {
        return unexpected(command.error());
    }
    PipedProgram launcher;
    if (const String error = launcher.start(*command); !error.isEmpty()) {
        return unexpected(error);
    }
    const auto deadline = Clock::now() + limit;
    FilterListReader reader;
    while (reader.state() == FilterListReader::State::reading) {
        // Asked before the last look at the pipe: what it wrote before its end is there by then.
        const bool hasEnded = launcher.hasEnded();
        std::array<char, 4096> buffer{};
        if (const std::size_t count = launcher.read(buffer.data(), buffer.size()); count != 0) {
            reader.feed({buffer.data(), count});
        } else if (hasEnded || launcher.outputHasEnded()) {
            return unexpected(String("The list of DirectX filters has no end: the launcher ended before"));
        } else {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            launcher.waitForOutput(std::clamp(left, std::chrono::milliseconds(0), betweenLooks));
        }
        // However much still comes.
        if (reader.state() == FilterListReader::State::reading && Clock::now() >= deadline) {
            return unexpected(String("The list of DirectX filters took longer than the time limit"));
        }
    }
    if (reader.state() == FilterListReader::State::failed) {
        return unexpected(reader.error());
    }
    return reader.list();
}

} // namespace Tarvik
