// The registry as the platform itself sees it: its own tool, reg.exe, beside our code.

#include "svbase/util/ConfigFile.h"

#include "support/ConfigSandbox.h"
#include "support/HandleCount_win32.h"
#include "svbase/TemporaryDirectory.h"

#include <bit>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <windows.h>

#include <sddl.h>

namespace {

using testing::HasSubstr;
using Util::ConfigFile;
using Bytes = std::vector<std::uint8_t>;

/// Runs reg.exe and gives what it printed, or says how it failed.
std::string reg(const std::string& arguments) {
    const TemporaryDirectory directory;
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    const std::wstring output = (directory.path() / "output").wstring();
    const HANDLE file =
        CreateFileW(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        throw std::runtime_error("no file for the tool's output");
    }
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = file;
    startup.hStdError = file;
    PROCESS_INFORMATION process = {};
    std::wstring command = String("reg.exe " + arguments).toNativeWide();
    const BOOL started = CreateProcessW(
        nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    DWORD code = 99;
    if (started != 0) {
        WaitForSingleObject(process.hProcess, 60'000);
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    CloseHandle(file);
    std::string printed = directory.bytes(u8"output");
    return code == 0 ? printed : "exit " + std::to_string(code) + ": " + printed;
}

class Win32ConfigFile : public testing::Test {
protected:
    std::string key() const { return "\"HKCU\\" + sandbox.base().replace("/", "\\").toStdString() + "\""; }
    /// The line of a value, its words set apart by single blanks.
    std::string query(const std::string& name) const {
        const std::string printed = reg("query " + key() + " /v " + name);
        for (const String& line : String(printed).replace('\r', '\n').split('\n')) {
            if (line.trimmed().startsWith(String(name))) {
                return line.simplified().toStdString();
            }
        }
        return printed;
    }
    void add(const std::string& name, const std::string& type, const std::string& data) const {
        const std::string printed =
            reg("add " + key() + " /v " + name + " /t " + type + " /d \"" + data + "\" /f");
        ASSERT_THAT(printed, testing::Not(HasSubstr("exit"))) << printed;
    }
    /// The sandbox's part of the registry as the tool writes it to a file, without the marks of UTF-16.
    std::string exported() const {
        const TemporaryDirectory directory;
        const std::string file = (directory / u8"export.reg").toStdString();
        EXPECT_EQ(reg("export " + key() + " \"" + file + "\" /y").find("exit"), std::string::npos);
        const std::string bytes = directory.bytes(u8"export.reg");
        std::u16string text;
        for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
            text.push_back(static_cast<char16_t>(
                static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8)));
        }
        return String::fromWide(text.data(), text.size()).toStdString();
    }

    ConfigSandbox sandbox;
    ConfigFile config{sandbox.base()};
};

TEST_F(Win32ConfigFile, The_platforms_tool_reads_what_was_written) {
    config.writeString("text", "plain text");
    config.writeFloat("float", 1.5f);
    config.writeBool("true", true);
    config.writeBool("false", false);
    config.writeInt("int", -2);
    config.writeUnsigned("unsigned", 0xABCDEF01U);
    config.writeUInt64("uint64", 0x0123456789ABCDEFU);
    config.writeBlob("blob", {0x00, 0x7F, 0xFF});
    EXPECT_EQ(query("text"), "text REG_SZ plain text");
    EXPECT_EQ(query("float"), "float REG_BINARY 0000C03F");
    EXPECT_EQ(query("true"), "true REG_DWORD 0x1");
    EXPECT_EQ(query("false"), "false REG_DWORD 0x0");
    EXPECT_EQ(query("int"), "int REG_DWORD 0xfffffffe");
    EXPECT_EQ(query("unsigned"), "unsigned REG_DWORD 0xabcdef01");
    // Wine's tool prints the type and "(null)". The number is looked at where it is exported.
    EXPECT_THAT(query("uint64"), testing::StartsWith("uint64 REG_QWORD"));
    EXPECT_EQ(query("blob"), "blob REG_BINARY 007FFF");
}

TEST_F(Win32ConfigFile, What_the_platforms_tool_wrote_is_read) {
    add("text", "REG_SZ", "plain text");
    add("float", "REG_BINARY", "0000C03F");
    add("flag", "REG_DWORD", "1");
    add("int", "REG_DWORD", "0xfffffffe");
    add("uint64", "REG_QWORD", "0x123456789abcdef");
    add("blob", "REG_BINARY", "007FFF");
    EXPECT_EQ(config.readString("text", "").toStdString(), "plain text");
    EXPECT_EQ(config.readFloat("float", 0.0f), 1.5f);
    EXPECT_TRUE(config.readBool("flag", false));
    EXPECT_EQ(config.readInt("int", 0), -2);
    EXPECT_EQ(config.readUnsigned("int", 0), 0xFFFFFFFEU);
    EXPECT_EQ(config.readUInt64("uint64", 0), 0x0123456789ABCDEFU);
    Bytes blob;
    EXPECT_TRUE(config.readBlob("blob", blob));
    EXPECT_EQ(blob, (Bytes{0x00, 0x7F, 0xFF}));
}

TEST_F(Win32ConfigFile, Types_that_are_written_by_the_tool_alone_read_as_the_default) {
    add("expand", "REG_EXPAND_SZ", "%TEMP%");
    add("multi", "REG_MULTI_SZ", "a\\0b");
    add("none", "REG_NONE", "41414141");
    for (const char* name : {"expand", "multi", "none"}) {
        EXPECT_EQ(config.readString(name, "default"), "default") << name;
        EXPECT_EQ(config.readInt(name, 5), 5) << name;
        EXPECT_EQ(config.readFloat(name, 5.0f), 5.0f) << name;
        Bytes blob;
        EXPECT_FALSE(config.readBlob(name, blob)) << name;
        ConfigFile copies(config.path() + "/copies");
        copies.copyValue(name, config);
        EXPECT_EQ(sandbox.stored("copies", name), sandbox.stored("", name)) << name;
    }
}

TEST_F(Win32ConfigFile, The_tool_exports_keys_with_slashes_and_other_letters) {
    config.writeInt("a\\/b/c\\/d", 1);
    config.writeString("text", "\xC3\xA9\xE2\x82\xAC");
    config.writeUInt64("uint64", 0x0102030405060708U);
    const std::string text = exported();
    const std::string path = "[HKEY_CURRENT_USER\\" + sandbox.base().replace("/", "\\").toStdString();
    EXPECT_THAT(text, HasSubstr(path + "]\r\n"));
    EXPECT_THAT(text, HasSubstr(path + "\\a/b]\r\n\"c/d\"=dword:00000001\r\n"));
    EXPECT_THAT(text, HasSubstr("\"text\"=\"\xC3\xA9\xE2\x82\xAC\"\r\n"));
    EXPECT_THAT(text, HasSubstr("\"uint64\"=hex(b):08,07,06,05,04,03,02,01\r\n"));
}

TEST_F(Win32ConfigFile, Written_texts_have_their_terminator_and_nothing_more) {
    config.writeString("text", "ab");
    DWORD type = 0;
    DWORD size = 0;
    const std::wstring subkey = sandbox.base().replace("/", "\\").toNativeWide();
    ASSERT_EQ(RegGetValueW(HKEY_CURRENT_USER, subkey.c_str(), L"text", RRF_RT_ANY, &type, nullptr, &size), 0);
    EXPECT_EQ(type, DWORD{REG_SZ});
    EXPECT_EQ(size, 6U);
}

TEST_F(Win32ConfigFile, The_default_hive_is_the_current_users_and_others_are_reached_by_name) {
    const std::string name = "Tarvik test " + std::to_string(std::random_device()());
    const std::wstring subkey = String("Filter\\" + name).toNativeWide();
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CLASSES_ROOT, subkey.c_str(), &key), 0);
    ASSERT_EQ(RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(L"Gain"), 10), 0);
    RegCloseKey(key);
    const String path = String("Filter/%1").arg(String(name));
    EXPECT_EQ(ConfigFile(path, ConfigFile::Hive::ClassesRoot).readString("", "default"), "Gain");
    EXPECT_EQ(ConfigFile(path).readString("", "default"), "default");
    RegDeleteKeyW(HKEY_CLASSES_ROOT, subkey.c_str());
    EXPECT_EQ(ConfigFile(path, ConfigFile::Hive::ClassesRoot).readString("", "default"), "default");
}

TEST_F(Win32ConfigFile, No_operation_leaves_a_handle_open) {
    const auto all = [&] {
        config.writeInt("a/b", 1);
        config.writeBlob("a/c", {1, 2, 3});
        config.readInt("a/b", 0);
        config.readString("a/b", "");
        config.readString("missing/b", "");
        Bytes blob;
        config.readBlob("a/c", blob);
        config.copyValue("a/c", config);
        std::vector<String> names;
        config.subkeys(names, "");
        config.valueNames(names, "a");
        config.removeValue("a/missing");
        config.removeValue("a/b");
        config.removeKey("missing/x");
        config.removeKey("a");
        config.writeInt(String(std::string(300, 'n')) + "/x", 1);
    };
    all();
    const DWORD before = openHandles();
    {
        HKEY left = nullptr;
        ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"SOFTWARE", 0, KEY_READ, &left), ERROR_SUCCESS);
        EXPECT_EQ(openHandles(), before + 1) << "one that is left open would show";
        RegCloseKey(left);
    }
    for (int i = 0; i < 20; ++i) {
        all();
    }
    EXPECT_EQ(openHandles(), before);
}

/// Everybody's rights to a sub-key while the object lives. Its owner, as everywhere, may always look at the
/// list of them and change it.
class Allowed {
public:
    Allowed(const std::wstring& path, REGSAM rights) {
        if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, READ_CONTROL | WRITE_DAC, &key_) !=
            ERROR_SUCCESS) {
            throw std::runtime_error("no key to restrict");
        }
        set(rights);
    }
    ~Allowed() {
        set(KEY_ALL_ACCESS);
        RegCloseKey(key_);
    }
    Allowed(const Allowed&) = delete;
    Allowed& operator=(const Allowed&) = delete;

private:
    void set(REGSAM rights) const {
        const std::wstring text = String("D:P(A;;0x%1;;;WD)").arg(rights, 16).toNativeWide();
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        EXPECT_NE(
            ConvertStringSecurityDescriptorToSecurityDescriptorW(
                text.c_str(), SDDL_REVISION_1, &descriptor, nullptr),
            0);
        EXPECT_EQ(RegSetKeySecurity(key_, DACL_SECURITY_INFORMATION, descriptor), ERROR_SUCCESS);
        LocalFree(descriptor);
    }

    HKEY key_ = nullptr;
};

TEST_F(Win32ConfigFile, Reading_asks_for_the_right_to_read_and_no_other) {
    constexpr REGSAM read = 0x20019;
    config.writeInt("one", 1);
    const std::wstring subkey = sandbox.base().replace("/", "\\").toNativeWide();
    const auto readWith = [&](REGSAM rights) {
        const Allowed allowed(subkey, rights);
        std::vector<String> names;
        config.valueNames(names, "");
        const std::int32_t value = config.readInt("one", 5);
        EXPECT_EQ(names.empty(), value == 5);
        return value;
    };
    EXPECT_EQ(readWith(read), 1);
    for (const REGSAM missing : {KEY_QUERY_VALUE, KEY_ENUMERATE_SUB_KEYS, KEY_NOTIFY}) {
        EXPECT_EQ(readWith(read & ~missing), 5) << missing;
    }
}

TEST_F(Win32ConfigFile, Writing_and_removing_ask_for_the_right_to_write_and_no_other) {
    constexpr REGSAM write = 0x20006;
    config.writeInt("one", 1);
    const std::wstring subkey = sandbox.base().replace("/", "\\").toNativeWide();
    const auto changeWith = [&](REGSAM rights) {
        config.writeInt("value", 1);
        config.writeInt("subkey/value", 1);
        config.writeInt("one", 1);
        {
            const Allowed allowed(subkey, rights);
            config.writeInt("one", 2);
            config.removeValue("value");
            config.removeKey("subkey");
        }
        return std::vector{
            config.readInt("one", 0) == 2, config.readInt("value", 0) == 0, !sandbox.hasSubkey("subkey")};
    };
    EXPECT_EQ(changeWith(write), std::vector(3, true));
    for (const REGSAM missing : {KEY_SET_VALUE, KEY_CREATE_SUB_KEY}) {
        EXPECT_EQ(changeWith(write & ~missing), std::vector(3, false)) << missing;
    }
}

TEST_F(Win32ConfigFile, A_name_without_UTF8_form_is_left_out_of_lists) {
    const std::wstring subkey = sandbox.base().replace("/", "\\").toNativeWide();
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, subkey.c_str(), &key), 0);
    const wchar_t lone[] = {0xD800, L'x', 0};
    ASSERT_EQ(RegSetValueExW(key, lone, 0, REG_SZ, reinterpret_cast<const BYTE*>(L""), 2), 0);
    RegCloseKey(key);
    config.writeInt("other", 1);
    std::vector<String> names;
    config.valueNames(names, "");
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(names[0], "other");
}

} // namespace
