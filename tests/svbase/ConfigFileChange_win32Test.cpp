// A value that another program changes while it is read.

#include "svbase/util/ConfigFile.h"

#include "support/ConfigSandbox.h"
#include "support/ImportTable_win32.h"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include <windows.h>

namespace {

using Util::ConfigFile;
using Util::ConfigValue;
using Bytes = std::vector<std::uint8_t>;

/// Between the moments in which our code asks for the size of a value and for the value: something happens
/// there once.
class AfterTheSize {
public:
    explicit AfterTheSize(std::function<void()> happening) { next() = std::move(happening); }
    ~AfterTheSize() { EXPECT_FALSE(next()) << "nobody asked for a size"; }
    AfterTheSize(const AfterTheSize&) = delete;
    AfterTheSize& operator=(const AfterTheSize&) = delete;

private:
    static std::function<void()>& next() {
        static std::function<void()> happening;
        return happening;
    }

    static LSTATUS WINAPI
    query(HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size) {
        // Not through the program's table, which leads here.
        static const FARPROC real = GetProcAddress(GetModuleHandleW(L"advapi32.dll"), "RegQueryValueExW");
        const LSTATUS status = reinterpret_cast<decltype(&query)>(reinterpret_cast<void*>(real))(
            key, name, reserved, type, data, size);
        if (data == nullptr) {
            if (const auto now = std::exchange(next(), nullptr)) {
                now();
            }
        }
        return status;
    }

    ReplacedImport replaced{"RegQueryValueExW", reinterpret_cast<void*>(&query)};
};

struct Change {
    const char* name;
    std::function<void()> happening;
};

class ConfigFileChange : public testing::Test {
protected:
    /// Everything but the same size and type.
    std::vector<Change> ChangesOf(const std::string& name, const ConfigValue& value) {
        ConfigValue longer = value;
        longer.data.resize(value.data.size() + 4000, 0x41);
        ConfigValue longerByOne = value;
        longerByOne.data.push_back(0x41);
        ConfigValue shorter = value;
        shorter.data.pop_back();
        const ConfigValue empty{value.type, {}};
        const ConfigValue other{
            value.type == ConfigValue::Binary ? std::uint32_t{ConfigValue::DWord} : ConfigValue::Binary,
            value.data};
        const auto becomes = [this, name](const ConfigValue& next) {
            return [this, name, next] { sandbox.plant("source", name, next); };
        };
        return {
            {"gone", [this, name] { config.removeValue(String(name)); }},
            {"sub-key gone", [this] { ConfigFile(sandbox.base()).removeKey("source"); }},
            {"longer", becomes(longer)},
            {"longer by a byte", becomes(longerByOne)},
            {"shorter", becomes(shorter)},
            {"empty", becomes(empty)},
            {"of another type", becomes(other)}};
    }

    ConfigSandbox sandbox;
    ConfigFile config{sandbox.base() + "/source"};
};

TEST_F(ConfigFileChange, A_value_that_goes_or_changes_its_form_after_its_size_reads_as_the_default) {
    const ConfigValue text{ConfigValue::Text, {'a', 0, 'b', 0, 0, 0}};
    for (const Change& change : ChangesOf("text", text)) {
        SCOPED_TRACE(change.name);
        sandbox.plant("source", "text", text);
        ASSERT_EQ(config.readString("text", "default"), "ab");
        const AfterTheSize now(change.happening);
        EXPECT_EQ(config.readString("text", "default"), "default");
    }
    const ConfigValue number{ConfigValue::DWord, {1, 0, 0, 0}};
    for (const Change& change : ChangesOf("number", number)) {
        SCOPED_TRACE(change.name);
        sandbox.plant("source", "number", number);
        ASSERT_EQ(config.readInt("number", 5), 1);
        const AfterTheSize now(change.happening);
        EXPECT_EQ(config.readInt("number", 5), 5);
    }
    const ConfigValue blob{ConfigValue::Binary, {1, 2, 3}};
    for (const Change& change : ChangesOf("blob", blob)) {
        SCOPED_TRACE(change.name);
        sandbox.plant("source", "blob", blob);
        Bytes bytes;
        ASSERT_TRUE(config.readBlob("blob", bytes));
        const AfterTheSize now(change.happening);
        EXPECT_FALSE(config.readBlob("blob", bytes));
        EXPECT_EQ(bytes, Bytes());
    }
}

TEST_F(ConfigFileChange, A_value_that_goes_or_changes_its_form_after_its_size_is_not_copied) {
    ConfigFile copies(sandbox.base() + "/copies");
    const ConfigValue blob{ConfigValue::Binary, {1, 2, 3}};
    for (const Change& change : ChangesOf("blob", blob)) {
        SCOPED_TRACE(change.name);
        sandbox.plant("source", "blob", blob);
        copies.writeBlob("blob", {7});
        const AfterTheSize now(change.happening);
        copies.copyValue("blob", config);
        Bytes bytes;
        EXPECT_TRUE(copies.readBlob("blob", bytes));
        EXPECT_EQ(bytes, Bytes{7}) << "what was there before stays";
    }
}

TEST_F(ConfigFileChange, Other_bytes_of_the_same_form_are_the_value) {
    sandbox.plant("source", "number", {ConfigValue::DWord, {1, 0, 0, 0}});
    const AfterTheSize now([&] { sandbox.plant("source", "number", {ConfigValue::DWord, {2, 0, 0, 0}}); });
    EXPECT_EQ(config.readInt("number", 5), 2);
}

TEST_F(ConfigFileChange, The_next_read_has_what_stands_there_then) {
    sandbox.plant("source", "blob", {ConfigValue::Binary, {1, 2, 3}});
    Bytes bytes;
    {
        const AfterTheSize now(
            [&] { sandbox.plant("source", "blob", {ConfigValue::Binary, Bytes(100000, 0x41)}); });
        EXPECT_FALSE(config.readBlob("blob", bytes));
    }
    EXPECT_TRUE(config.readBlob("blob", bytes));
    EXPECT_EQ(bytes, Bytes(100000, 0x41));
}

} // namespace
