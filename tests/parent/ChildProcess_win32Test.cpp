#include "parent/ChildProcess.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>

namespace Tarvik {
namespace {

using namespace std::chrono_literals;

/// What this program does instead of testing when it is started as its own child.
constexpr const wchar_t* behaviourVariable = L"TARVIK_TEST_CHILD";
constexpr const wchar_t* handleVariable = L"TARVIK_TEST_HANDLE";

std::wstring variable(const wchar_t* name) {
    std::array<wchar_t, 256> text{};
    return std::wstring(
        text.data(), GetEnvironmentVariableW(name, text.data(), static_cast<DWORD>(text.size())));
}

String ownPath() {
    std::array<wchar_t, 32768> path{};
    return String::fromWide(path.data(), GetModuleFileNameW(nullptr, path.data(), path.size()));
}

void behave(const std::wstring& behaviour) {
    if (behaviour == L"ends with 0xC0000005") {
        TerminateProcess(GetCurrentProcess(), 0xC0000005U);
    } else if (behaviour == L"floods") {
        const std::string block(1 << 16, 'x');
        for (int i = 0; i < 64; ++i) {
            std::fwrite(block.data(), 1, block.size(), stdout);
            std::fwrite(block.data(), 1, block.size(), stderr);
        }
        ExitProcess(6);
    } else if (behaviour == L"sets the event") {
        // The number that the handle has in the parent. Whatever it is here, it is not the parent's event.
        SetEvent(reinterpret_cast<HANDLE>(
            static_cast<std::uintptr_t>(_wcstoui64(variable(handleVariable).c_str(), nullptr, 10))));
        ExitProcess(5);
    } else if (behaviour == L"leaves a grandchild") {
        SetEnvironmentVariableW(behaviourVariable, L"sleeps");
        std::wstring path = ownPath().toNativeWide();
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION info{};
        if (!CreateProcessW(
                path.c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info)) {
            ExitProcess(99);
        }
        ExitProcess(7);
    } else if (behaviour == L"sleeps") {
        // Held as long as this process lives, and seen by its name.
        HANDLE held = CreateMutexW(nullptr, TRUE, variable(handleVariable).c_str());
        Sleep(INFINITE);
        CloseHandle(held);
    }
    ExitProcess(98);
}

/// Before main, so that nothing of the tests has begun.
const bool isChild = [] {
    const std::wstring behaviour = variable(behaviourVariable);
    if (!behaviour.empty()) {
        behave(behaviour);
    }
    return false;
}();

/// This program as its own child, and the announcement of its end.
class Child {
public:
    explicit Child(const wchar_t* behaviour, const std::wstring& handle = {}) {
        SetEnvironmentVariableW(behaviourVariable, behaviour);
        SetEnvironmentVariableW(handleVariable, handle.c_str());
        auto started = ChildProcess::start({ownPath(), "with", "arguments"}, [this] { ended_.set_value(); });
        SetEnvironmentVariableW(behaviourVariable, nullptr);
        EXPECT_TRUE(started) << started.error().c_str();
        process_ = std::move(started).value();
    }

    ChildProcess* operator->() { return process_.get(); }
    void end() { process_.reset(); }
    bool hasEnded() { return ending_.wait_for(0s) == std::future_status::ready; }
    ExitStatus status() {
        EXPECT_EQ(ending_.wait_for(60s), std::future_status::ready);
        return process_->exitStatus().value;
    }

private:
    std::promise<void> ended_;
    std::future<void> ending_ = ended_.get_future();
    std::unique_ptr<ChildProcess> process_;
};

bool exists(const std::wstring& mutex) {
    const HANDLE found = OpenMutexW(SYNCHRONIZE, FALSE, mutex.c_str());
    if (found != nullptr) {
        CloseHandle(found);
    }
    return found != nullptr;
}

/// Waits until it is there, or is not.
bool becomes(bool there, const std::wstring& mutex) {
    for (const auto deadline = std::chrono::steady_clock::now() + 60s;
         std::chrono::steady_clock::now() < deadline; Sleep(1)) {
        if (exists(mutex) == there) {
            return true;
        }
    }
    return false;
}

} // namespace

TEST(ChildProcess, The_code_is_that_of_the_process_in_full) {
    Child child(L"ends with 0xC0000005");
    const ExitStatus status = child.status();
    EXPECT_FALSE(status.unknown);
    EXPECT_EQ(status.code, 0xC0000005U);
    EXPECT_TRUE(child->startError().isEmpty());
}

TEST(ChildProcess, A_program_that_is_not_there_or_none_is_told_with_the_systems_reason) {
    for (const char* path : {"C:\\nonexistent\\program.exe", "C:\\windows"}) {
        const auto started = ChildProcess::start({path}, [] { ADD_FAILURE() << "nothing to end"; });
        ASSERT_FALSE(started);
        EXPECT_TRUE(started.error().startsWith("CreateProcess failed with system error "))
            << started.error().c_str();
    }
}

TEST(ChildProcess, Killing_ends_it_at_once_and_again_does_nothing) {
    Child child(L"sleeps");
    EXPECT_FALSE(child->exitStatus().valid);
    EXPECT_FALSE(child.hasEnded());
    child->kill();
    EXPECT_TRUE(child.status().unknown);
    child->kill();
    EXPECT_TRUE(child->exitStatus().value.unknown);
}

TEST(ChildProcess, Killing_from_several_threads_races_the_end) {
    for (int round = 0; round < 6; ++round) {
        Child child(round % 2 == 0 ? L"floods" : L"sleeps");
        std::vector<std::thread> killers;
        for (int i = 0; i < 3; ++i) {
            killers.emplace_back([&child] {
                while (!child->exitStatus().valid) {
                    child->kill();
                }
            });
        }
        const ExitStatus status = child.status();
        EXPECT_TRUE(status.unknown || status.code == 6U);
        for (std::thread& killer : killers) {
            killer.join();
        }
    }
}

TEST(ChildProcess, Its_end_is_announced_once_and_never_after_its_destruction) {
    Child child(L"sleeps");
    child.end();
    EXPECT_TRUE(child.hasEnded());
}

TEST(ChildProcess, A_flood_on_its_streams_is_lost_and_blocks_nobody) {
    EXPECT_EQ(Child(L"floods").status().code, 6U);
}

TEST(ChildProcess, What_it_leaves_behind_goes_with_the_object) {
    const std::wstring name = L"TarvikTestGrandchild" + std::to_wstring(GetCurrentProcessId());
    Child child(L"leaves a grandchild", name);
    EXPECT_EQ(child.status().code, 7U);
    EXPECT_TRUE(becomes(true, name));
    child.end();
    EXPECT_TRUE(becomes(false, name));
}

TEST(ChildProcess, It_inherits_nothing_of_its_owner) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    const HANDLE event = CreateEventW(&inheritable, TRUE, FALSE, nullptr);
    ASSERT_NE(event, nullptr);
    Child child(L"sets the event", std::to_wstring(reinterpret_cast<std::uintptr_t>(event)));
    EXPECT_EQ(child.status().code, 5U);
    EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    CloseHandle(event);
}

} // namespace Tarvik
