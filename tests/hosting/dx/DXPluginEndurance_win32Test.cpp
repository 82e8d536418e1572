#include "hosting/TestProgram.h"
#include "hosting/dx/ComTest_win32.h"
#include "hosting/dx/DXPlugin.h"
#include "support/HandleCount_win32.h"

#include "directx/TestClasses.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <psapi.h>

#include <array>
#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

namespace Tarvik {
namespace {

/// A class of the library of test filters, registered with the system for as long as the object lives. Its
/// class identifier is this process's own.
class InstalledFilter : private noncopyable {
public:
    explicit InstalledFilter(const std::string& className)
        : id(TestFilters::classIdOf(className, GetCurrentProcessId())),
          item(String("%1@%2").arg(className.c_str()).arg(GetCurrentProcessId(), 16).toNativeWide()) {
        Install(true);
    }
    ~InstalledFilter() { Install(false); }

    String Text() const { return classIdText(id); }

private:
    void Install(bool install) const {
        const std::wstring path =
            String("%1\\plugins\\directx\\TestFilters.dll").arg(TestProgramDirectory()).toNativeWide();
        const HMODULE library = LoadLibraryW(path.c_str());
        ASSERT_NE(library, nullptr);
        using DllInstall = HRESULT(STDMETHODCALLTYPE*)(BOOL, LPCWSTR);
        const FARPROC found = GetProcAddress(library, "DllInstall");
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(reinterpret_cast<DllInstall>(reinterpret_cast<void*>(found))(install, item.c_str()), S_OK);
    }

    CLSID id;
    std::wstring item;
};

struct Usage {
    DWORD handles = 0;
    SIZE_T committedBytes = 0;
    SIZE_T workingSetBytes = 0;
};

Usage usageNow() {
    Usage usage;
    usage.handles = openHandles();
    PROCESS_MEMORY_COUNTERS memory{};
    EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory));
    usage.committedBytes = memory.PagefileUsage;
    usage.workingSetBytes = memory.WorkingSetSize;
    // A platform that does not tell would find no growth.
    EXPECT_GT(usage.committedBytes, 0U);
    EXPECT_GT(usage.workingSetBytes, 0U);
    return usage;
}

struct Growth {
    long long handles;
    long long committedBytes;
    long long workingSetBytes;
};

Growth growthOf(const Usage& before, const Usage& after) {
    const auto difference = [](auto from, auto to) {
        return static_cast<long long>(to) - static_cast<long long>(from);
    };
    return {
        difference(before.handles, after.handles), difference(before.committedBytes, after.committedBytes),
        difference(before.workingSetBytes, after.workingSetBytes)};
}

/// The whole life of a plug-in: loaded, heard, asked, shown, and gone.
void liveOnce(const InstalledFilter& filter, HWND window) {
    DXPlugin plugin(filter.Text(), 44100.0f, 1);
    ASSERT_TRUE(plugin.IsValid());
    std::array<float, 512> left{};
    std::array<float, 512> right{};
    std::array<float*, 2> channels = {left.data(), right.data()};
    plugin.Process(512, 2, channels.data());
    EXPECT_EQ(plugin.GetReportedDelay(), checked_value(512U));
    std::vector<std::uint8_t> state;
    plugin.GetState(1, state);
    EXPECT_EQ(state.size(), 8U);
    EXPECT_TRUE(plugin.SetState(1, 8, state.data()));
    EXPECT_TRUE(plugin.OpenEditor(window, 0, 0));
}

constexpr int lives = 1000;

/// The platform's own graph, with nothing in it. Wine's leaves a handle and the memory of a thread behind
/// each time, which no plug-in can do anything about.
void liveBare() {
    ComPointer<IFilterGraph> graph;
    EXPECT_EQ(createInstance(CLSID_FilterGraph, IID_IFilterGraph, graph), S_OK);
}

TEST(DXPluginEndurance, A_thousand_lives_leave_no_handle_and_no_memory_behind) {
    const ComApartment com;
    const InstalledFilter filter("GainWithPage");
    const HWND window = CreateWindowExW(
        0, L"STATIC", L"", WS_OVERLAPPEDWINDOW, 0, 0, 400, 300, nullptr, nullptr, nullptr, nullptr);

    // What the platform keeps for good, it has after these.
    for (int life = 0; life < 100; ++life) {
        liveOnce(filter, window);
    }
    const Usage first = usageNow();
    for (int life = 0; life < lives; ++life) {
        liveBare();
    }
    const Usage before = usageNow();
    for (int life = 0; life < lives; ++life) {
        liveOnce(filter, window);
    }
    const Usage after = usageNow();
    const Growth platforms = growthOf(first, before);
    const Growth growth = growthOf(before, after);
    std::cout << lives << " lives: handles +" << growth.handles << ", committed bytes +"
              << growth.committedBytes << ", working set +" << growth.workingSetBytes
              << "; as many empty graphs: handles +" << platforms.handles << ", committed bytes +"
              << platforms.committedBytes << ", working set +" << platforms.workingSetBytes << "\n";
    EXPECT_LE(growth.handles, platforms.handles);
    // Less than 128 bytes a life: heaps grow by pages, and not for every life.
    constexpr long long slack = lives * 128;
    EXPECT_LE(growth.committedBytes, platforms.committedBytes + slack);
    EXPECT_LE(growth.workingSetBytes, platforms.workingSetBytes + slack);
    DestroyWindow(window);
}

} // namespace
} // namespace Tarvik
