// What a thread asks of the system for its priority.

#include "svbase/util/FunctionThread.h"

#include "svbase/PatchedImport_win32.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

extern "C" {
extern decltype(&GetProcAddress) __imp_GetProcAddress;
extern decltype(&LoadLibraryW) __imp_LoadLibraryW;
}

namespace {

using Util::FunctionThread;
using Util::Thread;

/// The multimedia class scheduler that the program finds.
struct Scheduler {
    bool hasCharacteristics = true;
    bool hasPriority = true;
    HANDLE handle = reinterpret_cast<HANDLE>(std::intptr_t{0x4711});
    BOOL priorityAnswer = TRUE;

    // What it was asked.
    int classes = 0;
    std::string task;
    DWORD taskIndex = 1;
    int priorities = 0;
    HANDLE prioritised = nullptr;
    int priority = -1;
};
Scheduler scheduler;

HANDLE WINAPI setCharacteristics(LPCSTR task, LPDWORD index) {
    ++scheduler.classes;
    scheduler.task = task;
    scheduler.taskIndex = *index;
    return scheduler.handle;
}

BOOL WINAPI setPriority(HANDLE handle, int priority) {
    ++scheduler.priorities;
    scheduler.prioritised = handle;
    scheduler.priority = priority;
    return scheduler.priorityAnswer;
}

decltype(&GetProcAddress) systemGetProcAddress = nullptr;

/// A function as the system hands it out, whatever its type.
template<class Function>
FARPROC asFound(Function function) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

FARPROC WINAPI findFunction(HMODULE module, LPCSTR name) {
    if (module == GetModuleHandleW(L"avrt.dll")) {
        if (std::string(name) == "AvSetMmThreadCharacteristicsA") {
            return scheduler.hasCharacteristics ? asFound(&setCharacteristics) : nullptr;
        }
        if (std::string(name) == "AvSetMmThreadPriority") {
            return scheduler.hasPriority ? asFound(&setPriority) : nullptr;
        }
    }
    return systemGetProcAddress(module, name);
}

FARPROC WINAPI findNothing(HMODULE, LPCSTR) {
    return nullptr;
}

HMODULE WINAPI loadNothing(LPCWSTR) {
    return nullptr;
}

/// The effective priority of a thread for audio.
int audioPriority() {
    int seen = 1000;
    FunctionThread thread(
        [&] { seen = GetThreadPriority(GetCurrentThread()); }, "audio", Thread::Priority::ProAudio);
    thread.start();
    thread.join();
    return seen;
}

/// The same in a program that finds this scheduler.
int audioPriority(const Scheduler& found) {
    scheduler = found;
    systemGetProcAddress = __imp_GetProcAddress;
    const PatchedImport patch(__imp_GetProcAddress, &findFunction);
    return audioPriority();
}

/// The scheduler is looked up once in a program's life: each test is a program of its own, which ends with 17
/// when all is as it should be.
void endWith(bool right) {
    std::_Exit(right ? 17 : 18);
}

TEST(ThreadPriorityDeathTest, For_audio_it_is_the_class_Pro_Audio_at_high_priority) {
    const auto child = [] {
        const int priority = audioPriority({});
        endWith(
            priority == 0 && scheduler.classes == 1 && scheduler.task == "Pro Audio" &&
            scheduler.taskIndex == 0 && scheduler.priorities == 1 &&
            scheduler.prioritised == Scheduler().handle && scheduler.priority == 2);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(17), "");
}

TEST(ThreadPriorityDeathTest, The_scheduler_is_looked_up_once_and_asked_by_each_thread) {
    const auto child = [] {
        audioPriority({});
        const PatchedImport patch(__imp_GetProcAddress, &findNothing);
        endWith(audioPriority() == 0 && scheduler.classes == 2 && scheduler.priorities == 2);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(17), "");
}

TEST(ThreadPriorityDeathTest, Without_the_schedulers_library_it_is_time_critical) {
    const auto child = [] {
        const PatchedImport patch(__imp_LoadLibraryW, &loadNothing);
        endWith(audioPriority({}) == 15 && scheduler.classes == 0);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(17), "");
}

TEST(ThreadPriorityDeathTest, Without_the_class_it_is_time_critical) {
    const auto child = [] {
        Scheduler found;
        found.hasCharacteristics = false;
        endWith(audioPriority(found) == 15 && scheduler.priorities == 0);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(17), "");
}

TEST(ThreadPriorityDeathTest, Without_a_priority_in_the_class_it_is_time_critical) {
    const auto child = [] {
        Scheduler found;
        found.hasPriority = false;
        endWith(audioPriority(found) == 15);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(17), "");
}

TEST(ThreadPriorityDeathTest, A_class_that_refuses_leaves_it_time_critical) {
    const auto child = [] {
        Scheduler found;
        found.handle = nullptr;
        endWith(audioPriority(found) == 15 && scheduler.classes == 1 && scheduler.priorities == 0);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(17), "");
}

TEST(ThreadPriorityDeathTest, A_priority_that_is_refused_in_the_class_leaves_it_time_critical) {
    const auto child = [] {
        Scheduler found;
        found.priorityAnswer = FALSE;
        endWith(audioPriority(found) == 15 && scheduler.priorities == 1);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(17), "");
}

} // namespace
