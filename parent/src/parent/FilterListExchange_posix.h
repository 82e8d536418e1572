#pragma once

#include "parent/DirectXFilter.h"
#include "parent/FilterListText.h"
#include "svbase/util/expected.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>

namespace Tarvik {

/// Reads the list of filters that a program writes, until it is whole, the program has ended, or the limit is
/// over. Program: what PipedProgram is to its reader. Errors: a text. [any one thread]
template<class Program>
expected<DirectXFilterList, String> readFilterList(const Program& program, std::chrono::milliseconds limit) {
    using Clock = std::chrono::steady_clock;
    /// How long the end of the process can go unnoticed: the pipe need not tell it.
    constexpr std::chrono::milliseconds betweenLooks{50};

    const auto deadline = Clock::now() + limit;
    FilterListReader reader;
    while (reader.state() == FilterListReader::State::reading) {
        // Asked before the last look at the pipe: what it wrote before its end is there by then.
        const bool hasEnded = program.hasEnded();
        std::array<char, 4096> buffer{};
        if (const std::size_t count = program.read(buffer.data(), buffer.size()); count != 0) {
            reader.feed({buffer.data(), count});
        } else if (hasEnded || program.outputHasEnded()) {
            return unexpected(String("The list of DirectX filters has no end: the launcher ended before"));
        } else {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            program.waitForOutput(std::clamp(left, std::chrono::milliseconds(0), betweenLooks));
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
