// Keys, sub-keys and lists of preferences; their types and values stand in ConfigFileTest.cpp.

#include "svbase/util/ConfigFile.h"

#include "svbase/ConfigFileFixture.h"
#include "svbase/ConfigKeyModel.h"
#include "svbase/ConfigModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Util::ConfigFile;
using Util::ConfigValue;

TEST_F(ConfigFileInSandbox, A_key_with_an_escaped_slash_names_one_component) {
    config.writeInt("a\\/b/c", 5);
    EXPECT_EQ(config.readInt("a\\/b/c", 0), 5);
    EXPECT_EQ(config.readInt("a/b/c", 0), 0);
    EXPECT_TRUE(sandbox.stored("a/b", "c"));
    EXPECT_THAT(subkeys(config), ElementsAre("a/b"));
    EXPECT_THAT(valueNames(config, "a\\/b"), ElementsAre("c"));
    config.writeInt("a/b\\/c", 6);
    EXPECT_TRUE(sandbox.stored("a", "b/c"));
    EXPECT_THAT(valueNames(config, "a"), ElementsAre("b/c"));
    config.removeKey("a\\/b");
    EXPECT_FALSE(sandbox.hasSubkey("a/b"));
    config.removeValue("a/b\\/c");
    EXPECT_FALSE(sandbox.stored("a", "b/c"));
}

TEST_F(ConfigFileInSandbox, Writing_creates_the_path) {
    config.writeInt("a/b/c/d", 1);
    EXPECT_TRUE(sandbox.hasSubkey("a\\b\\c"));
    EXPECT_THAT(subkeys(config), ElementsAre("a"));
    EXPECT_THAT(subkeys(config, "a"), ElementsAre("b"));
    EXPECT_THAT(subkeys(config, "a/b/c"), IsEmpty());
    EXPECT_THAT(valueNames(config, "a/b/c"), ElementsAre("d"));
}

TEST_F(ConfigFileInSandbox, The_default_value_of_a_sub_key_has_the_empty_name) {
    sandbox.plant("filter", "", {1, {'n', 0, 0, 0}});
    const ConfigFile filter(config.path() + "/filter");
    EXPECT_EQ(filter.readString("", "default"), "n");
    EXPECT_EQ(config.readString("filter/", "default"), "n");
    EXPECT_THAT(valueNames(filter), ElementsAre(""));
    config.writeInt("", 5);
    EXPECT_EQ(sandbox.stored("", ""), (ConfigValue{4, {5, 0, 0, 0}}));
    config.removeValue("");
    EXPECT_FALSE(sandbox.stored("", ""));
}

TEST_F(ConfigFileInSandbox, Lists_replace_what_stood_in_them) {
    EXPECT_THAT(subkeys(config), IsEmpty());
    EXPECT_THAT(valueNames(config), IsEmpty());
    config.writeInt("one", 1);
    config.writeString("two", "");
    config.writeInt("a/three", 1);
    config.writeInt("b/c/four", 1);
    EXPECT_THAT(subkeys(config), UnorderedElementsAre("a", "b"));
    EXPECT_THAT(valueNames(config), UnorderedElementsAre("one", "two"));
    EXPECT_THAT(subkeys(config, "b"), ElementsAre("c"));
    EXPECT_THAT(valueNames(config, "b"), IsEmpty());
    EXPECT_THAT(valueNames(config, "b\\c"), ElementsAre("four"));
    EXPECT_THAT(subkeys(config, "missing"), IsEmpty());
    EXPECT_THAT(valueNames(config, "missing"), IsEmpty());
}

TEST_F(ConfigFileInSandbox, Lists_hold_all_of_many_names) {
    std::vector<ConfigSandbox::Entry> entries;
    std::set<std::string> names;
    for (int i = 0; i < 700; ++i) {
        const std::string name =
            "n\xC3\xA9 " + std::to_string(i) + std::string(static_cast<std::size_t>(i % 200), 'x');
        entries.push_back({name, name, {4, {1, 0, 0, 0}}});
        entries.push_back({"", name, {4, {1, 0, 0, 0}}});
        names.insert(name);
    }
    sandbox.plant(entries);
    const std::vector<std::string> keys = subkeys(config);
    const std::vector<std::string> values = valueNames(config);
    EXPECT_EQ(keys.size(), 700U);
    EXPECT_EQ(values.size(), 700U);
    EXPECT_EQ(std::set<std::string>(keys.begin(), keys.end()), names);
    EXPECT_EQ(std::set<std::string>(values.begin(), values.end()), names);
}

TEST_F(ConfigFileInSandbox, Removing_a_value_leaves_the_others_and_the_sub_key) {
    config.writeInt("a/one", 1);
    config.writeInt("a/two", 2);
    config.removeValue("a/one");
    config.removeValue("a/missing");
    EXPECT_THAT(valueNames(config, "a"), ElementsAre("two"));
    config.removeValue("a/two");
    EXPECT_THAT(valueNames(config, "a"), IsEmpty());
    EXPECT_TRUE(sandbox.hasSubkey("a"));
    config.removeValue("missing/one");
    EXPECT_FALSE(sandbox.hasSubkey("missing")) << "removing creates nothing";
}

TEST_F(ConfigFileInSandbox, Removing_a_sub_key_takes_its_values_along) {
    config.writeInt("a/b/one", 1);
    config.writeInt("a/b/two", 1);
    config.removeKey("a/b");
    EXPECT_TRUE(sandbox.hasSubkey("a"));
    EXPECT_FALSE(sandbox.hasSubkey("a\\b"));
    EXPECT_EQ(config.readInt("a/b/one", 0), 0);
    config.removeKey("a/b");
    config.removeKey("missing/b");
    EXPECT_FALSE(sandbox.hasSubkey("missing"));
}

TEST_F(ConfigFileInSandbox, A_sub_key_with_sub_keys_in_it_stays) {
    config.writeInt("a/one", 1);
    config.writeInt("a/b/two", 1);
    config.removeKey("a");
    EXPECT_EQ(config.readInt("a/one", 0), 1);
    EXPECT_EQ(config.readInt("a/b/two", 0), 1);
}

TEST_F(ConfigFileInSandbox, Removing_a_sub_key_without_a_name_removes_nothing) {
    config.writeInt("a/one", 1);
    config.writeInt("one", 1);
    ConfigFile(config.path() + "/a").removeKey("");
    config.removeKey("a/");
    config.removeKey("");
    EXPECT_EQ(config.readInt("a/one", 0), 1);
    EXPECT_EQ(config.readInt("one", 0), 1);
}

TEST_F(ConfigFileInSandbox, A_value_and_a_sub_key_of_one_name_are_two_things) {
    config.writeInt("a", 1);
    config.writeInt("a/b", 2);
    config.removeKey("a");
    EXPECT_EQ(config.readInt("a", 0), 1);
    config.removeValue("a");
    EXPECT_EQ(config.readInt("a", 0), 0);
}

TEST_F(ConfigFileInSandbox, The_case_of_A_to_Z_does_not_count_and_is_kept_as_first_written) {
    config.writeInt("Main/Width", 1);
    config.writeInt("MAIN/wIDTH", 2);
    EXPECT_EQ(config.readInt("main/width", 0), 2);
    EXPECT_THAT(subkeys(config), ElementsAre("Main"));
    EXPECT_THAT(valueNames(config, "main"), ElementsAre("Width"));
    config.removeValue("main/WIDTH");
    EXPECT_THAT(valueNames(config, "Main"), IsEmpty());
    config.removeKey("mAIN");
    EXPECT_FALSE(sandbox.hasSubkey("Main"));
}

TEST_F(ConfigFileInSandbox, Repeated_slashes_name_the_same_place) {
    config.writeInt("a//b///c", 1);
    EXPECT_EQ(config.readInt("a/b/c", 0), 1);
    EXPECT_THAT(subkeys(config, "a//"), ElementsAre("b"));
    ConfigFile twice(config.path().replace("/", "//"));
    EXPECT_EQ(twice.readInt("a/b/c", 0), 1);
}

TEST_F(ConfigFileInSandbox, A_base_path_that_begins_with_a_slash_is_no_place) {
    ConfigFile nowhere(String("/") + config.path());
    nowhere.writeInt("value", 1);
    EXPECT_EQ(nowhere.readInt("value", 0), 0);
    EXPECT_FALSE(sandbox.hasSubkey(""));
    nowhere.removeValue("value");
    nowhere.removeKey("value");
    EXPECT_THAT(subkeys(nowhere), IsEmpty());
    EXPECT_THAT(valueNames(nowhere), IsEmpty());
}

TEST_F(ConfigFileInSandbox, An_empty_base_path_is_the_hive) {
    ConfigFile hive("");
    ConfigFile null{String()};
    const std::string name = "Tarvik test " + std::to_string(std::random_device()());
    hive.writeInt(String(name), 5);
    EXPECT_EQ(null.readInt(String(name), 0), 5);
    EXPECT_THAT(valueNames(hive), testing::Contains(name));
    hive.removeValue(String(name));
    EXPECT_EQ(hive.readInt(String(name), 0), 0);
    hive.writeInt(sandbox.base() + "/x", 6);
    EXPECT_EQ(config.readInt("x", 0), 6);
}

TEST_F(ConfigFileInSandbox, Names_longer_than_the_registry_has_are_dropped_in_silence) {
    const String longest(std::string(255, 'n'));
    config.writeInt(longest + "/x", 1);
    EXPECT_EQ(config.readInt(longest + "/x", 0), 1);
    EXPECT_THAT(subkeys(config), ElementsAre(longest.toStdString()));
    // One more is let through by some implementations of the registry.
    config.writeInt(longest + "nn/x", 1);
    EXPECT_EQ(config.readInt(longest + "nn/x", 0), 0);
    EXPECT_THAT(subkeys(config), ElementsAre(longest.toStdString()));
    const String longestValue(std::string(16383, 'v'));
    config.writeInt(longestValue, 1);
    EXPECT_EQ(config.readInt(longestValue, 0), 1);
    EXPECT_THAT(valueNames(config), ElementsAre(longestValue.toStdString()));
    config.writeInt(longestValue + "v", 1);
    EXPECT_EQ(config.readInt(longestValue + "v", 0), 0);
    EXPECT_THAT(valueNames(config), ElementsAre(longestValue.toStdString()));
}

TEST_F(ConfigFileInSandbox, A_key_without_UTF16_form_names_nothing) {
    config.writeInt("value", 1);
    config.writeInt("", 2);
    for (const char* key : {"\xFF", "\xFF/value", "a/\xC3(", "\xED\xA0\x80"}) {
        config.writeInt(key, 3);
        config.writeString(key, "text");
        expectDefaults(config, key);
        config.removeValue(key);
        config.removeKey(key);
    }
    EXPECT_THAT(subkeys(config), IsEmpty());
    EXPECT_THAT(valueNames(config), UnorderedElementsAre("value", ""));
    EXPECT_EQ(config.readInt("", 0), 2);
    EXPECT_THAT(subkeys(config, "\xFF"), IsEmpty());
    EXPECT_THAT(valueNames(config, "\xFF"), IsEmpty());
    EXPECT_THAT(valueNames(ConfigFile("\xFF")), IsEmpty());
}

TEST_F(ConfigFileInSandbox, Names_that_need_care_come_back) {
    int value = 0;
    for (const char* name :
         {" ",
          " a",
          "a ",
          "-",
          "%",
          "%41",
          "@",
          ".",
          "..",
          "=",
          "\"",
          "\n",
          "a\tb",
          "*",
          "\x7F",
          "\xC3\xA9",
          "\xF0\x9F\x98\x80",
          "end",
          "value",
          "key"}) {
        ++value;
        config.writeInt(name, value);
        config.writeInt(String(name) + "/" + name, value + 100);
        EXPECT_EQ(config.readInt(name, 0), value) << name;
        EXPECT_EQ(config.readInt(String(name) + "/" + name, 0), value + 100) << name;
        EXPECT_TRUE(sandbox.stored(name, name)) << name;
    }
    EXPECT_EQ(subkeys(config).size(), 20U);
    EXPECT_EQ(valueNames(config).size(), 20U);
}

TEST_F(ConfigFileInSandbox, Ten_thousand_random_keys_read_what_stands_where_the_model_says) {
    std::mt19937 random(3);
    for (int batch = 0; batch < 250; ++batch) {
        const std::string batchBase = "batch " + std::to_string(batch);
        std::map<std::pair<ConfigModel::Path, std::string>, std::uint32_t> expected;
        std::vector<std::string> keys;
        std::vector<ConfigSandbox::Entry> entries;
        for (std::uint32_t i = 1; i <= 40; ++i) {
            keys.push_back(ConfigKeyModel::randomKey(random, 7));
            const ConfigKeyModel::Place place = ConfigKeyModel::place(batchBase, keys.back());
            const auto [entry, isNew] = expected.try_emplace(
                {ConfigModel::lower(place.names), ConfigModel::lower(place.valueName)}, i);
            if (isNew) {
                entries.push_back(
                    {ConfigKeyModel::joined(place.names),
                     place.valueName,
                     {4, {static_cast<std::uint8_t>(i), 0, 0, 0}}});
            }
        }
        sandbox.plant(entries);
        const ConfigFile below(config.path() + "/" + String(batchBase));
        for (const std::string& key : keys) {
            const ConfigKeyModel::Place place = ConfigKeyModel::place(batchBase, key);
            ASSERT_EQ(
                below.readUnsigned(String(key), 0),
                expected.at({ConfigModel::lower(place.names), ConfigModel::lower(place.valueName)}))
                << key;
        }
        sandbox.clear();
    }
}

TEST_F(ConfigFileInSandbox, Random_keys_write_where_the_model_says) {
    std::mt19937 random(4);
    for (std::uint32_t i = 1; i <= 500; ++i) {
        const std::string key = ConfigKeyModel::randomKey(random, 7);
        config.writeUnsigned(String(key), i);
        const ConfigKeyModel::Place below = ConfigKeyModel::place("base", key);
        const ConfigModel::Path names(below.names.begin() + 1, below.names.end());
        const auto stored = sandbox.stored(ConfigKeyModel::joined(names), below.valueName);
        ASSERT_TRUE(stored) << key;
        EXPECT_EQ(
            *stored,
            (ConfigValue{4, {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i >> 8U), 0, 0}}))
            << key;
        sandbox.clear();
    }
}

TEST_F(ConfigFileInSandbox, Behaves_as_the_obvious_model_under_random_operations) {
    std::mt19937 random(5);
    ConfigModel model;
    const auto pathOf = [](const ConfigModel::Path& path) {
        String text;
        for (const std::string& name : path) {
            text = text + (text.isEmpty() ? "" : "/") + String(name).replace("/", "\\/");
        }
        return text;
    };
    const auto asSet = [](const std::vector<String>& list) {
        const std::vector<std::string> names = texts(list);
        return std::set<std::string>(names.begin(), names.end());
    };
    for (int round = 0; round < 1500; ++round) {
        const ConfigModel::Path path = ConfigModel::randomPath(random);
        const std::string name = ConfigModel::randomName(random);
        ConfigModel::Path whole = path;
        whole.push_back(name);
        const String key = pathOf(whole);
        switch (random() % 6) {
        case 0: {
            const ConfigValue value = ConfigModel::randomValue(random);
            config.writeBlob(key, value.data);
            model.write(path, name, {3, value.data});
            break;
        }
        case 1:
            config.removeValue(key);
            model.removeValue(path, name);
            break;
        case 2:
            config.removeKey(key);
            model.removeSubkey(path, name);
            break;
        case 3: {
            std::vector<String> names;
            const String subkey = pathOf(path);
            config.subkeys(names, subkey);
            ASSERT_EQ(asSet(names), model.subkeys(path)) << round;
            config.valueNames(names, subkey);
            ASSERT_EQ(asSet(names), model.valueNames(path)) << round;
            break;
        }
        default: {
            Bytes blob;
            const auto expected = model.value(path, name);
            ASSERT_EQ(config.readBlob(key, blob), expected.has_value()) << round;
            ASSERT_EQ(blob, expected.value_or(ConfigValue()).data) << round;
            break;
        }
        }
    }
}

TEST_F(ConfigFileInSandbox, Threads_that_write_different_keys_lose_nothing) {
    constexpr int threads = 4;
    constexpr int values = 40;
    std::vector<std::thread> writers;
    for (int thread = 0; thread < threads; ++thread) {
        writers.emplace_back([&, thread] {
            // Of its own, as the program's places have.
            ConfigFile own(sandbox.base());
            for (int i = 0; i < values; ++i) {
                own.writeInt(String("%1/%2").arg(thread).arg(i), i);
                EXPECT_EQ(own.readInt(String("%1/%2").arg(thread).arg(i), -1), i);
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    for (int thread = 0; thread < threads; ++thread) {
        for (int i = 0; i < values; ++i) {
            EXPECT_EQ(config.readInt(String("%1/%2").arg(thread).arg(i), -1), i);
        }
    }
}

} // namespace
