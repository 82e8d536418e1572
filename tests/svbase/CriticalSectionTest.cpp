#include "svbase/util/CriticalSection.h"

#include <gtest/gtest.h>
#include <mutex>
#include <thread>
#include <vector>

namespace {

bool enteredFromAnotherThread(Util::CriticalSection& section) {
    bool entered = false;
    std::thread([&] {
        entered = section.try_lock();
        if (entered) {
            section.unlock();
        }
    }).join();
    return entered;
}

TEST(CriticalSection, Tells_its_name) {
    const Util::CriticalSection section("Loading Critical Section");
    EXPECT_EQ(section.name(), "Loading Critical Section");
}

TEST(CriticalSection, Keeps_other_threads_out_until_each_lock_has_its_unlock) {
    Util::CriticalSection section("test");
    EXPECT_TRUE(enteredFromAnotherThread(section));
    section.lock();
    EXPECT_TRUE(section.try_lock()) << "the owner enters again";
    section.lock();
    EXPECT_FALSE(enteredFromAnotherThread(section));
    section.unlock();
    section.unlock();
    EXPECT_FALSE(enteredFromAnotherThread(section));
    section.unlock();
    EXPECT_TRUE(enteredFromAnotherThread(section));
}

TEST(CriticalSection, Threads_take_turns) {
    Util::CriticalSection section("test");
    int counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 5000; ++i) {
                const std::lock_guard guard(section);
                ++counter;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 20000);
}

} // namespace
