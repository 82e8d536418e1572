#include "command/ProgressLine.h"

#include "command/Arguments.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

namespace {

ProgressLine::Write standardError() {
    if (!standardErrorIsTerminal()) {
        return {};
    }
    return [](std::string_view text) {
        // Nothing can be told of a terminal that does not take it.
        static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
        static_cast<void>(std::fflush(stderr));
    };
}

} // namespace

ProgressLine::ProgressLine(Pace pace) : ProgressLine(pace, standardError(), Clock::now) {}

ProgressLine::ProgressLine(Pace pace, Write write, std::function<Clock::time_point()> now)
    : pace_(pace), write_(std::move(write)), now_(std::move(now)), due_(now_() + pace.delay) {}

ProgressLine::~ProgressLine() {
    erase();
}

void ProgressLine::show(std::string_view text) {
    if (!write_) {
        return;
    }
    const Clock::time_point now = now_();
    if (now < due_) {
        return;
    }
    due_ = now + pace_.interval;
    // Blanks over what is left of a longer text, and not the terminal's own command for that: not every
    // console of Windows knows it.
    std::string line = "\r" + std::string(text);
    line.resize(std::max(line.size(), shown_ + 1), ' ');
    shown_ = text.size();
    write_(line);
}

void ProgressLine::erase() {
    if (shown_ != 0) {
        write_("\r" + std::string(shown_, ' ') + "\r");
        shown_ = 0;
    }
}
