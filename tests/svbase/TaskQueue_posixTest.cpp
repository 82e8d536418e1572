#include "svbase/util/TaskQueue.h"

#include "svbase/WithoutThreads_posix.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using Util::TaskQueue;

TEST(TaskQueue, Without_a_thread_to_give_each_function_runs_once_in_place) {
    TaskQueue queue(true);
    int runs = 0;
    std::thread::id ranOn;
    {
        const WithoutThreads none;
        for (int i = 0; i < 3; ++i) {
            queue.enqueue([&] {
                ++runs;
                ranOn = std::this_thread::get_id();
            });
        }
    }
    EXPECT_EQ(runs, 3);
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    queue.enqueue([&] {
        ++runs;
        ranOn = std::this_thread::get_id();
    });
    queue.finish();
    EXPECT_EQ(runs, 4);
    EXPECT_NE(ranOn, std::this_thread::get_id()) << "there are threads again";
}

TEST(TaskQueue, Without_a_thread_more_the_ones_there_are_do_all_the_work) {
    TaskQueue queue(true);
    std::atomic<int> elsewhere = 0;
    const auto note = [&, caller = std::this_thread::get_id()] {
        elsewhere += std::this_thread::get_id() != caller;
    };
    queue.enqueue(note);
    {
        const WithoutThreads none;
        for (int i = 0; i < 20; ++i) {
            queue.enqueue(note);
        }
    }
    queue.finish();
    EXPECT_EQ(elsewhere, 21);
}

} // namespace
