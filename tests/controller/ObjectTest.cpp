#include "controller/Object.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Tells its end.
class Node : public Object {
public:
    Node(const char* name, std::vector<std::string>& log) : Object(name), log_(log) {}
    ~Node() override {
        log_.push_back(objectName().toStdString());
        if (atEnd) {
            atEnd();
        }
    }

    using Object::beginDestruction;

    std::function<void()> atEnd;

private:
    std::vector<std::string>& log_;
};

class ObjectTest : public testing::Test {
protected:
    Node* make(const char* name) { return new Node(name, log); }
    std::vector<std::string> log;
};

TEST_F(ObjectTest, Takes_its_name_from_the_constructor_and_stands_alone) {
    const Object object("Canvas");
    EXPECT_EQ(object.objectName(), "Canvas");
    EXPECT_EQ(object.parent(), nullptr);
    EXPECT_THAT(object.children(), IsEmpty());
    EXPECT_FALSE(object.isBeingDestroyed());
    EXPECT_FALSE(object.isOwnedByParent());
}

TEST_F(ObjectTest, A_parent_destroys_its_children_first_to_last_after_its_own_part) {
    Node* const root = make("root");
    root->addChild(make("a"));
    Node* const b = make("b");
    root->addChild(b);
    b->addChild(make("b1"));
    root->addChild(make("c"));
    EXPECT_EQ(b->parent(), root);
    EXPECT_TRUE(b->isOwnedByParent());
    delete root;
    EXPECT_THAT(log, ElementsAre("root", "a", "b", "b1", "c"));
}

TEST_F(ObjectTest, Ignores_a_null_child) {
    Object root("root");
    root.addChild(nullptr);
    EXPECT_THAT(root.children(), IsEmpty());
}

TEST_F(ObjectTest, Ignores_a_child_that_has_a_parent) {
    Object first("first");
    Object second("second");
    Node* const child = make("child");
    first.addChild(child);
    first.addChild(child);
    second.addChild(child);
    EXPECT_THAT(first.children(), ElementsAre(child));
    EXPECT_THAT(second.children(), IsEmpty());
    EXPECT_EQ(child->parent(), &first);
}

TEST_F(ObjectTest, A_child_destroyed_by_hand_leaves_a_null_slot_that_the_parent_skips) {
    Node* const root = make("root");
    Node* const a = make("a");
    Node* const b = make("b");
    root->addChild(a);
    root->addChild(b);
    delete a;
    EXPECT_THAT(root->children(), ElementsAre(nullptr, b));
    delete root;
    EXPECT_THAT(log, ElementsAre("a", "root", "b"));
}

TEST_F(ObjectTest, A_child_that_ends_with_its_parent_leaves_the_parents_list_alone) {
    Node* const root = make("root");
    Node* const a = make("a");
    root->addChild(a);
    Object* seen = nullptr;
    a->atEnd = [&] { seen = root->children()[0]; };
    delete root;
    EXPECT_EQ(seen, a) << "the entry is cleared after the delete, by the parent";
}

TEST_F(ObjectTest, Children_added_by_a_childs_end_are_destroyed_as_well) {
    Node* const root = make("root");
    Node* const a = make("a");
    root->addChild(a);
    a->atEnd = [&] {
        for (const char* name : {"late1", "late2", "late3"}) {
            root->addChild(make(name));
        }
    };
    delete root;
    EXPECT_THAT(log, ElementsAre("root", "a", "late1", "late2", "late3"));
}

TEST_F(ObjectTest, The_first_step_of_the_destruction_may_come_early_and_comes_once) {
    Node* const root = make("root");
    Node* const child = make("child");
    root->addChild(child);
    child->beginDestruction();
    EXPECT_TRUE(child->isBeingDestroyed());
    EXPECT_THAT(root->children(), ElementsAre(nullptr));
    delete root;
    EXPECT_THAT(log, ElementsAre("root"));
    delete child;
    EXPECT_THAT(log, ElementsAre("root", "child")) << "did not touch the parent that is gone";
}

TEST_F(ObjectTest, Its_token_lives_until_the_children_are_gone) {
    Node* const root = make("root");
    Node* const child = make("child");
    root->addChild(child);
    const auto token = root->trackableToken();
    bool alive = false;
    child->atEnd = [&] { alive = !token.expired(); };
    delete root;
    EXPECT_TRUE(alive);
    EXPECT_TRUE(token.expired());
}

TEST_F(ObjectTest, Random_trees_end_each_node_once_in_the_order_of_the_model) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        std::mt19937 random(seed);
        log.clear();
        std::map<int, Node*> nodes;
        std::map<int, std::vector<int>> children;
        std::map<int, int> parents;
        std::vector<std::string> expected;
        const auto end = [&](int id) {
            const auto walk = [&](int node, const auto& self) -> void {
                expected.push_back(std::to_string(node));
                for (const int child : children[node]) {
                    self(child, self);
                }
                nodes.erase(node);
            };
            if (const auto parent = parents.find(id); parent != parents.end()) {
                std::erase(children[parent->second], id);
            }
            Node* const node = nodes[id];
            walk(id, walk);
            delete node;
        };
        for (int id = 0; id < 40; ++id) {
            nodes[id] = make(std::to_string(id).c_str());
            const int target = static_cast<int>(random() % 40);
            const auto parent = nodes.find(target);
            if (parent != nodes.end() && target != id && random() % 4 != 0) {
                parent->second->addChild(nodes[id]);
                children[target].push_back(id);
                parents[id] = target;
            }
            if (random() % 5 == 0) {
                auto victim = nodes.begin();
                std::advance(victim, random() % nodes.size());
                end(victim->first);
            }
        }
        while (!nodes.empty()) {
            end(nodes.begin()->first);
        }
        ASSERT_EQ(log, expected) << "seed " << seed;
    }
}

} // namespace
