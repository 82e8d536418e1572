#include "parent/FilterListExchange_posix.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace Tarvik {
namespace {

using namespace std::chrono_literals;

const std::string list = "DirectX filters, format 1\n"
                         "filter 00000000-0000-0000-0000-000000000001 complete Reverb - -\n"
                         "end 1\n";

/// A program that writes and ends between two questions of its reader's: before the one of that number, from
/// 0 on.
class EndingProgram {
public:
    EndingProgram(std::string writes, int before, bool heldOpen)
        : text(std::move(writes)), endsBefore(before), outputIsHeldOpen(heldOpen) {}

    bool hasEnded() const {
        Ask();
        return ended;
    }
    std::size_t read(char* buffer, std::size_t size) const {
        Ask();
        const std::size_t count = ended ? text.copy(buffer, size, position) : 0;
        position += count;
        return count;
    }
    bool outputHasEnded() const {
        Ask();
        return ended && !outputIsHeldOpen && position == text.size();
    }
    void waitForOutput(std::chrono::milliseconds) const { Ask(); }

    bool HasRunToItsEnd() const { return ended; }

private:
    void Ask() const { ended = ended || questions++ == endsBefore; }

    std::string text;
    int endsBefore;
    bool outputIsHeldOpen;
    mutable int questions = 0;
    mutable bool ended = false;
    mutable std::size_t position = 0;
};

TEST(FilterListExchange, What_was_written_right_before_the_end_is_read_whenever_that_was) {
    std::string longList = "DirectX filters, format 1\n";
    for (int i = 100; i < 400; ++i) {
        longList += "filter 00000000-0000-0000-0000-000000000" + std::to_string(i) + " complete Reverb - -\n";
    }
    longList += "end 300\n";
    for (const std::string& text : {list, longList}) {
        for (const bool heldOpen : {false, true}) {
            // Four questions are a round.
            for (int before = 0; before < 12; ++before) {
                const EndingProgram program(text, before, heldOpen);
                const auto filters = readFilterList(program, 600s);
                ASSERT_TRUE(program.HasRunToItsEnd());
                ASSERT_TRUE(filters) << before << ": " << filters.error().c_str();
                EXPECT_EQ(filters->filters.size(), text == list ? 1U : 300U);
            }
        }
    }
}

TEST(FilterListExchange, A_program_that_ends_before_its_list_does_is_seen_whenever_that_was) {
    const std::string partly = list.substr(0, list.size() - 1);
    for (const std::string& text : {std::string(), partly}) {
        for (const bool heldOpen : {false, true}) {
            for (int before = 0; before < 12; ++before) {
                const auto filters = readFilterList(EndingProgram(text, before, heldOpen), 600s);
                ASSERT_FALSE(filters) << before;
                EXPECT_EQ(
                    filters.error(), "The list of DirectX filters has no end: the launcher ended before");
            }
        }
    }
}

TEST(FilterListExchange, Without_any_time_it_is_looked_at_once) {
    constexpr int never = std::numeric_limits<int>::max();
    const auto filters = readFilterList(EndingProgram("", never, false), 0s);
    ASSERT_FALSE(filters);
    EXPECT_EQ(filters.error(), "The list of DirectX filters took longer than the time limit");
    EXPECT_TRUE(readFilterList(EndingProgram(list, 0, false), 0s));
}

} // namespace
} // namespace Tarvik
