#include "svbase/util/FunctionThread.h"

#include "svbase/WithoutThreads_posix.h"

#include <future>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using Util::FunctionThread;
using Util::Thread;

int nicenessAt(Thread::Priority priority) {
    int seen = 1000;
    FunctionThread thread(
        [&] { seen = getpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid))); }, "nice", priority);
    thread.start();
    thread.join();
    return seen;
}

TEST(Thread, Lower_priorities_are_nicer) {
    const int own = getpriority(PRIO_PROCESS, 0);
    if (own > 4) {
        GTEST_SKIP() << "this process is nicer than the priorities under test";
    }
    EXPECT_EQ(nicenessAt(Thread::Priority::Idle), 19);
    EXPECT_EQ(nicenessAt(Thread::Priority::Lowest), 10);
    EXPECT_EQ(nicenessAt(Thread::Priority::BelowNormal), 5);
    EXPECT_EQ(nicenessAt(Thread::Priority::Normal), own);
    EXPECT_EQ(nicenessAt(static_cast<Thread::Priority>(99)), own);
}

TEST(Thread, Higher_priorities_are_never_nicer) {
    const int own = getpriority(PRIO_PROCESS, 0);
    for (const auto priority :
         {Thread::Priority::AboveNormal, Thread::Priority::Highest, Thread::Priority::TimeCritical,
          Thread::Priority::ProAudio}) {
        EXPECT_LE(nicenessAt(priority), own);
    }
}

TEST(Thread, Tells_the_system_the_first_15_bytes_of_its_name) {
    char seen[64] = {};
    FunctionThread thread([&] { pthread_getname_np(pthread_self(), seen, sizeof seen); }, "Sixteen letters.");
    thread.start();
    thread.join();
    EXPECT_STREQ(seen, "Sixteen letters");
}

TEST(Thread, Without_a_thread_to_give_start_says_so_and_may_be_tried_again) {
    int runs = 0;
    FunctionThread thread([&] { ++runs; }, "none");
    {
        const WithoutThreads none;
        EXPECT_FALSE(thread.start());
        EXPECT_EQ(thread.state(), Thread::State::Idle);
        EXPECT_TRUE(thread.join());
    }
    EXPECT_TRUE(thread.start());
    EXPECT_TRUE(thread.join());
    EXPECT_EQ(runs, 1);
}

TEST(ThreadDeathTest, Destroying_a_running_one_ends_the_process) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            std::promise<void> running;
            std::promise<void> never;
            FunctionThread thread(
                [&] {
                    running.set_value();
                    never.get_future().wait();
                },
                "endless");
            thread.start();
            running.get_future().wait();
        },
        "terminate");
}

} // namespace
