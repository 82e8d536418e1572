#include "controller/KeyValueCoding.h"

#include "controller/ParamMemory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using Controller::KeyValueCoding;
using Controller::KVCObject;
using testing::ElementsAre;

class Plain final : public KeyValueCoding {};

class Node final : public KeyValueCoding {
public:
    boost::any valueForKey(const String& key) override {
        asked.push_back(key.toStdString());
        const auto found = values.find(key.toStdString());
        return found == values.end() ? boost::any() : found->second;
    }
    void put(const char* key, KeyValueCoding& next) { values[key] = &next; }
    void put(const char* key, KVCObject& object) { values[key] = &object; }

    std::map<std::string, boost::any> values;
    std::vector<std::string> asked;
};

TEST(KeyValueCoding, Knows_no_keys_by_itself) {
    Plain plain;
    EXPECT_TRUE(plain.valueForKey("any").empty());
    EXPECT_EQ(plain.objectForKey("any"), nullptr);
    EXPECT_TRUE(plain.allKeys().empty());
    EXPECT_TRUE(plain.valueForKeyPath("a.b").empty());
    EXPECT_EQ(plain.objectForKeyPath("a.b"), nullptr);
}

TEST(KeyValueCoding, A_path_without_a_dot_is_a_key) {
    Node root;
    KVCObject object;
    root.put("gain", object);
    root.values["size"] = 7;
    EXPECT_EQ(root.objectForKeyPath("gain"), &object);
    EXPECT_EQ(boost::any_cast<int>(root.valueForKeyPath("size")), 7);
    EXPECT_TRUE(root.valueForKeyPath("other").empty());
}

TEST(KeyValueCoding, The_empty_path_is_the_empty_key) {
    Node root;
    root.values[""] = 7;
    EXPECT_EQ(boost::any_cast<int>(root.valueForKeyPath("")), 7);
    EXPECT_EQ(boost::any_cast<int>(root.valueForKeyPath(String())), 7);
}

TEST(KeyValueCoding, A_path_leads_through_objects_that_have_keys) {
    Node root, a, b;
    KVCObject object;
    root.put("a", a);
    a.put("b", b);
    b.put("gain", object);
    EXPECT_EQ(root.objectForKeyPath("a.b.gain"), &object);
    EXPECT_EQ(boost::any_cast<KVCObject*>(root.valueForKeyPath("a.b.gain")), &object);
    EXPECT_THAT(root.asked, ElementsAre("a", "a"));
    EXPECT_THAT(b.asked, ElementsAre("gain", "gain"));
}

TEST(KeyValueCoding, A_head_that_holds_an_integer_leads_nowhere) {
    Node root;
    root.values["a"] = 5;
    EXPECT_TRUE(root.valueForKeyPath("a.b").empty());
    EXPECT_EQ(root.objectForKeyPath("a.b"), nullptr);
}

TEST(KeyValueCoding, A_head_that_holds_an_object_without_keys_leads_nowhere) {
    Node root;
    KVCObject object;
    root.put("a", object);
    EXPECT_TRUE(root.valueForKeyPath("a.b").empty());
}

TEST(KeyValueCoding, A_head_that_holds_null_leads_nowhere) {
    Node root;
    root.values["a"] = static_cast<KeyValueCoding*>(nullptr);
    EXPECT_TRUE(root.valueForKeyPath("a.b").empty());
    EXPECT_EQ(root.objectForKeyPath("a.b"), nullptr);
}

TEST(KeyValueCoding, A_trailing_dot_asks_for_the_empty_key) {
    Node root, a;
    root.put("a", a);
    a.values[""] = 7;
    EXPECT_EQ(boost::any_cast<int>(root.valueForKeyPath("a.")), 7);
    EXPECT_THAT(a.asked, ElementsAre(""));
}

TEST(KeyValueCoding, A_leading_dot_asks_for_the_empty_key_first) {
    Node root, unnamed;
    root.put("", unnamed);
    unnamed.values["a"] = 7;
    EXPECT_EQ(boost::any_cast<int>(root.valueForKeyPath(".a")), 7);
    EXPECT_THAT(root.asked, ElementsAre(""));
    EXPECT_THAT(unnamed.asked, ElementsAre("a"));
}

TEST(KeyValueCoding, An_object_is_found_only_under_its_exact_pointer_type) {
    Node root;
    Controller::FloatParamMemory gain(1.0f, {0.0f, 2.0f}, "gain");
    root.values["derived"] = &gain;
    root.values["object"] = static_cast<KVCObject*>(&gain);
    EXPECT_EQ(root.objectForKey("derived"), nullptr);
    EXPECT_EQ(root.objectForKey("object"), &gain);
    EXPECT_EQ(dynamic_cast<Controller::FloatParam*>(root.objectForKey("object")), &gain);
}

TEST(KeyValueCoding, A_class_may_answer_whole_paths_itself) {
    class Whole final : public KeyValueCoding {
    public:
        boost::any valueForKeyPath(const String& path) override { return path.toStdString(); }
    };
    Node root;
    Whole whole;
    root.put("whole", whole);
    EXPECT_EQ(boost::any_cast<std::string>(root.valueForKeyPath("whole.x.y")), "x.y");
}

/// Walks the whole path at once, split at its dots.
boost::any modelValue(Node& root, const std::string& path) {
    std::vector<std::string> keys(1);
    for (const char letter : path) {
        if (letter == '.') {
            keys.emplace_back();
        } else {
            keys.back().push_back(letter);
        }
    }
    Node* node = &root;
    for (std::size_t i = 0; i + 1 < keys.size(); ++i) {
        const auto found = node->values.find(keys[i]);
        if (found == node->values.end() || found->second.type() != typeid(KeyValueCoding*)) {
            return {};
        }
        node = static_cast<Node*>(boost::any_cast<KeyValueCoding*>(found->second));
    }
    const auto found = node->values.find(keys.back());
    return found == node->values.end() ? boost::any() : found->second;
}

TEST(KeyValueCoding, Random_paths_resolve_as_the_obvious_walk_does) {
    std::mt19937 random(1);
    int resolved = 0;
    for (int round = 0; round < 200; ++round) {
        std::vector<Node> nodes(5);
        const char* const keys[] = {"", "a", "b", "ab"};
        for (Node& node : nodes) {
            for (const char* key : keys) {
                if (random() % 3 != 0) {
                    node.put(key, static_cast<KeyValueCoding&>(nodes[random() % nodes.size()]));
                } else if (random() % 2 == 0) {
                    node.values[key] = static_cast<int>(random() % 1000);
                }
            }
        }
        for (int i = 0; i < 50; ++i) {
            std::string path;
            for (auto length = random() % 8; length > 0; --length) {
                path.push_back("ab.."[random() % 4]);
            }
            const boost::any expected = modelValue(nodes[0], path);
            const boost::any actual = nodes[0].valueForKeyPath(String(path));
            ASSERT_EQ(actual.type(), expected.type()) << path;
            if (const int* const number = boost::any_cast<int>(&expected)) {
                ASSERT_EQ(boost::any_cast<int>(actual), *number) << path;
                ++resolved;
            }
        }
    }
    EXPECT_GT(resolved, 500);
}

} // namespace
