#include "command/ProgressLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;

struct Screen {
    /// What was written, piece by piece.
    std::vector<std::string> written;
    ProgressLine::Clock::time_point now = ProgressLine::Clock::time_point() + 1h;

    ProgressLine::Write writer() {
        return [this](std::string_view text) { written.emplace_back(text); };
    }
    auto clock() {
        return [this] { return now; };
    }
    /// What a terminal shows of it, blanks at the end aside.
    std::string shown() const {
        std::string line;
        std::size_t column = 0;
        for (const std::string& text : written) {
            for (const char c : text) {
                if (c == '\r') {
                    column = 0;
                    continue;
                }
                line.resize(std::max(line.size(), column + 1), ' ');
                line[column++] = c;
            }
        }
        return line.substr(0, line.find_last_not_of(' ') + 1);
    }
};

TEST(ProgressLine, Each_text_takes_the_place_of_the_one_before) {
    Screen screen;
    ProgressLine line({}, screen.writer(), screen.clock());
    line.show("a longer text");
    EXPECT_EQ(screen.shown(), "a longer text");
    line.show("short");
    EXPECT_EQ(screen.shown(), "short");
    line.show("longer");
    EXPECT_EQ(screen.shown(), "longer");
}

TEST(ProgressLine, Erasing_leaves_an_empty_line_and_the_cursor_at_its_start) {
    Screen screen;
    ProgressLine line({}, screen.writer(), screen.clock());
    line.show("text");
    line.erase();
    EXPECT_EQ(screen.shown(), "");
    EXPECT_EQ(screen.written.back().back(), '\r');
}

TEST(ProgressLine, It_is_erased_at_its_end) {
    Screen screen;
    {
        ProgressLine line({}, screen.writer(), screen.clock());
        line.show("text");
    }
    EXPECT_EQ(screen.shown(), "");
}

TEST(ProgressLine, Where_nothing_was_shown_nothing_is_erased) {
    Screen screen;
    {
        ProgressLine line({}, screen.writer(), screen.clock());
        line.erase();
        line.show("text");
        line.erase();
        screen.written.clear();
        line.erase();
    }
    EXPECT_TRUE(screen.written.empty());
}

TEST(ProgressLine, What_is_done_within_the_delay_shows_nothing) {
    Screen screen;
    ProgressLine line({300ms, 0ms}, screen.writer(), screen.clock());
    line.show("1");
    screen.now += 299ms;
    line.show("2");
    EXPECT_TRUE(screen.written.empty());
    screen.now += 1ms;
    line.show("3");
    EXPECT_EQ(screen.shown(), "3");
}

TEST(ProgressLine, What_comes_before_the_interval_is_over_is_dropped) {
    Screen screen;
    ProgressLine line({0ms, 100ms}, screen.writer(), screen.clock());
    line.show("1");
    screen.now += 99ms;
    line.show("2");
    EXPECT_EQ(screen.shown(), "1");
    screen.now += 1ms;
    line.show("3");
    EXPECT_EQ(screen.shown(), "3");
    EXPECT_EQ(screen.written.size(), 2U);
}

TEST(ProgressLine, Without_a_terminal_nothing_happens) {
    Screen screen;
    ProgressLine line({}, {}, screen.clock());
    line.show("text");
    line.erase();
    EXPECT_TRUE(screen.written.empty());
}

} // namespace
