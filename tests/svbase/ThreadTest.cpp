#include "svbase/util/Thread.h"
#include "support/VirtualSlot.h"
#include "svbase/util/FunctionThread.h"

#include <atomic>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using Util::FunctionThread;
using Util::Thread;

/// Records what the thread does, and where.
class RecordingThread final : public Thread {
public:
    explicit RecordingThread(std::function<void()> work = [] {})
        : Thread("recording", Priority::Normal), work_(std::move(work)) {}
    ~RecordingThread() override { join(); }

    std::vector<std::string> log;
    std::thread::id ranOn;
    std::thread::id cleanedUpOn;

protected:
    void run() override {
        log.push_back("run");
        ranOn = std::this_thread::get_id();
        work_();
    }
    void cleanUp() override {
        log.push_back(state() == State::Running ? "cleanUp" : "cleanUp too late");
        cleanedUpOn = std::this_thread::get_id();
    }

private:
    std::function<void()> work_;
};

struct OpenThread : Thread {
    using Thread::cleanUp;
    using Thread::run;
};

TEST(Thread, Its_operations_stand_in_their_published_order) {
    EXPECT_EQ(virtualSlots(&OpenThread::cleanUp, &OpenThread::run), slotsFrom(destructorSlots, 2));
}

/// A thread that runs until it is told to stop.
struct Gate {
    std::promise<void> running;
    std::promise<void> stop;

    std::function<void()> work() {
        return [this] {
            running.set_value();
            stop.get_future().wait();
        };
    }
};

void waitUntilFinished(const Thread& thread) {
    while (thread.state() != Thread::State::Finished) {
        std::this_thread::yield();
    }
}

TEST(Thread, Keeps_its_name_priority_and_apartment_flag) {
    const FunctionThread thread([] {}, "Render", Thread::Priority::Highest, true);
    EXPECT_EQ(thread.name(), "Render");
    EXPECT_EQ(thread.priority(), Thread::Priority::Highest);
    EXPECT_TRUE(thread.usesCom());
    EXPECT_EQ(thread.state(), Thread::State::Idle);
}

TEST(Thread, Priorities_have_their_published_numbers) {
    EXPECT_EQ(static_cast<int>(Thread::Priority::Idle), 0);
    EXPECT_EQ(static_cast<int>(Thread::Priority::Normal), 3);
    EXPECT_EQ(static_cast<int>(Thread::Priority::TimeCritical), 6);
    EXPECT_EQ(static_cast<int>(Thread::Priority::ProAudio), 7);
}

TEST(Thread, Joining_one_that_was_never_started_succeeds_at_once) {
    FunctionThread thread([] {}, "idle");
    EXPECT_TRUE(thread.join());
    EXPECT_TRUE(thread.join(0u));
}

TEST(Thread, Runs_and_cleans_up_on_a_thread_of_its_own) {
    RecordingThread thread;
    EXPECT_TRUE(thread.start());
    EXPECT_TRUE(thread.join());
    EXPECT_THAT(thread.log, ElementsAre("run", "cleanUp"));
    EXPECT_NE(thread.ranOn, std::this_thread::get_id());
    EXPECT_EQ(thread.ranOn, thread.cleanedUpOn);
    EXPECT_EQ(thread.state(), Thread::State::Idle);
}

TEST(Thread, Joining_a_running_one_with_a_time_out_of_0_fails_and_leaves_it_joinable) {
    Gate gate;
    FunctionThread thread(gate.work(), "gate");
    thread.start();
    gate.running.get_future().wait();
    EXPECT_EQ(thread.state(), Thread::State::Running);
    EXPECT_FALSE(thread.join(0u));
    EXPECT_FALSE(thread.join(1u));
    EXPECT_EQ(thread.state(), Thread::State::Running);
    gate.stop.set_value();
    EXPECT_TRUE(thread.join());
    EXPECT_EQ(thread.state(), Thread::State::Idle);
}

TEST(Thread, A_second_start_while_it_runs_does_nothing) {
    Gate gate;
    std::atomic<int> runs = 0;
    FunctionThread thread(
        [&] {
            ++runs;
            gate.work()();
        },
        "gate");
    thread.start();
    gate.running.get_future().wait();
    EXPECT_TRUE(thread.start());
    gate.stop.set_value();
    thread.join();
    EXPECT_EQ(runs, 1);
}

TEST(Thread, Joining_a_finished_one_closes_it) {
    FunctionThread thread([] {}, "short");
    thread.start();
    waitUntilFinished(thread);
    EXPECT_TRUE(thread.join(0u)) << "no wait is needed";
    EXPECT_EQ(thread.state(), Thread::State::Idle);
    EXPECT_TRUE(thread.join(0u)) << "nothing to join any more";
}

TEST(Thread, Can_be_started_again_after_it_has_finished_joined_or_not) {
    std::atomic<int> runs = 0;
    FunctionThread thread([&] { ++runs; }, "again");
    thread.start();
    thread.join();
    thread.start();
    waitUntilFinished(thread);
    thread.start();
    thread.join();
    EXPECT_EQ(runs, 3);
}

TEST(Thread, A_finished_one_may_be_destroyed_without_a_join) {
    std::atomic<bool> ran = false;
    {
        FunctionThread thread([&] { ran = true; }, "short");
        thread.start();
        waitUntilFinished(thread);
    }
    EXPECT_TRUE(ran);
}

TEST(Thread, An_exception_ends_the_thread_and_goes_no_further) {
    RecordingThread thread([] { throw std::runtime_error("from run"); });
    thread.start();
    EXPECT_TRUE(thread.join());
    EXPECT_THAT(thread.log, ElementsAre("run", "cleanUp"));
}

TEST(Thread, An_exception_leaves_the_state_finished) {
    FunctionThread thread([] { throw 1; }, "throws");
    thread.start();
    waitUntilFinished(thread);
    EXPECT_EQ(thread.state(), Thread::State::Finished);
    EXPECT_TRUE(thread.join());
}

TEST(FunctionThread, An_empty_function_ends_the_thread) {
    FunctionThread thread(nullptr, "empty");
    EXPECT_TRUE(thread.start());
    EXPECT_TRUE(thread.join());
}

TEST(FunctionThread, Holds_its_function_until_its_own_end) {
    const auto held = std::make_shared<int>(1);
    {
        FunctionThread thread([held] {}, "holds");
        EXPECT_EQ(held.use_count(), 2);
        thread.start();
        thread.join();
        EXPECT_EQ(held.use_count(), 2);
    }
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Thread, Needs_no_name) {
    std::atomic<bool> ran = false;
    FunctionThread thread([&] { ran = true; }, "");
    thread.start();
    thread.join();
    EXPECT_TRUE(ran);
}

TEST(Thread, A_named_one_announces_itself_and_lives_on) {
    std::atomic<bool> ran = false;
    FunctionThread thread([&] { ran = true; }, "A thread with a rather long name");
    thread.start();
    thread.join();
    EXPECT_TRUE(ran);
}

TEST(Thread, What_it_wrote_is_seen_after_the_join) {
    for (int i = 0; i < 100; ++i) {
        int plain = 0;
        FunctionThread thread([&] { plain = i + 1; }, "writer");
        thread.start();
        if (i % 2 == 0) {
            waitUntilFinished(thread);
        }
        thread.join();
        ASSERT_EQ(plain, i + 1);
    }
}

TEST(Thread, Several_threads_may_start_and_join_one_together) {
    for (int round = 0; round < 30; ++round) {
        std::atomic<int> runs = 0;
        FunctionThread thread([&] { ++runs; }, "shared");
        std::vector<std::thread> callers;
        for (int caller = 0; caller < 4; ++caller) {
            callers.emplace_back([&, caller] {
                for (int i = 0; i < 10; ++i) {
                    if ((i + caller) % 2 == 0) {
                        thread.start();
                    } else if (caller == 0) {
                        thread.join(0u);
                    } else {
                        thread.join();
                    }
                }
            });
        }
        for (std::thread& caller : callers) {
            caller.join();
        }
        ASSERT_TRUE(thread.join());
        ASSERT_GE(runs, 1);
        ASSERT_EQ(thread.state(), Thread::State::Idle);
    }
}

} // namespace
