// Random sequences of everything that may be done to a signal, from outside and from within its slots,
// against a model that never removes anything and looks each fact up when it is asked.

#include "svbase/util/Signal.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Log = std::vector<std::string>;

/// What a script can do to the world that it runs in.
class World {
public:
    virtual ~World() = default;
    virtual void emit(int value) = 0;
    virtual void connect(int listener, int slot) = 0;
    virtual void disconnect(int slot) = 0;
    virtual void createListener(int listener) = 0;
    virtual void destroyListener(int listener) = 0;

    int newListener() {
        createListener(listeners);
        return listeners++;
    }
    void newSlot(int listener) { connect(listener, slots++); }

    /// What slot does with value: it depends on the two and on nothing that the worlds could differ in.
    void called(int slot, int value) {
        log.push_back(std::to_string(slot) + ":" + std::to_string(value));
        std::mt19937 random(static_cast<unsigned>(slot * 7919 + value));
        for (auto i = random() % 3; i > 0; --i) {
            act(random, value);
        }
    }

    void act(std::mt19937& random, int value) {
        const int listener = static_cast<int>(random() % static_cast<unsigned>(listeners));
        switch (random() % 8) {
        case 0:
        case 1:
            // Each generation emits less, and there is an end to slots: so that every sequence ends soon.
            if (value > 0 && log.size() < 300) {
                emit(value - 1 - static_cast<int>(random() % 3));
            }
            break;
        case 2:
        case 3:
            if (slots < 40) {
                newSlot(listener);
            }
            break;
        case 4:
            if (slots > 0) {
                disconnect(static_cast<int>(random() % static_cast<unsigned>(slots)));
            }
            break;
        case 5:
            destroyListener(listener);
            break;
        default:
            newListener();
            break;
        }
    }

    Log log;
    int listeners = 0;
    int slots = 0;
};

class RealWorld final : public World {
public:
    void emit(int value) override { signal.emit(value); }
    void createListener(int listener) override { alive[listener] = std::make_unique<Trackable>(); }
    void destroyListener(int listener) override { alive.erase(listener); }
    void connect(int listener, int slot) override {
        if (const auto found = alive.find(listener); found != alive.end()) {
            connections[slot] =
                signal.connect(*found->second, [this, slot](const int& value) { called(slot, value); });
        }
    }
    void disconnect(int slot) override {
        if (const auto found = connections.find(slot); found != connections.end()) {
            signal.disconnect(found->second);
        }
    }

private:
    std::map<int, std::unique_ptr<Trackable>> alive;
    std::map<int, Connection> connections;
    Signal<const int&> signal;
};

class ModelWorld final : public World {
public:
    void emit(int value) override {
        queue.push_back(value);
        if (running) {
            return;
        }
        running = true;
        for (; !queue.empty(); queue.pop_front()) {
            const std::size_t count = order.size();
            for (std::size_t i = 0; i < count; ++i) {
                const ModelSlot slot = order[i];
                if (alive[slot.listener] && !disconnected[slot.id]) {
                    called(slot.id, queue.front());
                }
            }
        }
        running = false;
    }
    void createListener(int listener) override { alive[listener] = true; }
    void destroyListener(int listener) override { alive[listener] = false; }
    void connect(int listener, int slot) override {
        if (alive[listener]) {
            order.push_back({slot, listener});
        }
    }
    void disconnect(int slot) override { disconnected[slot] = true; }

private:
    struct ModelSlot {
        int id;
        int listener;
    };
    std::vector<ModelSlot> order;
    std::map<int, bool> alive;
    std::map<int, bool> disconnected;
    std::deque<int> queue;
    bool running = false;
};

Log play(World& world, unsigned seed) {
    std::mt19937 random(seed);
    for (int i = 0; i < 4; ++i) {
        world.newSlot(world.newListener());
    }
    for (int step = 0; step < 12 && world.log.size() < 2000; ++step) {
        if (random() % 2 == 0) {
            world.emit(static_cast<int>(random() % 5));
        } else {
            world.act(random, 4);
        }
    }
    return world.log;
}

TEST(Signal, Behaves_as_the_obvious_model_under_random_operations) {
    std::size_t calls = 0;
    for (unsigned seed = 0; seed < 1500; ++seed) {
        RealWorld real;
        ModelWorld model;
        const Log expected = play(model, seed);
        ASSERT_EQ(play(real, seed), expected) << "seed " << seed;
        ASSERT_EQ(real.slots, model.slots) << "seed " << seed;
        calls += expected.size();
    }
    EXPECT_GT(calls, 10000u) << "the sequences must exercise something";
}

} // namespace
