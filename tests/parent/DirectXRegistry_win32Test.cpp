#include "parent/DirectXRegistry_win32.h"

#include "svbase/util/Noncopyable.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <objbase.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Tarvik {
namespace {

using Registration = DirectXFilter::Registration;

/// Keys below HKEY_CLASSES_ROOT, which go with the object.
class Keys : private noncopyable {
public:
    ~Keys() {
        for (const std::wstring& path : paths_) {
            RegDeleteTreeW(HKEY_CLASSES_ROOT, path.c_str());
        }
    }

    void add(const std::wstring& path) {
        paths_.push_back(path);
        HKEY key = nullptr;
        EXPECT_EQ(RegCreateKeyW(HKEY_CLASSES_ROOT, path.c_str(), &key), ERROR_SUCCESS);
        RegCloseKey(key);
    }
    void add(const std::wstring& path, const std::wstring& value, DWORD type = REG_SZ) {
        add(path, L"", type, value.c_str(), (value.size() + 1) * sizeof(wchar_t));
    }
    void add(const std::wstring& path, const wchar_t* name, DWORD type, const void* data, std::size_t size) {
        paths_.push_back(path);
        EXPECT_EQ(
            RegSetKeyValueW(HKEY_CLASSES_ROOT, path.c_str(), name, type, data, static_cast<DWORD>(size)),
            ERROR_SUCCESS);
    }

private:
    std::vector<std::wstring> paths_;
};

class DirectXRegistryTest : public testing::Test {
protected:
    DirectXRegistryTest() {
        CLSID id{};
        EXPECT_EQ(CoCreateGuid(&id), S_OK);
        std::array<wchar_t, 39> text{};
        StringFromGUID2(id, text.data(), static_cast<int>(text.size()));
        braced = text.data();
        classId = ClassIdFromString(String::fromWide(braced.c_str() + 1, 36));
        server = L"CLSID\\" + braced + L"\\InprocServer32";
        std::array<wchar_t, MAX_PATH> path{};
        GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        program = path.data();
    }

    void Name(const std::wstring& name = L"Name") { keys.add(L"Filter\\" + braced, name); }

    /// Of this test's class; asserts that it is listed once.
    DirectXFilter Find() {
        list = registeredDirectXFilters();
        EXPECT_EQ(list.problem, "");
        const auto isOurs = [this](const DirectXFilter& each) { return each.classId == classId; };
        EXPECT_EQ(std::ranges::count_if(list.filters, isOurs), 1);
        const auto found = std::ranges::find_if(list.filters, isOurs);
        return found == list.filters.end() ? DirectXFilter() : *found;
    }

    Registration RegistrationOf(const std::wstring& path, DWORD type = REG_SZ) {
        Name();
        keys.add(L"CLSID\\" + braced, L"Description");
        keys.add(server, path, type);
        return Find().registration;
    }

    std::wstring braced;
    ClassId classId{};
    std::wstring server;
    /// A file that stands somewhere.
    std::wstring program;
    Keys keys;
    DirectXFilterList list;
};

TEST_F(DirectXRegistryTest, A_named_class_is_listed_with_its_module) {
    Name(L"Verst\u00E4rker \u5897\u5E45");
    keys.add(L"CLSID\\" + braced, L"Description");
    keys.add(server, program);
    const DirectXFilter filter = Find();
    EXPECT_EQ(filter.name, "Verst\xC3\xA4rker \xE5\xA2\x97\xE5\xB9\x85");
    EXPECT_EQ(filter.listedName, "");
    EXPECT_EQ(filter.registration, Registration::complete);
    EXPECT_EQ(filter.module, String::fromWide(program.c_str()));
}

TEST_F(DirectXRegistryTest, Filters_stand_in_the_order_of_their_classes_and_once) {
    Name();
    Find();
    EXPECT_TRUE(std::ranges::is_sorted(list.filters, {}, &DirectXFilter::classId));
    EXPECT_EQ(std::ranges::adjacent_find(list.filters, {}, &DirectXFilter::classId), list.filters.end());
}

TEST_F(DirectXRegistryTest, A_name_without_a_class_is_told) {
    Name();
    const DirectXFilter filter = Find();
    EXPECT_EQ(filter.name, "Name");
    EXPECT_EQ(filter.registration, Registration::noClass);
    EXPECT_EQ(filter.module, "");
}

TEST_F(DirectXRegistryTest, An_entry_without_a_name_is_listed) {
    keys.add(L"Filter\\" + braced);
    EXPECT_EQ(Find().name, "");
}

TEST_F(DirectXRegistryTest, A_class_for_32_bit_processes_alone_is_told) {
    Name();
    keys.add(L"Wow6432Node\\CLSID\\" + braced + L"\\InprocServer32", program);
    EXPECT_EQ(Find().registration, Registration::otherProcessor);
}

TEST_F(DirectXRegistryTest, A_class_without_a_module_is_told) {
    Name();
    keys.add(L"CLSID\\" + braced, L"Description");
    EXPECT_EQ(Find().registration, Registration::noModule);
}

TEST_F(DirectXRegistryTest, A_class_with_an_empty_module_is_one_without) {
    EXPECT_EQ(RegistrationOf(L" "), Registration::noModule);
}

TEST_F(DirectXRegistryTest, A_module_that_is_no_text_is_none) {
    Name();
    const DWORD number = 7;
    keys.add(server, L"", REG_DWORD, &number, sizeof number);
    EXPECT_EQ(Find().registration, Registration::noModule);
}

TEST_F(DirectXRegistryTest, A_missing_module_is_told_with_its_path) {
    EXPECT_EQ(RegistrationOf(L"C:\\nowhere\\missing.dll"), Registration::moduleMissing);
    EXPECT_EQ(Find().module, "C:\\nowhere\\missing.dll");
}

TEST_F(DirectXRegistryTest, A_module_without_a_folder_is_looked_for_where_the_loader_does) {
    EXPECT_EQ(RegistrationOf(L"kernel32.dll"), Registration::complete);
    EXPECT_EQ(RegistrationOf(L"kernel32"), Registration::complete);
    EXPECT_EQ(RegistrationOf(L"tarvik-no-such-library.dll"), Registration::moduleMissing);
}

TEST_F(DirectXRegistryTest, Environment_variables_in_a_path_are_filled_in) {
    EXPECT_EQ(RegistrationOf(L"%SystemRoot%\\system32\\kernel32.dll", REG_EXPAND_SZ), Registration::complete);
    EXPECT_FALSE(Find().module.startsWith("%"));
    EXPECT_EQ(RegistrationOf(L"%SystemRoot%\\system32\\kernel32.dll"), Registration::moduleMissing);
}

TEST_F(DirectXRegistryTest, A_path_in_quotes_is_what_stands_between_them) {
    EXPECT_EQ(RegistrationOf(L"\"" + program + L"\""), Registration::complete);
    EXPECT_EQ(Find().module, String::fromWide(program.c_str()));
    EXPECT_EQ(RegistrationOf(L"\"" + program), Registration::complete);
    EXPECT_EQ(RegistrationOf(L"\"\""), Registration::noModule);
    EXPECT_EQ(RegistrationOf(L"\""), Registration::noModule);
}

TEST_F(DirectXRegistryTest, A_path_longer_than_any_stands_nowhere) {
    EXPECT_EQ(RegistrationOf(L"C:\\" + std::wstring(20'000, L'a')), Registration::moduleMissing);
}

TEST_F(DirectXRegistryTest, What_is_no_class_below_Filter_is_passed_over) {
    keys.add(L"Filter\\nonsense-of-a-test", L"Nonsense");
    keys.add(L"Filter\\{00000000-0000-0000-0000-000000000000}", L"Zeros");
    keys.add(L"Filter\\{" + braced.substr(1, 36) + L"-", L"Nonsense");
    Name();
    EXPECT_EQ(Find().name, "Name");
    for (const DirectXFilter& filter : list.filters) {
        EXPECT_NE(filter.name, "Nonsense");
        EXPECT_NE(filter.classId, ClassId{});
    }
}

/// In the category of filters that have none of their own.
class DirectXMapperTest : public DirectXRegistryTest {
protected:
    static std::wstring InstanceOf(const std::wstring& id) {
        return L"CLSID\\{083863F1-70DE-11D0-BD40-00A0C911CE86}\\Instance\\" + id;
    }
    std::wstring Instance() const { return InstanceOf(braced); }
    static bool HasKey(const std::wstring& path) {
        HKEY key = nullptr;
        const bool has =
            RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_QUERY_VALUE, &key) == ERROR_SUCCESS;
        RegCloseKey(key);
        return has;
    }
    void Text(const wchar_t* name, const std::wstring& text) {
        keys.add(Instance(), name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    }
    void Data(const std::vector<std::uint8_t>& data) {
        keys.add(Instance(), L"FilterData", REG_BINARY, data.data(), data.size());
    }

    /// One input pin of this major type and any minor type, in the published form.
    static std::vector<std::uint8_t> OnePin(const std::vector<std::uint8_t>& majorType) {
        std::vector<std::uint8_t> data;
        const auto number = [&data](std::uint32_t value) {
            for (int byte = 0; byte < 4; ++byte) {
                data.push_back(static_cast<std::uint8_t>(value >> (8 * byte)));
            }
        };
        const auto text = [&data](const char* letters) { data.insert(data.end(), letters, letters + 4); };
        number(2);        // version
        number(0x200000); // merit
        number(1);        // pins
        number(0);
        text("0pi3");
        number(0); // flags: an input
        number(1); // instances
        number(1); // types
        number(0); // media
        number(0);
        text("0ty3");
        number(0);
        number(56); // where the major type stands
        number(72); // and the minor one
        data.insert(data.end(), majorType.begin(), majorType.end());
        data.insert(data.end(), 16, 0);
        return data;
    }

    const std::vector<std::uint8_t> audio{0x61, 0x75, 0x64, 0x73, 0x00, 0x00, 0x10, 0x00,
                                          0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    const std::vector<std::uint8_t> video{0x76, 0x69, 0x64, 0x73, 0x00, 0x00, 0x10, 0x00,
                                          0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
};

TEST_F(DirectXMapperTest, A_filter_with_audio_on_a_pin_is_listed_under_the_platforms_name) {
    Text(L"CLSID", braced);
    Text(L"FriendlyName", L"Listed");
    Data(OnePin(audio));
    const DirectXFilter filter = Find();
    EXPECT_EQ(filter.listedName, "Listed");
    EXPECT_EQ(filter.name, "");
    EXPECT_EQ(filter.registration, Registration::noClass);
}

TEST_F(DirectXMapperTest, A_filter_with_a_name_and_a_listed_one_is_one_filter) {
    Text(L"CLSID", braced);
    Text(L"FriendlyName", L"Listed");
    Data(OnePin(audio));
    Name();
    const DirectXFilter filter = Find();
    EXPECT_EQ(filter.listedName, "Listed");
    EXPECT_EQ(filter.name, "Name");
}

TEST_F(DirectXMapperTest, A_filter_of_video_alone_is_not_listed) {
    Text(L"CLSID", braced);
    Text(L"FriendlyName", L"Listed");
    Data(OnePin(video));
    for (const DirectXFilter& filter : registeredDirectXFilters().filters) {
        EXPECT_NE(filter.classId, classId);
    }
}

TEST_F(DirectXMapperTest, A_broken_registration_costs_no_other_its_place) {
    // Of the platform's own, in the same category: what else there is may come and go with other tests.
    const auto platforms = [this] {
        std::map<ClassId, String> found;
        for (const DirectXFilter& filter : registeredDirectXFilters().filters) {
            const bool isListed =
                HasKey(InstanceOf(L"{" + ClassIdToString(filter.classId).toNativeWide() + L"}"));
            if (isListed && filter.module.toLower().indexOf("\\system32\\").valid) {
                found[filter.classId] = filter.listedName;
            }
        }
        return found;
    };
    const std::map<ClassId, String> before = platforms();
    EXPECT_GE(before.size(), 3U);
    // What an installer that was interrupted leaves behind, and what one that is wrong writes. Not among them
    // is what begins well and points behind its own end: Wine's mapper follows it, and its process ends or
    // not as its memory happens to lie.
    std::vector<std::uint8_t> otherVersion = OnePin(audio);
    otherVersion[0] = 7;
    const std::vector<std::vector<std::uint8_t>> broken{
        {}, {1, 2, 3}, std::vector<std::uint8_t>(64, 0xFF), otherVersion};
    for (const auto& data : broken) {
        for (const std::wstring& text : {braced, std::wstring(L"nonsense"), std::wstring()}) {
            Data(data);
            Text(L"CLSID", text);
            EXPECT_EQ(platforms(), before) << data.size() << " " << text.size();
        }
    }
}

TEST_F(DirectXMapperTest, A_listed_filter_without_a_name_anywhere_has_none) {
    Text(L"CLSID", braced);
    Data(OnePin(audio));
    const DirectXFilter filter = Find();
    EXPECT_EQ(filter.listedName, "");
    EXPECT_EQ(filter.name, "");
}

} // namespace
} // namespace Tarvik
