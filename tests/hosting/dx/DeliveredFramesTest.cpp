#include "hosting/dx/DeliveredFrames.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <thread>

namespace Tarvik {
namespace {

TEST(DeliveredFrames, Before_the_first_block_there_is_no_number) {
    const DeliveredFrames frames;
    EXPECT_EQ(frames.Get(), checked_value<std::uint32_t>());
}

TEST(DeliveredFrames, Any_number_is_one_and_0_is_not_none) {
    DeliveredFrames frames;
    for (const std::uint32_t number : {512U, 0U, std::numeric_limits<std::uint32_t>::max()}) {
        frames.Set(number);
        EXPECT_EQ(frames.Get(), checked_value(number));
    }
    frames.Clear();
    EXPECT_EQ(frames.Get(), checked_value<std::uint32_t>());
    EXPECT_EQ(frames.Get().value, 0U);
}

TEST(DeliveredFrames, A_reader_on_another_thread_sees_what_some_block_wrote) {
    constexpr std::uint32_t blocks = 200000;
    DeliveredFrames frames;
    std::atomic<bool> begun = false;
    std::thread audio([&] {
        for (std::uint32_t block = 1; block <= blocks; ++block) {
            frames.Clear();
            frames.Set(block);
            begun = true;
        }
    });
    while (!begun) {
        std::this_thread::yield();
    }
    std::uint32_t last = 0;
    bool backwards = false;
    bool numberWithoutBlock = false;
    while (last < blocks) {
        const auto now = frames.Get();
        numberWithoutBlock = numberWithoutBlock || (!now.valid && now.value != 0);
        backwards = backwards || (now.valid && now.value < last);
        last = now.valid ? now.value : last;
    }
    audio.join();
    EXPECT_FALSE(backwards);
    EXPECT_FALSE(numberWithoutBlock);
}

} // namespace
} // namespace Tarvik
