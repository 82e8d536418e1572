#include "hosting/FakeEffect.h"
#include "hosting/TestProgram.h"
#include "hosting/vst/VSTLibrary.h"
#include "svbase/util/Module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Tarvik::MachineType;
using Tarvik::VSTLibrary;
using Tarvik::VSTPlugin;
using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::vector<std::uint8_t>;

Bytes readAll(const String& path) {
    std::ifstream file(ToFilePath(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t headerOf(const Bytes& library) {
    return library[0x3C] | static_cast<std::size_t>(library[0x3D]) << 8;
}

std::wstring loadPath(const String& path) {
    return VSTLibrary::LoadPath(path).toNativeWide();
}

TEST(VSTLibrary, Machines_are_read_from_libraries_that_do_not_load) {
    const TestDirectory directory;
    Bytes library = readAll(EffectLibraryPath("no_entry.dll"));
    const std::size_t machineAt = headerOf(library) + 4;
    library[machineAt] = 0x4C;
    library[machineAt + 1] = 0x01;
    const String path = directory.Write("X86.dll", library);
    EXPECT_THAT(VSTLibrary::ReadMachineTypes(path), ElementsAre(MachineType::X86));
    const VSTPlugin plugin(path, 48000.0f, 1, true, {}, "", "");
    EXPECT_FALSE(plugin.IsValid());
    EXPECT_FALSE(plugin.IsArchitectureSupported());
    EXPECT_FALSE(plugin.HasEditor().known);
    library[machineAt] = 0x00;
    library[machineAt + 1] = 0x02;
    EXPECT_THAT(
        VSTLibrary::ReadMachineTypes(directory.Write("IA64.dll", library)), ElementsAre(MachineType::IA64));
}

TEST(VSTLibrary, A_library_cut_off_in_its_headers_is_survived) {
    const TestDirectory directory;
    const Bytes library = readAll(EffectLibraryPath("no_entry.dll"));
    const std::size_t header = headerOf(library);
    for (const std::size_t size : {std::size_t{2}, std::size_t{0x40}, header, header + 4, header + 23}) {
        const Bytes cut(library.begin(), library.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_THAT(VSTLibrary::ReadMachineTypes(directory.Write("Cut.dll", cut)), IsEmpty()) << size;
    }
}

TEST(VSTLibrary, A_header_offset_that_leads_out_of_the_file_is_not_followed) {
    const TestDirectory directory;
    Bytes library = readAll(EffectLibraryPath("no_entry.dll"));
    for (const std::uint8_t high : Bytes{0x00, 0x10, 0x7F, 0xFF}) {
        library[0x3C] = 0xF0;
        library[0x3D] = 0xFF;
        library[0x3E] = 0xFF;
        library[0x3F] = high;
        EXPECT_THAT(VSTLibrary::ReadMachineTypes(directory.Write("Astray.dll", library)), IsEmpty())
            << int{high};
    }
}

TEST(VSTLibrary, A_name_outside_the_ANSI_code_page_is_read_too) {
    const TestDirectory directory;
    const String path =
        directory.Copy(EffectLibraryPath("no_entry.dll"), "\xE6\x97\xA5\xE6\x9C\xAC \xC3\xA4.dll");
    EXPECT_THAT(VSTLibrary::ReadMachineTypes(path), ElementsAre(MachineType::X86_64));
}

/// Makes a directory the process's current one for a while.
class CurrentDirectory : private noncopyable {
public:
    explicit CurrentDirectory(const std::filesystem::path& path) : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~CurrentDirectory() { std::filesystem::current_path(before_); }

private:
    std::filesystem::path before_;
};

TEST(VSTLibrary, A_file_of_the_same_name_in_the_current_directory_is_another) {
    const TestDirectory here;
    const TestDirectory there;
    Bytes library = readAll(EffectLibraryPath("no_entry.dll"));
    const String whole = there.Write("Same.dll", library);
    library[headerOf(library) + 4] = 0x4C;
    library[headerOf(library) + 5] = 0x01;
    const String other = here.Write("Same.dll", library);
    const CurrentDirectory inside(ToFilePath(other).parent_path());
    EXPECT_THAT(VSTLibrary::ReadMachineTypes(whole), ElementsAre(MachineType::X86_64));
    EXPECT_THAT(VSTLibrary::ReadMachineTypes(other), ElementsAre(MachineType::X86));
}

TEST(VSTLibrary, While_a_library_loads_the_system_shows_no_dialog) {
    const UINT before = SetErrorMode(SEM_NOGPFAULTERRORBOX);
    Util::Module library(EffectLibraryPath("error_mode.dll"));
    ASSERT_TRUE(VSTLibrary::LoadQuietly(library));
    SetErrorMode(before);
    const auto seen = library.function<unsigned (*)()>("ErrorModeWhileLoading");
    ASSERT_NE(seen, nullptr);
    EXPECT_EQ(seen(), static_cast<UINT>(SEM_FAILCRITICALERRORS));
}

TEST(VSTLibrary, Loading_leaves_the_error_mode_as_it_was) {
    const UINT before = SetErrorMode(SEM_NOGPFAULTERRORBOX);
    Util::Module present(EffectLibraryPath("no_entry.dll"));
    Util::Module absent(EffectLibraryPath("absent.dll"));
    EXPECT_TRUE(VSTLibrary::LoadQuietly(present));
    EXPECT_FALSE(VSTLibrary::LoadQuietly(absent));
    EXPECT_EQ(SetErrorMode(before), static_cast<UINT>(SEM_NOGPFAULTERRORBOX));
}

TEST(VSTLibrary, A_path_is_loaded_by_its_plain_form_unless_it_is_too_long) {
    EXPECT_EQ(VSTLibrary::LoadPath("C:/Effects/A.dll").toStdString(), "C:\\Effects\\A.dll");
    EXPECT_EQ(VSTLibrary::LoadPath("\\\\?\\C:\\Effects\\A.dll").toStdString(), "C:\\Effects\\A.dll");
    const std::string longName(300, 'n');
    EXPECT_EQ(
        VSTLibrary::LoadPath(("C:/" + longName + ".dll").c_str()).toStdString(),
        "\\\\?\\C:\\" + longName + ".dll");
}

TEST(VSTLibrary, A_library_in_a_path_of_300_characters_loads) {
    const TestDirectory root;
    String directory = root.Path("a");
    CreateDirectoryW(loadPath(directory).c_str(), nullptr);
    while (directory.length() < 300) {
        directory = String("%1/%2").arg(directory).arg("a folder with a rather long name, one of several");
        CreateDirectoryW(loadPath(directory).c_str(), nullptr);
    }
    const String path = String("%1/%2").arg(directory).arg("Core.dll");
    ASSERT_TRUE(CopyFileW(loadPath(EffectLibraryPath("core.dll")).c_str(), loadPath(path).c_str(), TRUE));
    EXPECT_THAT(VSTLibrary::ReadMachineTypes(path), ElementsAre(MachineType::X86_64));
    const VSTPlugin plugin(path, 48000.0f, 1, true, {}, "", "");
    EXPECT_TRUE(plugin.IsCoreLibrary());
    EXPECT_EQ(plugin.GetIdentifier().vstPath.toStdString(), path.toStdString());
}

TEST(VSTLibrary, A_loaded_effect_library_stays_when_its_plugin_goes) {
    const TestDirectory directory;
    const String path = directory.Copy(EffectLibraryPath("core.dll"), "Stays.dll");
    {
        const VSTPlugin plugin(path, 48000.0f, 1, true, {}, "", "");
    }
    EXPECT_NE(GetModuleHandleW(L"Stays.dll"), nullptr);
}

} // namespace
