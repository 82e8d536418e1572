#include "svbase/util/FunctionThread.h"

#include <atomic>
#include <cstddef>
#include <gtest/gtest.h>
#include <objbase.h>
#include <string>
#include <thread>
#include <windows.h>

namespace {

using Util::FunctionThread;
using Util::Thread;

int priorityAt(Thread::Priority priority) {
    int seen = 1000;
    FunctionThread thread([&] { seen = GetThreadPriority(GetCurrentThread()); }, "priority", priority);
    thread.start();
    thread.join();
    return seen;
}

TEST(Thread, Sets_its_priority_on_itself) {
    EXPECT_EQ(priorityAt(Thread::Priority::Idle), -15);
    EXPECT_EQ(priorityAt(Thread::Priority::Lowest), -2);
    EXPECT_EQ(priorityAt(Thread::Priority::BelowNormal), -1);
    EXPECT_EQ(priorityAt(Thread::Priority::Normal), 0);
    EXPECT_EQ(priorityAt(Thread::Priority::AboveNormal), 1);
    EXPECT_EQ(priorityAt(Thread::Priority::Highest), 2);
    EXPECT_EQ(priorityAt(Thread::Priority::TimeCritical), 15);
}

TEST(Thread, A_priority_without_a_meaning_is_normal) {
    EXPECT_EQ(priorityAt(static_cast<Thread::Priority>(8)), 0);
    EXPECT_EQ(priorityAt(static_cast<Thread::Priority>(0xFFFFFFFFu)), 0);
}

TEST(Thread, Audio_priority_asks_the_multimedia_scheduler) {
    ASSERT_NE(priorityAt(Thread::Priority::ProAudio), 1000);
    EXPECT_NE(GetModuleHandleW(L"avrt.dll"), nullptr) << "looked up at run time, and kept";
}

/// An apartment that is there already answers S_FALSE.
HRESULT probeApartment() {
    const HRESULT result = CoInitialize(nullptr);
    CoUninitialize();
    return result;
}

class ApartmentThread final : public Thread {
public:
    explicit ApartmentThread(bool com) : Thread("apartment", Priority::Normal, com) {}
    ~ApartmentThread() override { join(); }

    HRESULT inRun = E_FAIL;
    HRESULT inCleanUp = E_FAIL;

protected:
    void run() override { inRun = probeApartment(); }
    void cleanUp() override { inCleanUp = probeApartment(); }
};

TEST(Thread, Enters_an_apartment_for_run_when_asked_to) {
    ApartmentThread with(true);
    with.start();
    with.join();
    EXPECT_EQ(with.inRun, S_FALSE);
    EXPECT_EQ(with.inCleanUp, S_OK) << "left before the clean-up";

    ApartmentThread without(false);
    without.start();
    without.join();
    EXPECT_EQ(without.inRun, S_OK);
}

TEST(Thread, Destroying_a_running_one_ends_it_by_force_and_quietly) {
    const HANDLE running = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE thread = nullptr;
    {
        FunctionThread endless(
            [&] {
                DuplicateHandle(
                    GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &thread, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
                SetEvent(running);
                WaitForSingleObject(never, INFINITE);
            },
            "endless");
        endless.start();
        ASSERT_EQ(WaitForSingleObject(running, 30000), WAIT_OBJECT_0);
    }
    EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0) << "ended before its object did";
    CloseHandle(thread);
    CloseHandle(running);
    CloseHandle(never);
}

/// What a debugger sees of a child that runs one test of this program.
struct Announcement {
    std::string name;
    DWORD type = 0;
    bool ownThread = false;
    DWORD flags = 1;
    DWORD exitCode = 1;
};

std::string readText(HANDLE process, ULONG_PTR address) {
    std::string text;
    char next = 0;
    SIZE_T got = 0;
    while (ReadProcessMemory(process, reinterpret_cast<const void*>(address + text.size()), &next, 1, &got) &&
           got == 1 && next != 0) {
        text.push_back(next);
    }
    return text;
}

Announcement debugChild(std::wstring arguments) {
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring command = L"\"" + std::wstring(program) + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child{};
    Announcement seen;
    if (!CreateProcessW(
            program, command.data(), nullptr, nullptr, FALSE, DEBUG_ONLY_THIS_PROCESS, nullptr, nullptr,
            &startup, &child)) {
        return seen;
    }
    DEBUG_EVENT event{};
    bool ended = false;
    while (!ended && WaitForDebugEvent(&event, 60000)) {
        DWORD answer = DBG_CONTINUE;
        if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) {
            seen.exitCode = event.u.ExitProcess.dwExitCode;
            ended = true;
        } else if (event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT) {
            const EXCEPTION_RECORD& record = event.u.Exception.ExceptionRecord;
            if (record.ExceptionCode == 0x406D1388 && record.NumberParameters == 3) {
                seen.type = static_cast<DWORD>(record.ExceptionInformation[0]);
                seen.name = readText(child.hProcess, record.ExceptionInformation[1]);
                seen.ownThread = static_cast<DWORD>(record.ExceptionInformation[2]) == event.dwThreadId;
                seen.flags = static_cast<DWORD>(record.ExceptionInformation[2] >> 32);
            }
            if (record.ExceptionCode != static_cast<DWORD>(EXCEPTION_BREAKPOINT)) {
                answer = DBG_EXCEPTION_NOT_HANDLED;
            }
        }
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
    }
    CloseHandle(child.hThread);
    CloseHandle(child.hProcess);
    return seen;
}

TEST(Thread, A_debugger_is_told_the_name_of_the_thread) {
    const Announcement seen = debugChild(L"--gtest_filter=Thread.A_named_one_announces_itself_and_lives_on");
    EXPECT_EQ(seen.type, DWORD(0x1000));
    EXPECT_EQ(seen.name, "A thread with a rather long name");
    EXPECT_TRUE(seen.ownThread);
    EXPECT_EQ(seen.flags, DWORD(0));
    EXPECT_EQ(seen.exitCode, DWORD(0)) << "the announcement, unhandled by the debugger, ends nothing";
}

} // namespace
