#include "svbase/util/ConfigStore.h"

#include "svbase/ConfigModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Util::ConfigKey;
using Util::ConfigStore;
using Util::ConfigValue;

const std::string head = "Preferences of Tarvik Plugin Scanner, format 1\n";

struct Reading {
    ConfigStore store;
    bool whole = false;
};

Reading reading(const std::string& text) {
    Reading result;
    result.whole = result.store.read(text);
    return result;
}

std::string value(const ConfigStore& store, const char* subkey, const char* name) {
    const ConfigValue* found = store.value({subkey, name});
    return found == nullptr ? "none" : std::to_string(found->type) + ":" + std::to_string(found->data.size());
}

std::vector<std::string> texts(const std::vector<String>& list) {
    std::vector<std::string> result;
    for (const String& text : list) {
        result.push_back(text.toStdString());
    }
    return result;
}

std::set<std::string> setOf(const std::vector<String>& list) {
    const std::vector<std::string> names = texts(list);
    std::set<std::string> result(names.begin(), names.end());
    EXPECT_EQ(result.size(), names.size());
    return result;
}

std::string joined(const std::vector<std::string>& path) {
    std::string text;
    for (const std::string& name : path) {
        text += (text.empty() ? "" : "\\") + name;
    }
    return text;
}

TEST(ConfigStore, Is_written_as_lines_that_people_can_read) {
    ConfigStore store;
    store.setValue({"SOFTWARE\\Solvane", "ForceSystemFontRenderer"}, {ConfigValue::DWord, {1, 0, 0, 0}});
    store.setValue({"SOFTWARE\\Solvane\\Window 1", ""}, {ConfigValue::Binary, {}});
    store.setValue({"", "-"}, {11, {0xAB}});
    store.setValue({"Other\\Below", "x"}, {3, {}});
    store.removeValue({"Other\\Below", "x"});
    EXPECT_EQ(
        store.text(), head + "value - %2d 11 ab\n"
                             "key Other\\Below\n"
                             "value SOFTWARE\\Solvane ForceSystemFontRenderer 4 01000000\n"
                             "value SOFTWARE\\Solvane\\Window%201 - 3 -\n"
                             "end\n");
}

TEST(ConfigStore, Control_characters_blanks_and_percents_are_escaped) {
    ConfigStore store;
    store.setValue({"a\nb", "50%\x7F\t=\xC3\xA9"}, {1, {}});
    EXPECT_EQ(store.text(), head + "value a%0ab 50%25%7f%09=\xC3\xA9 1 -\nend\n");
    Reading again = reading(store.text());
    EXPECT_TRUE(again.whole);
    EXPECT_EQ(value(again.store, "a\nb", "50%\x7F\t=\xC3\xA9"), "1:0");
}

TEST(ConfigStore, Nothing_and_an_empty_store_are_whole) {
    EXPECT_TRUE(reading("").whole);
    EXPECT_TRUE(reading(head + "end\n").whole);
    EXPECT_EQ(ConfigStore().text(), head + "end\n");
}

TEST(ConfigStore, A_damaged_line_costs_no_more_than_itself) {
    for (const char* line :
         {"",
          " ",
          "value",
          "value A b 4",
          "value A b 4 00 00",
          "value A b 4 0",
          "value A b 4 0g",
          "value A b -1 00",
          "value A b 4294967296 00",
          "value A b x 00",
          "value A b  00",
          "value A b 4 ",
          "value A  4 00",
          "value  b 4 00",
          "value A %4 4 00",
          "value A %zz 4 00",
          "value A % 4 00",
          "value A %00 4 00",
          "value A%00 b 4 00",
          "value \\A b 4 00",
          "value A \xFF 4 00",
          "value \xC3 b 4 00",
          "value A b\t 4 00",
          "Value A b 4 00",
          "values A b 4 00",
          "key",
          "key ",
          "key A b",
          "key \\A",
          "key %",
          "nothing",
          "end ",
          "\r",
          "value A b 4 00\r"}) {
        const Reading got = reading(head + "value S one 4 01\n" + line + "\nvalue S two 3 -\nend\n");
        EXPECT_FALSE(got.whole) << line;
        EXPECT_EQ(value(got.store, "S", "one"), "4:1") << line;
        EXPECT_EQ(value(got.store, "S", "two"), "3:0") << line;
        EXPECT_THAT(texts(got.store.subkeys("")), ElementsAre("S")) << line;
        EXPECT_EQ(got.store.valueNames("S").size(), 2U) << line;
    }
}

TEST(ConfigStore, A_text_that_is_cut_off_gives_its_whole_lines) {
    ConfigStore store;
    store.setValue({"S", "one"}, {4, {1, 2, 3, 4}});
    store.setValue({"S", "two"}, {4, {5, 6, 7, 8}});
    const std::string text = store.text();
    for (std::size_t length = 1; length < text.size(); ++length) {
        const Reading got = reading(text.substr(0, length));
        EXPECT_FALSE(got.whole) << length;
        const std::string rest = text.substr(length);
        EXPECT_EQ(
            value(got.store, "S", "one"),
            rest.find("two") != std::string::npos && rest.find("one") != std::string::npos ? "none"
            : length > text.find('\n', text.find("one"))                                   ? "4:4"
                                                                                           : "none")
            << length;
        EXPECT_EQ(value(got.store, "S", "two"), length > text.find('\n', text.find("two")) ? "4:4" : "none")
            << length;
    }
}

TEST(ConfigStore, Lines_count_without_the_first_one_and_behind_the_last_one_but_the_text_is_damaged) {
    const Reading headless = reading("value S one 4 01\nvalue S two 4 01\nend\n");
    EXPECT_FALSE(headless.whole);
    EXPECT_EQ(value(headless.store, "S", "one"), "4:1");
    EXPECT_EQ(value(headless.store, "S", "two"), "4:1");
    const Reading longer = reading(head + "end\nvalue S one 4 01\n");
    EXPECT_FALSE(longer.whole);
    EXPECT_EQ(value(longer.store, "S", "one"), "4:1");
    EXPECT_FALSE(reading("end\n").whole);
    EXPECT_FALSE(reading(head + head + "end\n").whole);
    EXPECT_FALSE(reading(head + "end\nend\n").whole);
    EXPECT_FALSE(reading("Preferences of Tarvik Plugin Scanner, format 2\nend\n").whole);
    EXPECT_FALSE(reading(head).whole);
}

TEST(ConfigStore, Of_a_value_that_stands_there_twice_the_later_one_counts) {
    const Reading got = reading(head + "value S one 4 01\nvalue s ONE 3 0102\nend\n");
    EXPECT_FALSE(got.whole);
    EXPECT_EQ(value(got.store, "S", "one"), "3:2");
}

TEST(ConfigStore, Foreign_bytes_are_no_store_and_no_crash) {
    using namespace std::string_literals;
    const std::string bytes = "\x7F"
                              "ELF\0\0\xFF\xFE\n\n\n\0\n%%%\n"s;
    const Reading got = reading(bytes);
    EXPECT_FALSE(got.whole);
    EXPECT_THAT(got.store.subkeys(""), IsEmpty());
}

TEST(ConfigStore, Names_differ_in_more_than_the_case_of_A_to_Z_and_keep_that_of_their_first_writing) {
    ConfigStore store;
    EXPECT_TRUE(store.setValue({"Solvane", "Gain"}, {4, {1}}));
    EXPECT_TRUE(store.setValue({"SOLVANE\\Below", "x"}, {4, {1}}));
    EXPECT_TRUE(store.setValue({"solvane", "GAIN"}, {4, {2}}));
    EXPECT_FALSE(store.setValue({"solvane", "gain"}, {4, {2}})) << "nothing changed";
    EXPECT_THAT(texts(store.subkeys("")), ElementsAre("Solvane"));
    EXPECT_THAT(texts(store.valueNames("SOLVANE")), ElementsAre("Gain"));
    EXPECT_TRUE(store.setValue({"\xC3\xA9", ""}, {4, {}}));
    EXPECT_TRUE(store.setValue({"\xC3\x89", ""}, {4, {}}));
    EXPECT_EQ(store.subkeys("").size(), 3U);
}

TEST(ConfigStore, Names_that_cannot_be_are_refused) {
    ConfigStore store;
    const auto refuses = [&](const std::string& subkey, const std::string& name) {
        return !store.setValue({String(subkey), String(name)}, {4, {}});
    };
    EXPECT_TRUE(refuses("\\a", "b"));
    EXPECT_TRUE(refuses("a\\\xFF", "b"));
    EXPECT_TRUE(refuses("a", "\xFF"));
    EXPECT_TRUE(refuses(std::string("a\0", 2), "b"));
    EXPECT_TRUE(refuses("a", std::string("b\0", 2)));
    EXPECT_TRUE(refuses(std::string(256, 'n'), "b"));
    EXPECT_TRUE(refuses("a", std::string(16384, 'n')));
    EXPECT_EQ(store.text(), head + "end\n") << "and leave nothing behind";
    EXPECT_FALSE(refuses(std::string(255, 'n'), "b"));
    EXPECT_FALSE(refuses("a", std::string(16383, 'n')));
}

TEST(ConfigStore, Lengths_of_names_count_in_UTF16_units) {
    std::string letters;
    for (int i = 0; i < 255; ++i) {
        letters += "\xC3\xA9";
    }
    ConfigStore store;
    EXPECT_TRUE(store.setValue({String(letters), ""}, {4, {}}));
    EXPECT_FALSE(store.setValue({String(letters + "\xC3\xA9"), ""}, {4, {}}));
}

TEST(ConfigStore, There_are_512_levels) {
    std::string path = "n";
    for (int i = 1; i < 512; ++i) {
        path += "\\n";
    }
    ConfigStore store;
    EXPECT_TRUE(store.setValue({String(path), "x"}, {4, {}}));
    EXPECT_FALSE(store.setValue({String(path + "\\n"), "x"}, {4, {}}));
    Reading again = reading(store.text());
    EXPECT_TRUE(again.whole);
    EXPECT_EQ(value(again.store, path.c_str(), "x"), "4:0");
    EXPECT_FALSE(reading(head + "key " + path + "\\n\nend\n").whole);
}

TEST(ConfigStore, Separators_may_be_repeated_and_stand_at_the_end) {
    ConfigStore store;
    store.setValue({"a\\\\b\\", "x"}, {4, {}});
    EXPECT_EQ(value(store, "a\\b", "x"), "4:0");
    EXPECT_EQ(value(store, "a\\b\\\\", "x"), "4:0");
    EXPECT_EQ(store.text(), head + "value a\\b x 4 -\nend\n");
}

TEST(ConfigStore, A_sub_key_with_sub_keys_in_it_stays) {
    ConfigStore store;
    store.setValue({"a\\b\\c", "x"}, {4, {}});
    EXPECT_FALSE(store.removeSubkey({"a", "b"}));
    EXPECT_FALSE(store.removeSubkey({"a", ""}));
    EXPECT_FALSE(store.removeSubkey({"missing", "b"}));
    EXPECT_TRUE(store.removeSubkey({"A\\B", "C"}));
    EXPECT_EQ(value(store, "a\\b\\c", "x"), "none");
    EXPECT_EQ(store.text(), head + "key a\\b\nend\n");
    EXPECT_TRUE(store.removeSubkey({"a", "b"}));
    EXPECT_TRUE(store.removeSubkey({"", "a"}));
    EXPECT_EQ(store.text(), head + "end\n");
}

TEST(ConfigStore, Behaves_as_the_obvious_model_under_random_operations) {
    std::mt19937 random(1);
    ConfigStore store;
    ConfigModel model;
    std::size_t found = 0;
    for (int round = 0; round < 8000; ++round) {
        const ConfigModel::Path path = ConfigModel::randomPath(random);
        const std::string name = ConfigModel::randomName(random);
        const ConfigKey key{String(joined(path)), String(name)};
        switch (random() % 8) {
        case 0:
        case 1: {
            const ConfigValue value = ConfigModel::randomValue(random);
            store.setValue(key, value);
            model.write(path, name, value);
            break;
        }
        case 2:
        case 3:
            store.removeValue(key);
            model.removeValue(path, name);
            break;
        case 4:
        case 5:
            store.removeSubkey(key);
            model.removeSubkey(path, name);
            break;
        case 6:
            ASSERT_EQ(setOf(store.subkeys(key.subkey)), model.subkeys(path)) << round;
            ASSERT_EQ(setOf(store.valueNames(key.subkey)), model.valueNames(path)) << round;
            break;
        default: {
            const ConfigValue* value = store.value(key);
            const auto expected = model.value(path, name);
            ASSERT_EQ(value != nullptr, expected.has_value()) << round;
            if (expected) {
                ASSERT_EQ(*value, *expected) << round;
                ++found;
            }
            break;
        }
        }
        if (round % 100 == 0) {
            const std::string text = store.text();
            ConfigStore again;
            ASSERT_TRUE(again.read(text));
            ASSERT_EQ(again.text(), text);
            store = std::move(again);
        }
    }
    EXPECT_GT(found, 100U) << "the operations must meet";
}

TEST(ConfigStore, One_changed_byte_costs_no_other_line) {
    std::mt19937 random(2);
    ConfigStore store;
    for (int i = 0; i < 20; ++i) {
        store.setValue({String("S\\" + std::to_string(i)), "x"}, {4, {static_cast<std::uint8_t>(i)}});
    }
    const std::string text = store.text();
    for (int round = 0; round < 2000; ++round) {
        std::string damaged = text;
        const std::size_t at = random() % text.size();
        damaged[at] = static_cast<char>(random());
        const Reading got = reading(damaged);
        int lost = 0;
        for (int i = 0; i < 20; ++i) {
            const ConfigKey key{String("S\\" + std::to_string(i)), "x"};
            const ConfigValue* found = got.store.value(key);
            lost += found != nullptr && *found == *store.value(key) ? 0 : 1;
        }
        // A line end that is gone takes the line behind it along; so does a line that now names another's
        // value.
        ASSERT_LE(lost, 2) << damaged;
    }
}

} // namespace
