#include "svbase/util/TaskQueue.h"

#include "svbase/PatchedImport_win32.h"

#include <gtest/gtest.h>

#include <thread>

extern "C" {
extern decltype(&CreateThreadpoolCleanupGroup) __imp_CreateThreadpoolCleanupGroup;
extern decltype(&CreateThreadpoolWork) __imp_CreateThreadpoolWork;
}

namespace {

using Util::TaskQueue;

PTP_CLEANUP_GROUP WINAPI noGroup() {
    return nullptr;
}

PTP_WORK WINAPI noWork(PTP_WORK_CALLBACK, PVOID, PTP_CALLBACK_ENVIRON) {
    return nullptr;
}

/// How often the function ran here, and how often elsewhere.
struct Runs {
    int here = 0;
    int elsewhere = 0;
};

Runs runsOf(TaskQueue& queue) {
    Runs runs;
    queue.enqueue([&runs, caller = std::this_thread::get_id()] {
        ++(std::this_thread::get_id() == caller ? runs.here : runs.elsewhere);
    });
    queue.finish();
    return runs;
}

TEST(TaskQueue, Without_a_pool_the_function_runs_once_in_place_and_the_next_one_asks_again) {
    TaskQueue queue(true);
    {
        const PatchedImport none(__imp_CreateThreadpoolCleanupGroup, &noGroup);
        for (int i = 0; i < 3; ++i) {
            const Runs runs = runsOf(queue);
            EXPECT_EQ(runs.here, 1);
            EXPECT_EQ(runs.elsewhere, 0);
        }
    }
    EXPECT_EQ(runsOf(queue).elsewhere, 1);
}

TEST(TaskQueue, Without_a_work_item_the_function_runs_once_in_place) {
    TaskQueue queue(true);
    EXPECT_EQ(runsOf(queue).elsewhere, 1);
    {
        const PatchedImport none(__imp_CreateThreadpoolWork, &noWork);
        const Runs runs = runsOf(queue);
        EXPECT_EQ(runs.here, 1);
        EXPECT_EQ(runs.elsewhere, 0);
    }
    EXPECT_EQ(runsOf(queue).elsewhere, 1);
}

} // namespace
