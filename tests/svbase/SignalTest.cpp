#include "svbase/util/Signal.h"

#include "support/AllocationCount.h"

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Signal, Slots_are_called_in_the_order_of_their_connection) {
    Trackable listener;
    Signal<int> signal;
    std::vector<std::string> log;
    signal.connect(listener, [&](int v) { log.push_back("a" + std::to_string(v)); });
    signal.connect(listener, [&](int v) { log.push_back("b" + std::to_string(v)); });
    signal.connect(listener, [&](int v) { log.push_back("c" + std::to_string(v)); });
    signal.emit(1);
    signal.emit(2);
    EXPECT_THAT(log, ElementsAre("a1", "b1", "c1", "a2", "b2", "c2"));
}

TEST(Signal, Emitting_without_listeners_does_nothing) {
    Signal<int, std::string> signal;
    const std::string one = "one";
    const std::uint64_t before = AllocationCount();
    EXPECT_NO_THROW(signal.emit(1, one));
    EXPECT_EQ(AllocationCount(), before);
}

TEST(Signal, A_slot_that_emits_gets_its_second_value_after_the_round_has_reached_all_slots) {
    Trackable listener;
    Signal<int> signal;
    std::vector<std::string> log;
    signal.connect(listener, [&](int v) {
        log.push_back("first" + std::to_string(v));
        if (v < 3) {
            signal.emit(v + 1);
        }
    });
    signal.connect(listener, [&](int v) { log.push_back("last" + std::to_string(v)); });
    signal.emit(1);
    EXPECT_THAT(log, ElementsAre("first1", "last1", "first2", "last2", "first3", "last3"));
}

TEST(Signal, Nested_emissions_are_delivered_in_their_order) {
    Trackable listener;
    Signal<int> signal;
    std::vector<int> log;
    signal.connect(listener, [&](int v) {
        log.push_back(v);
        if (v < 100) {
            signal.emit(v * 10 + 100);
            signal.emit(v * 10 + 101);
        }
    });
    signal.emit(1);
    EXPECT_THAT(log, ElementsAre(1, 110, 111));
}

TEST(Signal, A_nested_emission_keeps_a_copy_of_what_it_is_given_by_reference) {
    Trackable listener;
    Signal<const std::string&> signal;
    std::vector<std::string> log;
    signal.connect(listener, [&](const std::string& text) {
        log.push_back(text);
        if (text == "outer") {
            std::string shortLived = "a text too long to be held in place by a string";
            signal.emit(shortLived);
            shortLived = "gone";
        }
    });
    signal.emit("outer");
    EXPECT_THAT(log, ElementsAre("outer", "a text too long to be held in place by a string"));
}

TEST(Signal, Arguments_by_reference_reach_the_slots_uncopied) {
    Trackable listener;
    Signal<int&> signal;
    signal.connect(listener, [](int& v) { v += 1; });
    signal.connect(listener, [](int& v) { v *= 10; });
    int value = 2;
    signal.emit(value);
    EXPECT_EQ(value, 30);
}

TEST(Signal, A_slot_connected_during_an_emission_is_not_called_in_that_round) {
    Trackable listener;
    Signal<int> signal;
    std::vector<int> late;
    bool connected = false;
    signal.connect(listener, [&](int) {
        if (!connected) {
            connected = true;
            signal.connect(listener, [&](int v) { late.push_back(v); });
        }
    });
    signal.emit(1);
    EXPECT_THAT(late, IsEmpty());
    signal.emit(2);
    EXPECT_THAT(late, ElementsAre(2));
}

TEST(Signal, A_slot_connected_during_a_round_is_called_in_a_queued_later_round) {
    Trackable listener;
    Signal<int> signal;
    std::vector<int> late;
    signal.connect(listener, [&](int v) {
        if (v == 1) {
            signal.emit(2);
            signal.connect(listener, [&](int w) { late.push_back(w); });
        }
    });
    signal.emit(1);
    EXPECT_THAT(late, ElementsAre(2));
}

TEST(Signal, A_slot_connected_during_an_emission_stands_before_one_connected_after_it) {
    Trackable listener;
    Signal<> signal;
    std::vector<std::string> log;
    bool connected = false;
    signal.connect(listener, [&] {
        if (!connected) {
            connected = true;
            signal.connect(listener, [&] { log.push_back("during"); });
        }
    });
    signal.emit();
    signal.connect(listener, [&] { log.push_back("after"); });
    signal.emit();
    EXPECT_THAT(log, ElementsAre("during", "after"));
}

TEST(Signal, A_slot_that_connects_many_others_goes_on_with_what_it_holds) {
    Trackable listener;
    Signal<> signal;
    std::string seen;
    const std::string held = "held in the function itself, too long for a small string";
    signal.connect(listener, [&, held] {
        for (int i = 0; i < 100; ++i) {
            signal.connect(listener, [] {});
        }
        seen = held;
    });
    signal.emit();
    EXPECT_EQ(seen, held);
}

TEST(Signal, A_listener_destroyed_before_the_emission_is_not_called) {
    Signal<> signal;
    int calls = 0;
    {
        Trackable listener;
        signal.connect(listener, [&] { ++calls; });
    }
    signal.emit();
    EXPECT_EQ(calls, 0);
}

TEST(Signal, A_listener_destroyed_in_an_earlier_slot_is_skipped_in_the_same_round) {
    Trackable killer;
    auto victim = std::make_unique<Trackable>();
    Signal<> signal;
    std::vector<std::string> log;
    signal.connect(killer, [&] {
        log.push_back("killer");
        victim.reset();
    });
    signal.connect(*victim, [&] { log.push_back("victim"); });
    signal.connect(killer, [&] { log.push_back("other"); });
    signal.emit();
    EXPECT_THAT(log, ElementsAre("killer", "other"));
}

TEST(Signal, A_listener_may_be_destroyed_in_its_own_slot) {
    auto listener = std::make_unique<Trackable>();
    Signal<> signal;
    int calls = 0;
    const std::string held = "what the function holds outlives the listener until the next round";
    signal.connect(*listener, [&, held] {
        listener.reset();
        calls += held.empty() ? 0 : 1;
    });
    signal.emit();
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(Signal, Destroying_the_owner_of_the_signal_in_a_slot_does_not_stop_the_emission) {
    struct Owner {
        Signal<int> signal;
    };
    auto owner = std::make_unique<Owner>();
    Trackable listener;
    std::vector<std::string> log;
    owner->signal.connect(listener, [&](int v) {
        log.push_back("first" + std::to_string(v));
        if (owner) {
            owner->signal.emit(v + 1);
            owner.reset();
        }
    });
    owner->signal.connect(listener, [&](int v) { log.push_back("second" + std::to_string(v)); });
    owner->signal.emit(1);
    EXPECT_THAT(log, ElementsAre("first1", "second1", "first2", "second2"));
}

TEST(Signal, A_listener_may_outlive_the_signal) {
    const auto held = std::make_shared<int>(1);
    {
        Trackable listener;
        {
            Signal<> signal;
            signal.connect(listener, [held] {});
            EXPECT_EQ(held.use_count(), 2);
        }
        EXPECT_EQ(held.use_count(), 1) << "the slot goes with its signal";
    }
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Signal, A_disconnected_slot_is_not_called) {
    Trackable listener;
    Signal<> signal;
    int calls = 0;
    const Connection connection = signal.connect(listener, [&] { ++calls; });
    signal.emit();
    signal.disconnect(connection);
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(Signal, A_slot_disconnected_by_an_earlier_slot_is_skipped_in_the_same_round) {
    Trackable listener;
    Signal<> signal;
    Connection second;
    int calls = 0;
    signal.connect(listener, [&] { signal.disconnect(second); });
    second = signal.connect(listener, [&] { ++calls; });
    signal.emit();
    EXPECT_EQ(calls, 0);
}

TEST(Signal, A_slot_connected_and_disconnected_within_one_round_is_never_called) {
    Trackable listener;
    Signal<> signal;
    int calls = 0;
    signal.connect(listener, [&] { signal.disconnect(signal.connect(listener, [&] { ++calls; })); });
    signal.emit();
    signal.emit();
    EXPECT_EQ(calls, 0);
}

TEST(Signal, Disconnecting_keeps_what_the_slot_holds_until_its_listener_ends) {
    const auto held = std::make_shared<int>(1);
    Signal<> signal;
    {
        Trackable listener;
        signal.disconnect(signal.connect(listener, [held] {}));
        signal.emit();
        EXPECT_EQ(held.use_count(), 2);
    }
    EXPECT_EQ(held.use_count(), 2) << "nobody told the signal";
    signal.emit();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Signal, A_connection_of_another_signal_is_ignored) {
    Trackable listener;
    Signal<> signal;
    Signal<> other;
    int calls = 0;
    signal.connect(listener, [&] { ++calls; });
    signal.disconnect(other.connect(listener, [] {}));
    signal.disconnect(Connection());
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(Signal, A_connection_may_be_dropped_or_outlive_the_signal) {
    Trackable listener;
    const auto held = std::make_shared<int>(1);
    Connection connection;
    {
        Signal<> signal;
        connection = signal.connect(listener, [held] {});
    }
    EXPECT_EQ(held.use_count(), 2) << "the connection keeps the record";
    connection = Connection();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Signal, A_full_signal_makes_room_by_dropping_slots_of_dead_listeners_before_it_grows) {
    const auto held = std::make_shared<int>(1);
    Signal<> signal;
    {
        Trackable dead;
        signal.connect(dead, [held] {});
    }
    EXPECT_EQ(held.use_count(), 2);
    Trackable listener;
    signal.connect(listener, [] {});
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Signal, An_exception_of_a_slot_passes_out_and_the_signal_stays_usable) {
    Trackable listener;
    Signal<int> signal;
    std::vector<std::string> log;
    signal.connect(listener, [&](int v) {
        log.push_back("first" + std::to_string(v));
        if (v == 1) {
            signal.emit(99);
            throw std::runtime_error("slot");
        }
    });
    signal.connect(listener, [&](int v) { log.push_back("second" + std::to_string(v)); });
    EXPECT_THROW(signal.emit(1), std::runtime_error);
    EXPECT_THAT(log, ElementsAre("first1")) << "later slots and queued values are dropped";
    log.clear();
    signal.emit(2);
    EXPECT_THAT(log, ElementsAre("first2", "second2"));
}

TEST(Signal, An_empty_function_fails_as_a_call_of_an_empty_function) {
    Trackable listener;
    Signal<> signal;
    signal.connect(listener, nullptr);
    EXPECT_THROW(signal.emit(), std::bad_function_call);
    EXPECT_THROW(signal.emit(), std::bad_function_call) << "not queued behind the failed one";
}

TEST(Signal, Emitting_out_of_the_signals_own_destruction_is_an_error_of_use) {
    struct Emitter {
        Signal<>* signal;
        bool* threw;
        ~Emitter() {
            try {
                signal->emit();
            } catch (const std::bad_weak_ptr&) {
                *threw = true;
            }
        }
    };
    Trackable listener;
    bool threw = false;
    {
        Signal<> signal;
        signal.connect(listener, [emitter = std::make_shared<Emitter>(&signal, &threw)] {});
    }
    EXPECT_TRUE(threw);
}

TEST(Signal, What_a_removed_slot_holds_may_connect_and_emit_while_it_ends) {
    struct Meddler {
        Signal<>* signal;
        Trackable* listener;
        int* calls;
        ~Meddler() {
            for (int i = 0; i < 10; ++i) {
                signal->connect(*listener, [n = calls] { ++*n; });
            }
            signal->emit();
        }
    };
    Trackable listener;
    Signal<> signal;
    int calls = 0;
    auto dying = std::make_unique<Trackable>();
    signal.connect(*dying, [held = std::make_shared<Meddler>(&signal, &listener, &calls)] {});
    dying.reset();
    signal.emit();
    EXPECT_EQ(calls, 20) << "connected before the round took its count, and once more by the queued emission";
}

TEST(Signal, Connecting_and_emitting_with_one_listener_allocates_nothing) {
    Trackable listener;
    Signal<const float&> signal;
    float seen = 0;
    const auto before = AllocationCount();
    signal.connect(listener, [&](const float& v) { seen += v; });
    for (int i = 0; i < 100; ++i) {
        signal.emit(1.0f);
    }
    EXPECT_EQ(AllocationCount() - before, 0u);
    EXPECT_EQ(seen, 100.0f);
}

TEST(Signal, Emitting_with_many_listeners_some_of_them_dead_allocates_nothing) {
    std::vector<std::unique_ptr<Trackable>> listeners;
    Signal<int> signal;
    int calls = 0;
    for (int i = 0; i < 50; ++i) {
        listeners.push_back(std::make_unique<Trackable>());
        signal.connect(*listeners.back(), [&](int) { ++calls; });
    }
    signal.emit(1);
    const auto before = AllocationCount();
    signal.emit(1);
    EXPECT_EQ(AllocationCount() - before, 0u);
    EXPECT_EQ(calls, 100);
}

TEST(AllocationCount, Sees_a_nested_emission) {
    Trackable listener;
    Signal<int> signal;
    signal.connect(listener, [&](int v) {
        if (v == 1) {
            signal.emit(2);
        }
    });
    const auto before = AllocationCount();
    signal.emit(1);
    EXPECT_GT(AllocationCount() - before, 0u) << "the counter must be able to fail the tests beside it";
}

TEST(Trackable, Its_token_expires_with_it) {
    std::weak_ptr<TrackableInternals> token;
    {
        Trackable trackable;
        token = trackable.trackableToken();
        EXPECT_FALSE(token.expired());
    }
    EXPECT_TRUE(token.expired());
}

struct Observed : DestructorObserver {
    explicit Observed(std::vector<std::string>& events) : log(events) {}
    ~Observed() { log.push_back("derived part"); }
    std::vector<std::string>& log;
};

TEST(DestructorObserver, Tells_its_end_after_the_derived_part_has_gone) {
    Trackable listener;
    std::vector<std::string> log;
    {
        Observed observed(log);
        observed.destroyed().connect(listener, [&] { log.push_back("destroyed"); });
    }
    EXPECT_THAT(log, ElementsAre("derived part", "destroyed"));
}

} // namespace
