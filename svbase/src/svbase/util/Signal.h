#pragma once

#include "svbase/util/Noncopyable.h"
#include "svbase/util/Trackable.h"

#include <boost/container/small_vector.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

namespace sv_signal_detail {

/// What a Signal owns and an emission keeps alive.
///
/// Re-entrance: a slot may do anything to the signal, to its owner and to any listener. While `emitting` is
/// set, `slots` changes between rounds alone, so that the function being called stays where it is: slots
/// connected meanwhile wait in `arrivals` until the next round, arguments emitted meanwhile in `pending`.
/// What is removed is moved out first and destroyed last, because the destructor of what a function holds
/// may come back here.
template<class... Args>
class SignalInternals : noncopyable {
    static_assert(
        (!std::is_rvalue_reference_v<Args> && ...), "arguments go to every slot, none may eat them");

public:
    struct Slot {
        std::uint64_t id;
        std::weak_ptr<TrackableInternals> listener;
        bool disconnected;
        std::function<void(Args...)> function;
    };

    static std::shared_ptr<SignalInternals> create() {
        auto internals = std::make_shared<SignalInternals>();
        internals->self = internals;
        return internals;
    }

    std::uint64_t connect(std::weak_ptr<TrackableInternals> listener, std::function<void(Args...)> function) {
        const std::uint64_t id = nextId++;
        Slot slot{id, std::move(listener), false, std::move(function)};
        if (emitting) {
            arrivals.push_back(std::move(slot));
        } else {
            admitArrivals();
            if (slots.size() == slots.capacity()) {
                compact();
            }
            slots.push_back(std::move(slot));
        }
        return id;
    }

    void disconnect(std::uint64_t id) {
        for (SlotVector* vector : {&slots, &arrivals}) {
            for (Slot& slot : *vector) {
                if (slot.id == id) {
                    slot.disconnected = true;
                }
            }
        }
    }

    void emit(Args... args) {
        // The owner may be destroyed by a slot; the emission goes on with what it holds here.
        const std::shared_ptr<SignalInternals> keep(self);
        if (emitting) {
            pending.emplace_back(std::forward<Args>(args)...);
            return;
        }
        Emission emission(*this);
        deliver(args...);
        while (!pending.empty()) {
            std::apply([this](auto&... queued) { deliver(queued...); }, pending.front());
            pending.pop_front();
        }
    }

private:
    using SlotVector = boost::container::small_vector<
        Slot, 1, void,
        boost::container::small_vector_options_t<
            boost::container::growth_factor<boost::container::growth_factor_100>>>;
    using Arguments = std::tuple<std::decay_t<Args>...>;

    /// The time of one outermost emission; a slot that throws ends it as well, and drops what was queued.
    class Emission : noncopyable {
    public:
        explicit Emission(SignalInternals& internals) : internals_(internals) {
            internals_.pending.clear();
            internals_.emitting = true;
        }
        ~Emission() {
            std::list<Arguments> dropped;
            dropped.swap(internals_.pending);
            internals_.emitting = false;
        }

    private:
        SignalInternals& internals_;
    };

    void deliver(std::add_lvalue_reference_t<Args>... args) {
        compact();
        admitArrivals();
        const std::size_t count = slots.size();
        for (std::size_t index = 0; index < count; ++index) {
            Slot& slot = slots[index];
            const std::shared_ptr<TrackableInternals> listener = slot.listener.lock();
            if (listener && !slot.disconnected) {
                slot.function(args...);
            }
        }
    }

    /// Slots of listeners that are gone go too; the others keep their order.
    void compact() {
        SlotVector removed;
        std::size_t kept = 0;
        for (std::size_t index = 0; index < slots.size(); ++index) {
            if (slots[index].listener.expired()) {
                removed.push_back(std::move(slots[index]));
            } else {
                if (kept != index) {
                    slots[kept] = std::move(slots[index]);
                }
                ++kept;
            }
        }
        slots.erase(slots.begin() + static_cast<std::ptrdiff_t>(kept), slots.end());
    }

    void admitArrivals() {
        for (Slot& slot : arrivals) {
            slots.push_back(std::move(slot));
        }
        arrivals.clear();
    }

    std::weak_ptr<SignalInternals> self;
    std::list<Arguments> pending;
    bool emitting = false;
    /// Room for one inline: the usual signal has one listener and allocates nothing for it.
    SlotVector slots;
    SlotVector arrivals;
    std::uint64_t nextId = 0;
};

} // namespace sv_signal_detail

/// What Signal::connect gives. It may be dropped: the connection lives as long as its listener. Held, it
/// keeps the signal's record in memory, but not the connection.
class Connection {
public:
    Connection() = default;

private:
    template<class... Args>
    friend class Signal;
    Connection(std::shared_ptr<void> internals, std::uint64_t slot)
        : internals_(std::move(internals)), slot_(slot) {}

    std::shared_ptr<void> internals_;
    std::uint64_t slot_ = 0;
};

/// Tells listeners that something happened. Not locked: a signal, its listeners and its emissions belong to
/// one thread.
///
/// Slots are called in the order of their connection. A slot may connect, disconnect, emit this same signal,
/// destroy listeners, destroy the signal: see the operations. Arguments are passed to each slot as they are,
/// except in a nested emission, which keeps copies until their turn.
template<class... Args>
class Signal : noncopyable {
public:
    Signal() : internals_(sv_signal_detail::SignalInternals<Args...>::create()) {}

    /// Calls `function` on each emission for as long as `listener` lives, or until disconnected. Connected in
    /// the middle of an emission, it is not called in the present round.
    Connection connect(const Trackable& listener, std::function<void(Args...)> function) {
        // Held here: the end of an old slot may destroy this signal on the way.
        const auto internals = internals_;
        return Connection(internals, internals->connect(listener.trackableToken(), std::move(function)));
    }

    /// The slot is not called any more, also not later in the present round. It keeps its room, and what its
    /// function holds, until its listener is gone. A connection of another signal is ignored.
    void disconnect(const Connection& connection) {
        if (connection.internals_ && connection.internals_ == internals_) {
            internals_->disconnect(connection.slot_);
        }
    }

    /// Calls the slots. A listener that is destroyed on the way is skipped. A slot that emits the same signal
    /// queues: its arguments are delivered after the present round has reached all slots.
    /// An exception of a slot passes out, ends the emission and drops what was queued; an empty function
    /// throws std::bad_function_call. Emitting out of the destruction of the signal itself throws
    /// std::bad_weak_ptr. With one listener and no nested emission nothing is allocated.
    void emit(Args... args) { internals_->emit(std::forward<Args>(args)...); }

private:
    std::shared_ptr<sv_signal_detail::SignalInternals<Args...>> internals_;
};

/// A small base for objects whose end others must know of.
class DestructorObserver : noncopyable {
public:
    /// Emitted while this base is destroyed: the derived parts are gone already. Slots must not throw.
    Signal<>& destroyed() { return destroyed_; }

protected:
    DestructorObserver() = default;
    ~DestructorObserver() { destroyed_.emit(); }

private:
    Signal<> destroyed_;
};
