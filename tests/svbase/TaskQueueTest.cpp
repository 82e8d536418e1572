#include "svbase/util/TaskQueue.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <latch>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using Util::TaskQueue;

TEST(TaskQueue, Runs_the_function_before_enqueue_returns_when_not_concurrent) {
    TaskQueue queue(false);
    EXPECT_FALSE(queue.isConcurrent());
    std::thread::id ranOn;
    queue.enqueue([&] { ranOn = std::this_thread::get_id(); });
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    queue.finish();
}

TEST(TaskQueue, An_exception_of_a_function_run_in_place_passes_out) {
    TaskQueue queue(false);
    EXPECT_THROW(queue.enqueue([] { throw std::runtime_error("task"); }), std::runtime_error);
}

TEST(TaskQueue, An_empty_function_fails_in_the_callers_hands) {
    TaskQueue inPlace(false);
    EXPECT_THROW(inPlace.enqueue(nullptr), std::bad_function_call);
    TaskQueue concurrent(true);
    EXPECT_THROW(concurrent.enqueue(nullptr), std::bad_function_call);
}

TEST(TaskQueue, Runs_the_function_on_another_thread_when_concurrent) {
    TaskQueue queue(true);
    EXPECT_TRUE(queue.isConcurrent());
    std::promise<std::thread::id> ranOn;
    queue.enqueue([&] { ranOn.set_value(std::this_thread::get_id()); });
    EXPECT_NE(ranOn.get_future().get(), std::this_thread::get_id());
    queue.finish();
}

TEST(TaskQueue, A_task_that_only_waits_does_not_hold_up_the_others) {
    std::promise<void> release;
    const auto released = release.get_future().share();
    std::promise<void> other;
    TaskQueue queue(true);
    queue.enqueue([released] { released.wait(); });
    queue.enqueue([&] { other.set_value(); });
    EXPECT_EQ(other.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    release.set_value();
}

TEST(TaskQueue, Finishing_an_unused_queue_returns) {
    TaskQueue queue(true);
    queue.finish();
    std::atomic<bool> ran = false;
    queue.enqueue([&ran] { ran = true; });
    queue.finish();
    EXPECT_TRUE(ran) << "and leaves it usable";
    TaskQueue neverFinished(true);
}

TEST(TaskQueue, Finish_waits_for_all_tasks_and_leaves_the_queue_usable) {
    TaskQueue queue(true);
    int runs = 0; // Plain: finish must order the tasks' writes before its return.
    std::mutex mutex;
    const auto task = [&] {
        const std::lock_guard guard(mutex);
        ++runs;
    };
    for (int round = 1; round <= 20; ++round) {
        for (int i = 0; i < 50; ++i) {
            queue.enqueue(task);
        }
        queue.finish();
        ASSERT_EQ(runs, round * 50);
    }
}

TEST(TaskQueue, Finish_waits_for_tasks_that_tasks_enqueue) {
    TaskQueue queue(true);
    std::atomic<int> runs = 0;
    std::function<void(int)> spread = [&](int depth) {
        ++runs;
        if (depth > 0) {
            queue.enqueue([&, depth] { spread(depth - 1); });
            queue.enqueue([&, depth] { spread(depth - 1); });
        }
    };
    queue.enqueue([&] { spread(6); });
    queue.finish();
    EXPECT_EQ(runs, 127);
}

TEST(TaskQueue, What_a_task_holds_is_gone_when_finish_returns) {
    const auto held = std::make_shared<int>(1);
    TaskQueue queue(true);
    for (int i = 0; i < 50; ++i) {
        queue.enqueue([held] {});
    }
    queue.finish();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(TaskQueue, Several_first_callers_install_one_pool_and_lose_no_task) {
    for (int round = 0; round < 200; ++round) {
        TaskQueue queue(true);
        std::atomic<int> runs = 0;
        std::latch together(3);
        std::vector<std::thread> callers;
        for (int caller = 0; caller < 3; ++caller) {
            callers.emplace_back([&] {
                together.arrive_and_wait();
                queue.enqueue([&] { ++runs; });
            });
        }
        for (std::thread& caller : callers) {
            caller.join();
        }
        queue.finish();
        ASSERT_EQ(runs, 3);
    }
}

TEST(TaskQueue, Each_function_runs_exactly_once_under_random_use_from_several_threads) {
    for (unsigned seed = 0; seed < 10; ++seed) {
        constexpr int callerCount = 3;
        constexpr int perCaller = 200;
        std::vector<std::atomic<int>> runs(callerCount * perCaller * 2);
        TaskQueue queue(true);
        std::vector<std::thread> callers;
        for (int caller = 0; caller < callerCount; ++caller) {
            callers.emplace_back([&, caller] {
                std::mt19937 random(seed * callerCount + static_cast<unsigned>(caller));
                for (int i = 0; i < perCaller; ++i) {
                    const auto index = static_cast<std::size_t>((caller * perCaller + i) * 2);
                    const bool nested = random() % 4 == 0;
                    queue.enqueue([&, index, nested] {
                        ++runs[index];
                        if (nested) {
                            queue.enqueue([&, index] { ++runs[index + 1]; });
                        } else {
                            ++runs[index + 1];
                        }
                    });
                    if (random() % 50 == 0) {
                        queue.finish();
                    }
                }
            });
        }
        for (std::thread& caller : callers) {
            caller.join();
        }
        queue.finish();
        for (const std::atomic<int>& count : runs) {
            ASSERT_EQ(count, 1);
        }
    }
}

/// Fills the pool of any platform with tasks that run until the queue's destruction has begun, which the
/// first of them learns from an enqueue that runs in place.
struct Crowd {
    std::atomic<int> begun = 0;
    std::atomic<int> ended = 0;
    std::promise<void> firstRuns;
    std::promise<void> destroying;
    std::shared_future<void> released = destroying.get_future().share();
};

TEST(TaskQueue, Destruction_waits_for_what_has_begun_and_cancels_what_has_not) {
    // More than the 500 threads that the system's pool has at most, so that some cannot begin.
    constexpr int tasks = 700;
    Crowd crowd;
    const auto held = std::make_shared<int>(1);
    {
        TaskQueue queue(true);
        queue.enqueue([&] {
            crowd.firstRuns.set_value();
            const auto self = std::this_thread::get_id();
            const auto inPlace = std::make_shared<std::atomic<bool>>(false);
            while (!*inPlace) {
                queue.enqueue([self, inPlace] {
                    if (std::this_thread::get_id() == self) {
                        *inPlace = true;
                    }
                });
                std::this_thread::yield();
            }
            crowd.destroying.set_value();
            ++crowd.ended;
        });
        crowd.firstRuns.get_future().wait();
        for (int i = 0; i < tasks; ++i) {
            queue.enqueue([&crowd, held] {
                ++crowd.begun;
                crowd.released.wait();
                ++crowd.ended;
            });
        }
    }
    EXPECT_EQ(crowd.ended, crowd.begun + 1) << "each that began has ended, and the first one";
    EXPECT_LT(crowd.begun, tasks);
    EXPECT_EQ(held.use_count(), 1) << "cancelled functions are freed as well";
}

} // namespace
