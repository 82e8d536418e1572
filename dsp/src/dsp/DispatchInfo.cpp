#include "dsp/DispatchInfo.h"

#include "dsp/DispatcherCommand.h"

#include <utility>

namespace DSP {

template<class T>
DispatchInfo<T>::DispatchInfo(ParamRegistration<T>& registration, DSPCommandMailbox& commandMailbox)
    : target(registration.target), value(LoadParamTarget(*registration.target)), range(registration.range),
      audioCallback(std::move(registration.audioCallback)),
      dispatchOverride(std::move(registration.dispatchOverride)),
      observers(std::move(registration.observers)), controlCallback(std::move(registration.controlCallback)),
      unpolled(value), mailbox(&commandMailbox) {
    static_assert(std::atomic<SourceTag>::is_always_lock_free);
    static_assert(std::atomic_ref<T>::is_always_lock_free);
}

template<class T>
bool DispatchInfo<T>::Poll() {
    if (GetInFlight() != 0) {
        return false;
    }
    const T now = LoadParamTarget(*target);
    if (now == value) {
        return false;
    }
    unpolled = value;
    value = now;
    changed = true;
    return true;
}

template<class T>
void DispatchInfo<T>::Revert() {
    if (changed) {
        changed = false;
        value = unpolled;
    }
}

template<class T>
void DispatchInfo<T>::Deliver() {
    if (!changed) {
        return;
    }
    changed = false;
    signal->emit(value);
    if (controlCallback && source.load(std::memory_order_relaxed).value != SourceTag::ownChange) {
        controlCallback(value);
    }
}

template<class T>
void DispatchInfo<T>::Announce() {
    const T now = LoadParamTarget(*target);
    if (audioCallback) {
        audioCallback(now, SourceTag{});
    }
    for (const auto& observer : observers) {
        observer(ParamSide::audio, now, SourceTag{});
    }
}

template<class T>
T DispatchInfo<T>::Clamp(T newValue) const {
    if (newValue < range.lower) {
        return range.lower;
    }
    if (newValue > range.upper) {
        return range.upper;
    }
    return newValue;
}

template<class T>
bool DispatchInfo<T>::Set(std::uint32_t side, T newValue, SourceTag tag) {
    const T clamped = Clamp(newValue);
    for (const auto& observer : observers) {
        observer(side, clamped, tag);
    }
    if (side == ParamSide::audio) {
        if (LoadParamTarget(*target) == clamped) {
            return false;
        }
        StoreParamTarget(*target, clamped);
        source.store(tag, std::memory_order_relaxed);
        if (audioCallback) {
            audioCallback(clamped, tag);
        }
        return true;
    }
    if (value == clamped) {
        return false;
    }
    value = clamped;
    if (dispatchOverride) {
        dispatchOverride(clamped, tag);
    } else {
        Post(clamped, tag);
    }
    signal->emit(clamped);
    if (controlCallback && tag.value != SourceTag::ownChange) {
        controlCallback(clamped);
    }
    return true;
}

template<class T>
void DispatchInfo<T>::Post(T newValue, SourceTag tag) {
    if (!mailbox) {
        return;
    }
    auto command = std::make_unique<DispatcherCommand<T>>(*this, newValue, tag);
    BeginFlight();
    mailbox->PostCommand(command.release());
}

template<class T>
T DispatchInfo<T>::Get(std::uint32_t side) const {
    return side == ParamSide::audio ? LoadParamTarget(*target) : value;
}

template<class T>
void DispatchInfo<T>::SetTargetOnly(T newValue) {
    StoreParamTarget(*target, Clamp(newValue));
}

template<class T>
void DispatchInfo<T>::Detach() {
    mailbox = nullptr;
    target = &value;
    audioCallback = nullptr;
    dispatchOverride = nullptr;
    observers.clear();
    controlCallback = nullptr;
}

template class DispatchInfo<float>;
template class DispatchInfo<bool>;
template class DispatchInfo<std::uint32_t>;

} // namespace DSP
