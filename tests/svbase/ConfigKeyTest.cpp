#include "svbase/util/ConfigKey.h"

#include "svbase/ConfigKeyModel.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using Util::ConfigKey;

/// "sub-key|value name"
std::string place(const char* base, const char* key) {
    const ConfigKey result = ConfigKey::ofValue(base, key);
    return result.subkey.toStdString() + "|" + result.valueName.toStdString();
}

std::string path(const char* base, const char* below) {
    return ConfigKey::ofSubkey(base, below).toStdString();
}

TEST(ConfigKey, The_last_component_is_the_name_of_the_value) {
    EXPECT_EQ(place("SOFTWARE/Solvane", "Gain"), "SOFTWARE\\Solvane|Gain");
    EXPECT_EQ(place("SOFTWARE/Solvane", "UI/Main/Width"), "SOFTWARE\\Solvane\\UI\\Main|Width");
}

TEST(ConfigKey, A_slash_inside_of_a_component_is_written_with_a_backslash_before_it) {
    EXPECT_EQ(place("B", "a\\/b/c"), "B\\a/b|c");
    EXPECT_EQ(place("B", "a/b\\/c"), "B\\a|b/c");
    EXPECT_EQ(place("B", "\\/"), "B|/");
    EXPECT_EQ(place("B", "\\/\\/x/\\/y"), "B\\//x|/y");
}

TEST(ConfigKey, A_backslash_separates_like_a_slash) {
    EXPECT_EQ(place("A\\B", "c\\d"), "A\\B\\c|d");
    EXPECT_EQ(place("B", "a\\\\/b"), "B\\a|/b") << "the second one belongs to the slash";
}

TEST(ConfigKey, Base_and_key_meet_at_one_slash) {
    EXPECT_EQ(place("B/", "x"), "B|x");
    EXPECT_EQ(place("B", "/x"), "B|x");
    EXPECT_EQ(place("B/", "/x"), "B|x");
    EXPECT_EQ(place("B\\", "\\x"), "B|x");
    EXPECT_EQ(place("B", "\\/x"), "B|/x") << "this one is no separator";
}

TEST(ConfigKey, Doubled_slashes_elsewhere_stay) {
    EXPECT_EQ(place("A//B", "c//d"), "A\\\\B\\c\\|d");
    EXPECT_EQ(place("/A", "d"), "\\A|d");
}

TEST(ConfigKey, An_empty_key_names_the_default_value_of_the_base) {
    EXPECT_EQ(place("Filter/{0}", ""), "Filter\\{0}|");
    EXPECT_EQ(place("Filter", ""), "Filter|");
    EXPECT_EQ(place("Filter", "x/"), "Filter\\x|");
}

TEST(ConfigKey, Without_a_slash_the_sub_key_is_the_base_alone) {
    EXPECT_EQ(place("", "name"), "|name");
    EXPECT_EQ(place("", ""), "|");
    EXPECT_EQ(place("", "a/name"), "a|name");
}

TEST(ConfigKey, The_character_7_is_a_slash_inside_of_a_component) {
    EXPECT_EQ(place("B", "a\ab/c\ad"), "B\\a/b|c/d");
    EXPECT_EQ(place("B\aB", "c"), "B/B|c");
}

TEST(ConfigKey, Texts_end_at_their_first_NUL) {
    const ConfigKey key =
        ConfigKey::ofValue(String(std::string("B\0/C", 4)), String(std::string("a/b\0/c", 6)));
    EXPECT_EQ(key.subkey.toStdString(), "B\\a");
    EXPECT_EQ(key.valueName.toStdString(), "b");
}

TEST(ConfigKey, A_path_of_sub_keys_has_the_same_grammar) {
    EXPECT_EQ(path("A/B", ""), "A\\B");
    EXPECT_EQ(path("A/B", "c/d"), "A\\B\\c\\d");
    EXPECT_EQ(path("A/B/", "c\\/d"), "A\\B\\c/d");
    EXPECT_EQ(path("A\\/B", ""), "A/B");
    EXPECT_EQ(path("", "c/d"), "c\\d");
    EXPECT_EQ(path("", ""), "");
}

TEST(ConfigKey, Ten_thousand_random_keys_agree_with_the_model) {
    std::mt19937 random(1);
    for (int round = 0; round < 10'000; ++round) {
        const std::string base = round % 16 == 0 ? "" : ConfigKeyModel::randomKey(random, 6);
        const std::string key = round % 16 == 1 ? "" : ConfigKeyModel::randomKey(random, 10);
        const ConfigKeyModel::Place expected = ConfigKeyModel::place(base, key);
        const ConfigKey actual = ConfigKey::ofValue(String(base), String(key));
        ASSERT_EQ(actual.subkey.toStdString(), expected.subkey) << base << " + " << key;
        ASSERT_EQ(actual.valueName.toStdString(), expected.valueName) << base << " + " << key;
        if (!key.empty()) {
            EXPECT_EQ(
                ConfigKey::ofSubkey(String(base), String(key)).toStdString(),
                ConfigKeyModel::joined(ConfigKeyModel::parts(base, key)))
                << base << " + " << key;
        }
    }
}

} // namespace
