#include "hosting/PlatformCalls_win32.h"
#include "svbase/util/CriticalSection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include <windows.h>

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;

TEST(PlatformCalls, What_asks_the_system_for_nothing_is_no_call) {
    PlatformCalls calls;
    volatile int sum = 0;
    EXPECT_THAT(calls.Of([&] { sum = sum + 1; }), IsEmpty());
}

TEST(PlatformCalls, Locks_of_the_system_are_counted) {
    PlatformCalls calls;
    Util::CriticalSection lock("PlatformCalls");
    EXPECT_THAT(
        calls.Of([&] {
            lock.lock();
            lock.lock();
            EXPECT_TRUE(lock.try_lock());
            lock.unlock();
            lock.unlock();
            lock.unlock();
        }),
        ElementsAre(
            Pair("EnterCriticalSection", 2), Pair("LeaveCriticalSection", 3),
            Pair("TryEnterCriticalSection", 1)));
}

TEST(PlatformCalls, Locks_of_the_runtime_library_are_counted) {
    PlatformCalls calls;
    std::mutex mutex;
    std::shared_mutex shared;
    std::condition_variable condition;
    // The first use of a lock makes it.
    mutex.lock();
    mutex.unlock();
    EXPECT_THAT(
        calls.Of([&] {
            mutex.lock();
            mutex.unlock();
        }),
        ElementsAre(Pair("pthread_mutex_lock", 1)));
    const auto counted = calls.Of([&] {
        if (mutex.try_lock()) {
            mutex.unlock();
        }
        shared.lock();
        shared.unlock();
        shared.lock_shared();
        shared.unlock_shared();
        std::unique_lock guard(mutex);
        condition.wait_for(guard, std::chrono::nanoseconds(0));
    });
    // They have locks of their own, too.
    EXPECT_THAT(
        counted,
        AllOf(
            Contains(Pair("pthread_mutex_trylock", 1)), Contains(Pair("pthread_rwlock_wrlock", 1)),
            Contains(Pair("pthread_rwlock_rdlock", 1)), Contains(Pair("pthread_cond_timedwait", 1))));
}

TEST(PlatformCalls, Memory_and_files_are_counted) {
    PlatformCalls calls;
    // Not known to the compiler, which would leave it all out.
    volatile std::size_t size = 100;
    const auto counted = calls.Of([&] {
        void* volatile memory = std::malloc(size);
        std::free(memory);
        CloseHandle(CreateFileW(L"NUL", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    });
    EXPECT_THAT(
        counted,
        ElementsAre(Pair("CloseHandle", 1), Pair("CreateFileW", 1), Pair("free", 1), Pair("malloc", 1)));
}

TEST(PlatformCalls, Another_threads_calls_are_not) {
    PlatformCalls calls;
    Util::CriticalSection lock("PlatformCalls");
    const auto counted = calls.Of([&] {
        std::thread([&] {
            lock.lock();
            lock.unlock();
        }).join();
    });
    EXPECT_THAT(counted, testing::Not(Contains(Key("EnterCriticalSection"))));
    EXPECT_THAT(counted, testing::Not(IsEmpty())) << "it began a thread";
}

TEST(PlatformCalls, At_its_end_the_program_calls_the_system_as_before) {
    const auto places = [] {
        std::vector<void*> found;
        for (const ImportedFunction& function : ImportedFunctions()) {
            found.push_back(*function.place);
        }
        return found;
    };
    const auto before = places();
    ASSERT_THAT(before, testing::Not(IsEmpty()));
    {
        PlatformCalls calls;
    }
    EXPECT_EQ(places(), before);
}

} // namespace
