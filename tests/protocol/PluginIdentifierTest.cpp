#include "protocol/PluginIdentifier.h"

#include "protocol/FourCharCode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

using namespace Tarvik;

namespace {

PluginIdentifier read(const std::string& text) {
    PluginIdentifier identifier;
    EXPECT_TRUE(identifier.FromString(String(text))) << text;
    return identifier;
}

bool reads(const std::string& text) {
    PluginIdentifier identifier;
    return identifier.FromString(String(text));
}

PluginIdentifier vst(const char* path, std::uint32_t id) {
    return PluginIdentifier::ForVST(path, id);
}

PluginIdentifier testable(const char* path, checked_value<std::uint32_t> index) {
    PluginIdentifier identifier;
    identifier.format = PluginFormat::TestableDSP;
    identifier.tdspPath = path;
    identifier.tdspIndex = index.value;
    identifier.tdspIndexSet = index.valid;
    return identifier;
}

PluginIdentifier audioUnit(std::uint32_t type, std::uint32_t subtype, std::uint32_t manufacturer) {
    PluginIdentifier identifier;
    identifier.format = PluginFormat::AudioUnit;
    identifier.auType = type;
    identifier.auSubtype = subtype;
    identifier.auManufacturer = manufacturer;
    return identifier;
}

PluginIdentifier directX(const ClassId& id) {
    PluginIdentifier identifier;
    identifier.format = PluginFormat::DirectX;
    identifier.dxClassId = id;
    return identifier;
}

PluginIdentifier unnamedFormat(int value) {
    PluginIdentifier identifier;
    identifier.format = static_cast<PluginFormat>(value);
    return identifier;
}

bool unordered(const PluginIdentifier& a, const PluginIdentifier& b) {
    return !(a < b) && !(b < a);
}

/// All fields, as operator== does not compare them.
void expectSameFields(const PluginIdentifier& a, const PluginIdentifier& b) {
    EXPECT_EQ(a.format, b.format);
    EXPECT_STREQ(a.vstPath.c_str(), b.vstPath.c_str());
    EXPECT_STREQ(a.vstKey.c_str(), b.vstKey.c_str());
    EXPECT_EQ(a.vstId, b.vstId);
    EXPECT_EQ(a.dxClassId, b.dxClassId);
    EXPECT_EQ(a.auType, b.auType);
    EXPECT_EQ(a.auSubtype, b.auSubtype);
    EXPECT_EQ(a.auManufacturer, b.auManufacturer);
    EXPECT_STREQ(a.tdspPath.c_str(), b.tdspPath.c_str());
    EXPECT_EQ(a.tdspIndex, b.tdspIndex);
    EXPECT_EQ(a.tdspIndexSet, b.tdspIndexSet);
}

/// Random identifiers, few enough values of each field that equal ones meet.
class RandomIdentifiers {
public:
    explicit RandomIdentifiers(unsigned seed) : random_(seed) {}

    PluginIdentifier operator()() {
        switch (below(5)) {
        case 0:
            return {};
        case 1:
            return audioUnit(code(), code(), code());
        case 2:
            return vst(path().c_str(), below(3) == 0 ? 0 : code());
        case 3: {
            ClassId id{};
            for (auto& byte : id) {
                byte = static_cast<std::uint8_t>(below(2) == 0 ? random_() : 0x61);
            }
            return directX(id);
        }
        default:
            return testable(path().c_str(), static_cast<std::uint32_t>(below(3)));
        }
    }

    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

    std::uint32_t code() {
        constexpr std::uint32_t printing[] = {0x64636261, 0x44434241, 0x20202020, 0x27272727, 0x7EA0FFFE};
        return below(3) == 0 ? static_cast<std::uint32_t>(random_()) : printing[below(5)];
    }

    std::string path() {
        static const char* const directories[] = {
            "C:/", "C:/Plug ins/", "c:/plug ins/", "//server/share/", "D:/\xC3\xA4\xC3\xB6/", "/opt/x/"};
        static const char* const names[] = {"A.dll", "a.DLL", "B 1%2.dll", "\xE9\x9F\xB3.dll",
                                            "noext", "'q'"};
        return std::string(directories[below(6)]) + names[below(6)];
    }

private:
    std::mt19937 random_;
};

/// What the text form cannot carry in a code: see FourCharCodeToString and the separator of the fields.
bool codeSurvives(std::uint32_t code) {
    const std::string text = FourCharCodeToString(code).toStdString();
    if (text[0] != '\'') {
        return true;
    }
    bool survives = true;
    for (int i = 0; i < 4; ++i) {
        const std::uint32_t byte = code >> (8 * i) & 255;
        survives = survives && byte != ',' && byte != '%';
    }
    return survives;
}

} // namespace

TEST(PluginIdentifier, A_default_one_names_nothing) {
    const PluginIdentifier identifier;
    EXPECT_EQ(identifier.format, PluginFormat::None);
    EXPECT_TRUE(identifier.vstPath.isEmpty());
    EXPECT_EQ(identifier.vstId, 0u);
    EXPECT_EQ(identifier.dxClassId, ClassId{});
    EXPECT_FALSE(identifier.tdspIndexSet);
    EXPECT_FALSE(identifier.IsComplete());
    EXPECT_EQ(identifier.ToString(), "None");
}

// --- Text form, writing

TEST(PluginIdentifierToString, VST_shows_the_code_and_the_native_path) {
    EXPECT_EQ(vst("C:/Plugins/A.dll", 0x64636261).ToString(), "VST: 'abcd',C:\\Plugins\\A.dll");
    EXPECT_EQ(vst("C:/Plugins/A.dll", 0).ToString(), "VST: 0x00000000,C:\\Plugins\\A.dll");
    EXPECT_EQ(vst("", 0x00636261).ToString(), "VST: 0x00636261,");
}

TEST(PluginIdentifierToString, The_native_path_is_normalised_and_ends_without_a_separator) {
    EXPECT_EQ(vst("C:\\Plugins\\.\\x\\..//A.dll", 1).ToString(), "VST: 0x00000001,C:\\Plugins\\A.dll");
    EXPECT_EQ(vst("\\\\?\\C:\\Plugins\\A.dll", 1).ToString(), "VST: 0x00000001,C:\\Plugins\\A.dll");
    EXPECT_EQ(vst("//server/share/A.dll", 1).ToString(), "VST: 0x00000001,\\\\server\\share\\A.dll");
    EXPECT_EQ(vst("C:/Plugins/", 1).ToString(), "VST: 0x00000001,C:\\Plugins");
    EXPECT_EQ(vst("/", 1).ToString(), "VST: 0x00000001,");
}

TEST(PluginIdentifierToString, DirectX_shows_the_class_identifier) {
    EXPECT_EQ(
        directX({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 255}).ToString(),
        "DX: 00010203-0405-0607-0809-0A0B0C0D0EFF");
}

TEST(PluginIdentifierToString, Audio_unit_shows_three_codes) {
    EXPECT_EQ(audioUnit(0x64636261, 1, 0x44434241).ToString(), "AU: 'abcd',0x00000001,'ABCD'");
}

TEST(PluginIdentifierToString, TestableDSP_shows_the_index_in_decimal_and_the_native_path) {
    EXPECT_EQ(testable("C:/P/A.dll", 12u).ToString(), "TDSP: 12,C:\\P\\A.dll");
    EXPECT_EQ(testable("C:/P/A.dll", 4294967295u).ToString(), "TDSP: 4294967295,C:\\P\\A.dll");
    EXPECT_EQ(testable("C:/P/A.dll", {}).ToString(), "TDSP: 0,C:\\P\\A.dll");
}

TEST(PluginIdentifierToString, A_value_that_names_no_format_has_the_empty_text) {
    EXPECT_EQ(unnamedFormat(5).ToString(), "");
    EXPECT_EQ(unnamedFormat(-1).ToString(), "");
}

TEST(PluginIdentifierToString, A_per_cent_sign_in_a_path_is_just_that) {
    EXPECT_EQ(vst("C:/100%1/%2.dll", 1).ToString(), "VST: 0x00000001,C:\\100%1\\%2.dll");
}

// --- Text form, reading

TEST(PluginIdentifierFromString, None_reads_in_any_case_and_with_blanks_around) {
    for (const char* text : {"None", "none", "NONE", " nOnE\t", "\r\nNone\xA0"}) {
        EXPECT_EQ(read(text).format, PluginFormat::None) << text;
    }
}

TEST(PluginIdentifierFromString, A_failure_leaves_a_default_identifier) {
    for (const char* text :
         {"", " ", "VST", "nothing", "None: x", "None:", ":", "XYZ: 1", "VST : 'abcd',C:\\A.dll",
          "V ST: 'abcd',C:\\A.dll", "VST: 'abc',C:\\A.dll", "AU: 'aufx','abcd'", "AU: 'aufx','abcd','x'",
          "TDSP: ,C:\\A.dll", "VST: 'abcd',C:\\A,B.dll"}) {
        PluginIdentifier identifier = vst("C:/old.dll", 7);
        identifier.tdspPath = "old";
        EXPECT_FALSE(identifier.FromString(text)) << text;
        expectSameFields(identifier, PluginIdentifier());
    }
}

TEST(PluginIdentifierFromString, Success_leaves_nothing_of_what_was_there) {
    PluginIdentifier identifier = vst("C:/old.dll", 7);
    EXPECT_TRUE(identifier.FromString("AU: 'abcd','abcd','abcd'"));
    expectSameFields(identifier, audioUnit(0x64636261, 0x64636261, 0x64636261));
}

TEST(PluginIdentifierFromString, The_prefix_reads_in_any_case) {
    for (const char* prefix : {"VST", "vst", "vSt"}) {
        EXPECT_EQ(read(std::string(prefix) + ":'abcd',C:\\A.dll").format, PluginFormat::VST);
    }
    EXPECT_EQ(read("dx:x").format, PluginFormat::DirectX);
    EXPECT_EQ(read("aU:'abcd','abcd','abcd'").format, PluginFormat::AudioUnit);
    EXPECT_EQ(read("tdsp:1,x").format, PluginFormat::TestableDSP);
}

TEST(PluginIdentifierFromString, VST_reads_the_code_and_the_path_and_derives_the_key) {
    const PluginIdentifier identifier = read(" VST:  'abcd',C:\\Plugins\\A.dll \n");
    EXPECT_EQ(identifier.format, PluginFormat::VST);
    EXPECT_EQ(identifier.vstId, 0x64636261u);
    EXPECT_STREQ(identifier.vstKey.c_str(), "C:/Plugins/A.dll");
    EXPECT_EQ(identifier.ToString(), "VST: 'abcd',C:\\Plugins\\A.dll");
}

TEST(PluginIdentifierFromString, VST_takes_exactly_two_fields) {
    EXPECT_FALSE(reads("VST: 'abcd'"));
    EXPECT_FALSE(reads("VST: 'abcd',C:\\Plugins\\A,B.dll"));
    EXPECT_FALSE(reads("VST: 'abcd',C:\\Plugins\\A.dll,"));
    EXPECT_FALSE(reads("VST: 'ab,d',C:\\Plugins\\A.dll"));
    EXPECT_FALSE(reads("VST:"));
}

TEST(PluginIdentifierFromString, VST_fields_are_not_trimmed_inside) {
    EXPECT_FALSE(reads("VST: 'abcd' ,C:\\A.dll"));
    EXPECT_STREQ(read("VST: 'abcd', C:\\A.dll").vstPath.c_str(), " C:\\A.dll");
}

TEST(PluginIdentifierFromString, VST_may_have_an_empty_path) {
    const PluginIdentifier identifier = read("VST: 'abcd',");
    EXPECT_EQ(identifier.format, PluginFormat::VST);
    EXPECT_TRUE(identifier.vstPath.isEmpty());
    EXPECT_FALSE(identifier.IsComplete());
}

TEST(PluginIdentifierFromString, A_colon_in_the_path_belongs_to_it) {
    EXPECT_STREQ(read("VST: 'ab:d',C:/a:b.dll").vstPath.c_str(), "C:/a:b.dll");
}

TEST(PluginIdentifierFromString, DirectX_reads_a_class_identifier_and_zeros_for_a_malformed_one) {
    const ClassId counting{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                           0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
    EXPECT_EQ(read("DX: 00112233-4455-6677-8899-AABBCCDDEEFF").dxClassId, counting);
    EXPECT_EQ(read("DX:00112233-4455-6677-8899-aabbccddeeff ").dxClassId, counting);
    for (const char* text : {"DX:", "DX: x", "DX: 00112233-4455-6677-8899-AABBCCDDEEFG"}) {
        EXPECT_EQ(read(text).format, PluginFormat::DirectX) << text;
        EXPECT_EQ(read(text).dxClassId, ClassId{}) << text;
        EXPECT_FALSE(read(text).IsComplete()) << text;
    }
}

TEST(PluginIdentifierFromString, Audio_unit_takes_exactly_three_fields_and_trims_each) {
    expectSameFields(read("AU: 'abcd' ,\t0x00000001 , 'ABCD'"), audioUnit(0x64636261, 1, 0x44434241));
    EXPECT_FALSE(reads("AU: 'abcd','abcd'"));
    EXPECT_FALSE(reads("AU: 'abcd','abcd','abcd','abcd'"));
    EXPECT_FALSE(reads("AU: 'abcd','abcd',"));
    EXPECT_FALSE(reads("AU: 'abcd',abcd,'abcd'"));
}

TEST(PluginIdentifierFromString, TestableDSP_takes_a_number_and_a_path) {
    expectSameFields(read("TDSP: 12,C:/P/A.dll"), testable("C:/P/A.dll", 12u));
    EXPECT_TRUE(read("TDSP: 4294967295,x").tdspIndexSet);
    for (const char* text :
         {"TDSP:", "TDSP: 1", "TDSP: 1,", "TDSP: ,x", "TDSP: x,x", "TDSP: 0x1,x", "TDSP: -1,x",
          "TDSP: 4294967296,x", "TDSP: 1,x,y", "TDSP: 1.5,x"}) {
        EXPECT_FALSE(reads(text)) << text;
    }
}

TEST(PluginIdentifierFromString, Random_identifiers_read_back_from_their_text) {
    RandomIdentifiers random(1);
    int checked = 0;
    for (int i = 0; i < 20000; ++i) {
        const PluginIdentifier identifier = random();
        if (!codeSurvives(identifier.vstId) || !codeSurvives(identifier.auType) ||
            !codeSurvives(identifier.auSubtype) || !codeSurvives(identifier.auManufacturer)) {
            continue;
        }
        ++checked;
        const PluginIdentifier again = read(identifier.ToString().toStdString());
        EXPECT_EQ(again, identifier);
        EXPECT_EQ(again.ToString(), identifier.ToString());
        EXPECT_STREQ(again.vstKey.c_str(), identifier.vstKey.c_str());
        EXPECT_EQ(again.vstId, identifier.vstId);
    }
    EXPECT_GT(checked, 10000);
}

TEST(PluginIdentifierFromString, Random_texts_read_or_leave_a_default_identifier) {
    std::mt19937 random(3);
    const std::string alphabet = "VSTDXAUPNonev:,' 0x12af-\\/.%\t\xA0\xC3";
    for (int round = 0; round < 50000; ++round) {
        std::string text = std::vector<std::string>{"", "VST: ", "AU: ", "DX: ", "TDSP: "}[random() % 5];
        const std::size_t length = random() % 40;
        for (std::size_t i = 0; i < length; ++i) {
            text += alphabet[random() % alphabet.size()];
        }
        PluginIdentifier identifier;
        if (!identifier.FromString(String(text))) {
            expectSameFields(identifier, PluginIdentifier());
        }
    }
}

// --- Key

TEST(PluginIdentifierKey, The_key_is_the_normal_form_without_a_trailing_separator) {
    EXPECT_STREQ(PluginIdentifier::VSTKeyFromPath("C:\\P\\.\\a\\..\\A.dll").c_str(), "C:/P/A.dll");
    EXPECT_STREQ(PluginIdentifier::VSTKeyFromPath("\\\\?\\C:\\P\\A.dll").c_str(), "C:/P/A.dll");
    EXPECT_STREQ(PluginIdentifier::VSTKeyFromPath("C:/P/").c_str(), "C:/P");
    EXPECT_STREQ(PluginIdentifier::VSTKeyFromPath("/").c_str(), "");
    EXPECT_STREQ(PluginIdentifier::VSTKeyFromPath("").c_str(), "");
}

// --- Equality

TEST(PluginIdentifierEquality, Different_formats_are_unequal_and_two_None_are_equal) {
    EXPECT_EQ(PluginIdentifier(), PluginIdentifier());
    EXPECT_NE(PluginIdentifier(), vst("", 0));
    EXPECT_NE(vst("C:/A.dll", 0), testable("C:/A.dll", 0u));
    PluginIdentifier none;
    none.vstPath = "left over";
    EXPECT_EQ(none, PluginIdentifier());
}

TEST(PluginIdentifierEquality, Audio_units_compare_all_three_codes) {
    EXPECT_EQ(audioUnit(1, 2, 3), audioUnit(1, 2, 3));
    EXPECT_NE(audioUnit(1, 2, 3), audioUnit(9, 2, 3));
    EXPECT_NE(audioUnit(1, 2, 3), audioUnit(1, 9, 3));
    EXPECT_NE(audioUnit(1, 2, 3), audioUnit(1, 2, 9));
}

TEST(PluginIdentifierEquality, VST_compares_the_keys_exactly) {
    EXPECT_EQ(vst("C:\\P\\A.dll", 5), vst("C:/P//A.dll", 5));
    EXPECT_NE(vst("C:/P/A.dll", 5), vst("C:/P/a.dll", 5));
    EXPECT_NE(vst("C:/P/A.dll", 0), vst("C:/P/B.dll", 0));
}

TEST(PluginIdentifierEquality, An_unknown_VST_identifier_on_either_side_matches_any_of_the_same_file) {
    EXPECT_EQ(vst("C:/A.dll", 0), vst("C:/A.dll", 5));
    EXPECT_EQ(vst("C:/A.dll", 5), vst("C:/A.dll", 0));
    EXPECT_EQ(vst("C:/A.dll", 0), vst("C:/A.dll", 0));
    EXPECT_NE(vst("C:/A.dll", 5), vst("C:/A.dll", 6));
}

TEST(PluginIdentifierEquality, An_empty_left_path_compares_the_VST_identifiers) {
    EXPECT_NE(vst("", 0), vst("", 5));
    EXPECT_NE(vst("", 5), vst("", 0));
    EXPECT_EQ(vst("", 5), vst("", 5));
    EXPECT_EQ(vst("", 0), vst("", 0));
    // "/" and "" have the same key: here the side matters.
    EXPECT_EQ(vst("/", 0), vst("", 5));
    EXPECT_NE(vst("", 0), vst("/", 5));
}

TEST(PluginIdentifierEquality, DirectX_compares_all_bytes) {
    const ClassId id{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    EXPECT_EQ(directX(id), directX(id));
    for (std::size_t i = 0; i < id.size(); ++i) {
        ClassId other = id;
        other[i] ^= 0x80;
        EXPECT_NE(directX(id), directX(other)) << i;
    }
}

TEST(PluginIdentifierEquality, TestableDSP_compares_the_files_in_any_case_and_the_index) {
    EXPECT_EQ(testable("C:/P/A.dll", 1u), testable("c:/p/a.DLL", 1u));
    EXPECT_EQ(testable("C:/P/A.dll", 1u), testable("C:\\P\\.\\A.dll", 1u));
    EXPECT_NE(testable("C:/P/A.dll", 1u), testable("C:/P/A.dll", 2u));
    EXPECT_NE(testable("C:/P/A.dll", 1u), testable("C:/P/B.dll", 1u));
    EXPECT_NE(testable("C:/P/A.dll", 0u), testable("C:/P/A.dll", {}));
    EXPECT_EQ(testable("C:/P/A.dll", {}), testable("C:/P/A.dll", {}));
}

TEST(PluginIdentifierEquality, An_unset_TestableDSP_index_is_not_compared) {
    PluginIdentifier left = testable("C:/P/A.dll", {});
    left.tdspIndex = 3;
    EXPECT_EQ(left, testable("C:/P/A.dll", {}));
}

TEST(PluginIdentifierEquality, A_relative_TestableDSP_path_names_the_file_that_it_leads_to) {
    const std::string here = std::filesystem::current_path().generic_string();
    EXPECT_EQ(testable("A.dll", 1u), testable((here + "/a.dll").c_str(), 1u));
    EXPECT_FALSE(testable("A.dll", 1u) < testable((here + "/a.dll").c_str(), 1u));
    EXPECT_FALSE(testable((here + "/a.dll").c_str(), 1u) < testable("A.dll", 1u));
}

TEST(PluginIdentifierEquality, Values_that_name_no_format_equal_nothing) {
    EXPECT_NE(unnamedFormat(5), unnamedFormat(5));
}

// --- Order

TEST(PluginIdentifierOrder, Formats_come_first) {
    const PluginIdentifier ascending[] = {PluginIdentifier(), audioUnit(9, 9, 9), vst("Z", 9),
                                          directX({9}),       testable("A", 0u),  unnamedFormat(5)};
    for (std::size_t i = 0; i < std::size(ascending); ++i) {
        for (std::size_t j = 0; j < std::size(ascending); ++j) {
            EXPECT_EQ(ascending[i] < ascending[j], i < j) << i << " " << j;
        }
    }
}

TEST(PluginIdentifierOrder, Audio_units_by_type_then_subtype_then_manufacturer) {
    EXPECT_LT(audioUnit(1, 9, 9), audioUnit(2, 0, 0));
    EXPECT_LT(audioUnit(1, 1, 9), audioUnit(1, 2, 0));
    EXPECT_LT(audioUnit(1, 1, 1), audioUnit(1, 1, 2));
    EXPECT_LT(audioUnit(1, 1, 1), audioUnit(0xFFFFFFFF, 1, 1));
    EXPECT_TRUE(unordered(audioUnit(1, 1, 1), audioUnit(1, 1, 1)));
}

TEST(PluginIdentifierOrder, VST_by_key_then_by_identifier_where_both_are_known) {
    EXPECT_LT(vst("C:/A.dll", 9), vst("C:/B.dll", 1));
    EXPECT_LT(vst("C:/B.dll", 9), vst("C:/a.dll", 1));
    EXPECT_LT(vst("C:/A.dll", 1), vst("C:\\A.dll", 2));
    EXPECT_FALSE(vst("C:/A.dll", 2) < vst("C:/A.dll", 1));
    EXPECT_TRUE(unordered(vst("C:/A.dll", 0), vst("C:/A.dll", 1)));
    EXPECT_TRUE(unordered(vst("C:/A.dll", 0), vst("C:/A.dll", 0)));
}

TEST(PluginIdentifierOrder, DirectX_by_the_bytes_unsigned) {
    EXPECT_LT(directX({1, 255}), directX({2, 0}));
    EXPECT_LT(directX({0x7F}), directX({0x80}));
    EXPECT_TRUE(unordered(directX({1}), directX({1})));
}

TEST(PluginIdentifierOrder, TestableDSP_by_file_then_by_index) {
    EXPECT_LT(testable("C:/A.dll", 9u), testable("C:/B.dll", 1u));
    EXPECT_LT(testable("C:/A.dll", 1u), testable("c:/a.dll", 2u));
    EXPECT_TRUE(unordered(testable("C:/A.dll", 1u), testable("c:/a.dll", 1u)));
}

TEST(PluginIdentifierOrder, Without_unknown_VST_identifiers_the_order_is_strict_and_weak) {
    RandomIdentifiers random(2);
    std::vector<PluginIdentifier> list;
    while (list.size() < 120) {
        const PluginIdentifier identifier = random();
        if (identifier.format != PluginFormat::VST || identifier.vstId != 0) {
            list.push_back(identifier);
        }
    }
    const std::size_t count = list.size();
    std::vector<std::vector<bool>> less(count, std::vector<bool>(count));
    for (std::size_t a = 0; a < count; ++a) {
        for (std::size_t b = 0; b < count; ++b) {
            less[a][b] = list[a] < list[b];
        }
    }
    const auto same = [&less](std::size_t a, std::size_t b) { return !less[a][b] && !less[b][a]; };
    for (std::size_t a = 0; a < count; ++a) {
        EXPECT_FALSE(less[a][a]);
        for (std::size_t b = 0; b < count; ++b) {
            EXPECT_FALSE(less[a][b] && less[b][a]);
            EXPECT_TRUE(same(a, b) || !(list[a] == list[b]));
            for (std::size_t c = 0; c < count; ++c) {
                EXPECT_TRUE(less[a][c] || !less[a][b] || !less[b][c]);
                EXPECT_TRUE(same(a, c) || !same(a, b) || !same(b, c));
            }
        }
    }
}

TEST(PluginIdentifierOrder, An_unknown_VST_identifier_keeps_what_came_first_out_of_or_in_a_set) {
    // 0 is unordered with both of two that are ordered: the one in the set first decides.
    const std::set<PluginIdentifier> zeroFirst{vst("A", 0), vst("A", 1), vst("A", 2)};
    EXPECT_EQ(zeroFirst.size(), 1u);
    const std::set<PluginIdentifier> zeroLast{vst("A", 1), vst("A", 2), vst("A", 0)};
    EXPECT_EQ(zeroLast.size(), 2u);
}

// --- Completeness

TEST(PluginIdentifierComplete, Each_format_has_its_own_needs) {
    EXPECT_TRUE(audioUnit(1, 1, 1).IsComplete());
    EXPECT_FALSE(audioUnit(0, 1, 1).IsComplete());
    EXPECT_FALSE(audioUnit(1, 0, 1).IsComplete());
    EXPECT_FALSE(audioUnit(1, 1, 0).IsComplete());
    EXPECT_TRUE(vst("C:/A.dll", 0).IsComplete());
    EXPECT_FALSE(vst("", 5).IsComplete());
    EXPECT_FALSE(directX({}).IsComplete());
    for (std::size_t i = 0; i < 16; ++i) {
        ClassId id{};
        id[i] = 1;
        EXPECT_TRUE(directX(id).IsComplete()) << i;
    }
    EXPECT_TRUE(testable("A", 0u).IsComplete());
    EXPECT_FALSE(testable("A", {}).IsComplete());
    EXPECT_FALSE(testable("", 0u).IsComplete());
    EXPECT_FALSE(unnamedFormat(5).IsComplete());
}
