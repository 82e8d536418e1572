#include "audio/decode/REXLibrary_win32.h"

#include "audio/REXLoop.h"
#include "audio/decode/OpenStream.h"
#include "audio/decode/REXDecoder.h"
#include "svbase/PatchedImport_win32.h"
#include "svbase/TemporaryDirectory.h"
#include "svbase/util/Module.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <windows.h>

extern "C" {
extern decltype(&GetVersionExA) __imp_GetVersionExA;
extern decltype(&LoadLibraryW) __imp_LoadLibraryW;
}

namespace {

using namespace Audio::Decode;
using SoundFile::badFormat;
using SoundFile::told;

const std::u8string beta = u8"REX Shared Library Beta.dll";
const std::u8string released = u8"REX Shared Library.dll";

std::string libraryBytes(const std::string& name) {
    std::ifstream in(std::string(TARVIK_REX_LIBRARIES) + "/" + name + ".dll", std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// The stand-in with another version in its resource.
std::string withVersion(unsigned major, unsigned minor, unsigned build) {
    std::string bytes = libraryBytes("stand_in");
    const std::string fixedInfo = SoundFile::little(0xFEEF04BD, 4) + SoundFile::little(0x10000, 4);
    const std::size_t at = bytes.find(fixedInfo);
    if (at == std::string::npos || bytes.find(fixedInfo, at + 1) != std::string::npos) {
        ADD_FAILURE() << "no place for the version";
        return {};
    }
    return bytes.replace(
        at + 8, 8, SoundFile::little(major << 16U | minor, 4) + SoundFile::little(build << 16U | 9, 4));
}

/// A folder in which the system looks for libraries, beside those where it always does.
class REXLibraryWin32 : public testing::Test {
protected:
    REXLibraryWin32() {
        SetDllDirectoryW(directory.path().c_str());
        SetEnvironmentVariableW(L"TARVIK_REX_LOG", (directory.path() / "log").c_str());
    }
    ~REXLibraryWin32() override {
        SetDllDirectoryW(nullptr);
        SetEnvironmentVariableW(L"TARVIK_REX_LOG", nullptr);
    }

    /// Loads and lets go; what loading gave.
    std::int32_t load() {
        REX::Library library(&REX::LoadVendorLibrary);
        return library.Load();
    }
    /// The log since the last time of asking.
    std::string takeLog() {
        const std::string all = directory.bytes(u8"log");
        const std::string taken = all.substr(logged);
        logged = all.size();
        return taken;
    }

    TemporaryDirectory directory;
    std::size_t logged = 0;
};

TEST_F(REXLibraryWin32, Absence_is_103) {
    EXPECT_EQ(load(), 103);
    REX::Decoder decoder(
        directory.file(u8"a.rx2", REXLoop(1, {{0, 10}}).bytes()),
        std::make_shared<REX::Library>(&REX::LoadVendorLibrary));
    EXPECT_EQ(
        told(decoder.sync()), badFormat("Can't create REX handle: the REX library was not found (103)"));
}

TEST_F(REXLibraryWin32, Is_loaded_by_its_name_opened_closed_and_let_go_in_this_order) {
    directory.file(released, libraryBytes("stand_in"));
    {
        REX::Library library(&REX::LoadVendorLibrary);
        EXPECT_EQ(library.Load(), 1);
        EXPECT_NE(GetModuleHandleW(L"REX Shared Library.dll"), nullptr);
        const std::string log = takeLog();
        EXPECT_EQ(log.substr(0, 30), "attach REX Shared Library.dll ");
        EXPECT_EQ(log.substr(log.size() - 6), "\nOpen\n");
    }
    EXPECT_EQ(takeLog(), "Close\ndetach\n");
    EXPECT_EQ(GetModuleHandleW(L"REX Shared Library.dll"), nullptr);
}

TEST_F(REXLibraryWin32, The_beta_comes_before_the_other) {
    directory.file(beta, libraryBytes("stand_in"));
    EXPECT_EQ(load(), 1);
    EXPECT_EQ(takeLog().substr(0, 35), "attach REX Shared Library Beta.dll ");
    directory.file(released, libraryBytes("stand_in"));
    EXPECT_EQ(load(), 1);
    const std::string log = takeLog();
    EXPECT_EQ(log.substr(0, 35), "attach REX Shared Library Beta.dll ");
    EXPECT_EQ(log.find("REX Shared Library.dll"), std::string::npos);
}

TEST_F(REXLibraryWin32, A_beta_that_loads_is_the_one_also_where_its_version_is_wrong) {
    directory.file(beta, withVersion(2, 0, 0));
    directory.file(released, libraryBytes("stand_in"));
    EXPECT_EQ(load(), 104);
}

TEST_F(REXLibraryWin32, A_beta_that_does_not_load_leaves_the_other) {
    directory.file(beta, "no library");
    EXPECT_EQ(load(), 101) << "that the other is not there is not what stops it";
    directory.file(released, libraryBytes("stand_in"));
    EXPECT_EQ(load(), 1);
}

TEST_F(REXLibraryWin32, Error_dialogs_are_off_while_it_loads_and_on_this_thread_alone) {
    directory.file(released, libraryBytes("stand_in"));
    DWORD before = 0;
    ASSERT_NE(SetThreadErrorMode(SEM_NOGPFAULTERRORBOX, &before), FALSE);
    const UINT process = GetErrorMode();
    EXPECT_EQ(load(), 1);
    constexpr unsigned quiet = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;
    EXPECT_EQ(
        takeLog(), "attach REX Shared Library.dll " + std::to_string(quiet) + "\nOpen\nClose\ndetach\n");
    EXPECT_EQ(GetThreadErrorMode(), DWORD{SEM_NOGPFAULTERRORBOX});
    EXPECT_EQ(GetErrorMode(), process);
    SetThreadErrorMode(before, nullptr);
}

TEST_F(REXLibraryWin32, A_file_that_is_no_library_is_101) {
    for (const std::string& bytes :
         {std::string(), std::string("no library"), libraryBytes("stand_in").substr(0, 100)}) {
        directory.file(released, bytes);
        EXPECT_EQ(load(), 101) << bytes.size();
    }
    EXPECT_EQ(takeLog(), "");
}

/// What loading any library fails with.
DWORD loadError = 0;
std::string namesTried;

HMODULE WINAPI failToLoad(LPCWSTR name) {
    for (; *name != 0; ++name) {
        namesTried += static_cast<char>(*name);
    }
    namesTried += ';';
    SetLastError(loadError);
    return nullptr;
}

TEST_F(REXLibraryWin32, Errors_of_the_system_become_load_codes_and_both_names_are_tried_in_order) {
    const PatchedImport patch(__imp_LoadLibraryW, &failToLoad);
    struct Case {
        DWORD error;
        std::int32_t code;
    };
    for (const Case& c : std::initializer_list<Case>{
             {4, 100},
             {8, 100},
             {14, 100},
             {126, 103},
             {193, 101},
             {5, 101},
             {2, 101},
             {1114, 101},
             {0, 101},
             {36, 101},
             {40, 101},
             {46, 101}}) {
        loadError = c.error;
        namesTried.clear();
        EXPECT_EQ(load(), c.code) << c.error;
        EXPECT_EQ(namesTried, "REX Shared Library Beta.dll;REX Shared Library.dll;");
    }
}

TEST_F(REXLibraryWin32, The_version_of_the_file_decides) {
    struct Case {
        unsigned major;
        unsigned minor;
        unsigned build;
        std::int32_t code;
    };
    for (const Case& c : std::initializer_list<Case>{
             {1, 7, 2, 1},
             {1, 1, 1, 1},
             {1, 1, 0, 102},
             {1, 0, 1000, 102},
             {1, 0, 1001, 1},
             {1, 65535, 65535, 1},
             {0, 0, 0, 102},
             {0, 65535, 65535, 102},
             {2, 0, 0, 104},
             {65535, 65535, 65535, 104}}) {
        EXPECT_EQ(REX::CheckVersion(c.major, c.minor, c.build), c.code);
        directory.file(released, withVersion(c.major, c.minor, c.build));
        EXPECT_EQ(load(), c.code) << c.major << "." << c.minor << "." << c.build;
        const std::string log = takeLog();
        EXPECT_EQ(log.find("Open") != std::string::npos, c.code == 1) << log;
        EXPECT_EQ(log.substr(log.size() - 7), "detach\n") << "what is refused is let go";
    }
}

TEST_F(REXLibraryWin32, A_file_without_a_version_is_101) {
    std::string spoilt = libraryBytes("stand_in");
    const std::size_t signature = spoilt.find(SoundFile::little(0xFEEF04BD, 4));
    ASSERT_NE(signature, std::string::npos);
    spoilt[signature] = '~';
    for (const std::string& bytes : {libraryBytes("without_version"), spoilt}) {
        directory.file(released, bytes);
        EXPECT_EQ(load(), 101);
        const std::string log = takeLog();
        EXPECT_EQ(log.substr(0, 7), "attach ");
        EXPECT_EQ(log.find("Open"), std::string::npos);
    }
}

TEST_F(REXLibraryWin32, A_library_that_lacks_an_entry_point_is_101) {
    const std::string whole = libraryBytes("stand_in");
    const char* const names[] = {
        "Open",
        "Close",
        "REXCreate",
        "REXDelete",
        "REXGetInfo",
        "REXGetInfoFromBuffer",
        "REXGetCreatorInfo",
        "REXGetSliceInfo",
        "REXSetOutputSampleRate",
        "REXRenderSlice",
        "REXStartPreview",
        "REXStopPreview",
        "REXRenderPreviewBatch",
        "REXSetPreviewTempo"};
    ASSERT_TRUE(std::equal(
        std::begin(names), std::end(names), REX::functionNames.begin(), REX::functionNames.end(),
        [](const std::string& a, const std::string& b) { return a == b; }));
    for (const std::string name : names) {
        // In the table of exports, which stands behind the library's file name; the same letters with a
        // wrong last one.
        std::string bytes = whole;
        const std::size_t table = bytes.rfind("stand_in.dll");
        ASSERT_NE(table, std::string::npos);
        const std::size_t at = bytes.find('\0' + name + '\0', table);
        ASSERT_NE(at, std::string::npos) << name;
        bytes[at + name.size()] = '~';
        directory.file(released, bytes);
        EXPECT_EQ(load(), 101) << name;
        EXPECT_EQ(takeLog().find("Open"), std::string::npos);
    }
    directory.file(released, whole);
    EXPECT_EQ(load(), 1);
}

OSVERSIONINFOA toldVersion;
BOOL toldResult = TRUE;

BOOL WINAPI tellVersion(LPOSVERSIONINFOA version) {
    *version = toldVersion;
    return toldResult;
}

TEST_F(REXLibraryWin32, An_operating_system_below_the_minimum_is_109) {
    directory.file(released, libraryBytes("stand_in"));
    const PatchedImport patch(__imp_GetVersionExA, &tellVersion);
    struct Case {
        DWORD platform;
        DWORD major;
        DWORD minor;
        bool supported;
    };
    for (const Case& c : std::initializer_list<Case>{
             {VER_PLATFORM_WIN32_NT, 3, 51, false},
             {VER_PLATFORM_WIN32_NT, 4, 0, true},
             {VER_PLATFORM_WIN32_NT, 10, 0, true},
             {VER_PLATFORM_WIN32_WINDOWS, 3, 95, false},
             {VER_PLATFORM_WIN32_WINDOWS, 4, 0, false},
             {VER_PLATFORM_WIN32_WINDOWS, 4, 9, false},
             {VER_PLATFORM_WIN32_WINDOWS, 4, 10, true},
             {VER_PLATFORM_WIN32_WINDOWS, 4, 90, true},
             {VER_PLATFORM_WIN32_WINDOWS, 5, 0, true},
             {VER_PLATFORM_WIN32s, 9, 99, false},
             {3, 9, 99, false}}) {
        EXPECT_EQ(REX::IsSystemSupported(c.platform, c.major, c.minor), c.supported);
        toldVersion.dwPlatformId = c.platform;
        toldVersion.dwMajorVersion = c.major;
        toldVersion.dwMinorVersion = c.minor;
        EXPECT_EQ(load(), c.supported ? 1 : 109) << c.platform << " " << c.major << "." << c.minor;
    }
    takeLog();
    toldResult = FALSE;
    EXPECT_EQ(load(), 109);
    EXPECT_EQ(takeLog(), "") << "nothing is loaded then";
    toldResult = TRUE;
}

TEST_F(REXLibraryWin32, Loops_are_read_through_a_loaded_library) {
    directory.file(released, libraryBytes("stand_in"));
    const auto library = std::make_shared<REX::Library>(&REX::LoadVendorLibrary);
    for (const int channels : {1, 2}) {
        const String path = directory.file(u8"a.rx2", REXLoop(channels, {{0, 300, 1}, {64, 250, 2}}).bytes());
        REX::Decoder decoder(path, library);
        ASSERT_EQ(told(decoder.sync()), "success");
        EXPECT_EQ(decoder.format(), (Format{static_cast<std::uint32_t>(channels), 4, 44100, 1, 0}));
        ASSERT_EQ(decoder.totalFrames(), 341U);
        const auto width = static_cast<std::size_t>(channels);
        std::vector<float> got(341 * width);
        std::uint64_t framesRead = 0;
        ASSERT_EQ(told(decoder.ReadFloatInterleaved(341, got.data(), framesRead)), "success");
        for (std::size_t i = 0; i < got.size(); ++i) {
            const std::size_t frame = i / width;
            const float first = frame < 300 ? StandIn::sample(1, i % width, frame) : 0.0F;
            const float second = frame >= 91 ? StandIn::sample(2, i % width, frame - 91) : 0.0F;
            ASSERT_EQ(got[i], first + second) << i;
        }
    }
}

TEST_F(REXLibraryWin32, Failures_of_a_loaded_library_are_told) {
    directory.file(released, libraryBytes("stand_in"));
    const auto library = std::make_shared<REX::Library>(&REX::LoadVendorLibrary);
    const auto syncing = [&](const REXLoop::Order& order) {
        REXLoop loop(2, {{0, 100}, {64, 100}});
        REX::Decoder decoder(directory.file(u8"a.rx2", loop.failing(order).bytes()), library);
        return told(decoder.sync());
    };
    EXPECT_EQ(
        syncing({StandIn::CallCreate, 0, 106}),
        badFormat("Can't create REX handle: the file is damaged (106)"));
    EXPECT_EQ(syncing({StandIn::CallGetInfo, 0, 105}), badFormat("Can't get file info: out of memory (105)"));
    EXPECT_EQ(
        syncing({StandIn::CallGetSliceInfo, 1, 205}),
        badFormat("Can't get slice 1 info: invalid slice (205)"));
    EXPECT_EQ(
        syncing({StandIn::CallGetSliceInfo, 1, 205, 2}),
        badFormat("Can't get info for slice 1: invalid slice (205)"));
    EXPECT_EQ(
        syncing({StandIn::CallRenderSlice, 0, 207}),
        badFormat("Can't render slice 0: the buffer is too small (207)"));
}

TEST_F(REXLibraryWin32, Decoders_of_the_process_share_one_library_which_they_do_not_load_yet) {
    const auto library = REX::ProcessLibrary();
    EXPECT_EQ(library, REX::ProcessLibrary());
    const auto decoder = createDecoder(directory / u8"a.rx2", FileTypeREX);
    ASSERT_NE(decoder, nullptr);
    EXPECT_EQ(decoder->fileType(), 7U);
    EXPECT_GT(library.use_count(), 2);
    EXPECT_FALSE(library->IsLoaded());
}

} // namespace
