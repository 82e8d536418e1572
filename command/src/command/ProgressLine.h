#pragma once

#include "svbase/util/Noncopyable.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <string_view>

/// One line of a terminal that tells how far a program has come: written over in place, erased in the end.
class ProgressLine : private noncopyable {
public:
    using Clock = std::chrono::steady_clock;
    using Write = std::function<void(std::string_view)>;

    struct Pace {
        /// From the construction to the first text: what is done sooner shows nothing.
        std::chrono::milliseconds delay{0};
        /// From each text to the next one at least; what comes between is dropped.
        std::chrono::milliseconds interval{0};
    };

    /// On standard error where that is a terminal, and nowhere else.
    explicit ProgressLine(Pace pace);
    /// write: takes what goes to the terminal; empty to show nothing. now: the time.
    ProgressLine(Pace pace, Write write, std::function<Clock::time_point()> now);
    ~ProgressLine();

    /// text: printable ASCII, shorter than a terminal is wide.
    void show(std::string_view text);
    /// Before anything else is written to the terminal, too.
    void erase();

private:
    Pace pace_;
    Write write_;
    std::function<Clock::time_point()> now_;
    Clock::time_point due_;
    std::size_t shown_ = 0;
};
