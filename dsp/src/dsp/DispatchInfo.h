#pragma once

#include "dsp/DSPCommandMailbox.h"
#include "dsp/ParamRegistration.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/Signal.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

namespace DSP {

/// How a DSP writes a parameter's variable, its own or not, while the control thread may read it. [audio]
template<class T>
void StoreParamTarget(T& target, T value) noexcept {
    std::atomic_ref<T>(target).store(value, std::memory_order_relaxed);
}

/// How the other thread reads it. A DSP reads its own variable plainly.
template<class T>
T LoadParamTarget(T& target) noexcept {
    return std::atomic_ref<T>(target).load(std::memory_order_relaxed);
}

/// One parameter on both its sides, and the one place where its value changes.
///
/// Protocol. `*target` and `source` are written by the audio thread and read by the control thread: single
/// words, relaxed, nothing orders them with other parameters. `value`, `changed`, the signal and the control
/// callback belong to the control thread. `inFlight` counts the commands on their way: the control thread
/// adds one before it posts, the audio thread subtracts one after the value is stored, with release; Poll
/// reads it with acquire before it reads `*target`. So a Poll that sees 0 sees the values of all commands
/// that were counted, and a Poll during their travel keeps quiet instead of taking the old value for a change
/// of the DSP's. A command that is lost for want of memory stays counted, and Poll quiet: the control side's
/// value is then the last word. The callbacks are set before the parameter is used and never change after,
/// until Detach.
///
/// A slot may end the element, and the last handle with it. Who calls Set or Deliver holds the table that the
/// record stands in until the call is over.
template<class T>
class DispatchInfo : noncopyable {
public:
    DispatchInfo(ParamRegistration<T>& registration, DSPCommandMailbox& commandMailbox);
    virtual ~DispatchInfo() = default;

    /// Takes over what the DSP changed itself; true when there was something. [control]
    virtual bool Poll();
    /// Tells the control side what Poll took over. [control]
    virtual void Deliver();
    /// Tells the audio callback and the observers the first value. [control, before audio runs]
    virtual void Announce();

    /// Undoes Poll, so that the next one finds the change again. [control]
    void Revert();

    /// Clamps and stores on the given side, and tells whoever is to know. False when the side had that value
    /// already. [the side's thread]
    bool Set(std::uint32_t side, T newValue, SourceTag tag);
    T Get(std::uint32_t side) const;

    /// Stores on the audio side, clamped, and tells nobody. [audio]
    void SetTargetOnly(T newValue);

    /// A command is about to be posted. [control]
    void BeginFlight() { inFlight.fetch_add(1, std::memory_order_relaxed); }
    /// A command runs. Its end is the end of the flight, also when a callback throws: what threw is not run
    /// again, and an unended flight would keep Poll quiet for ever. [audio]
    class Landing : noncopyable {
    public:
        explicit Landing(DispatchInfo& record) : info(record) {}
        ~Landing() { info.inFlight.fetch_sub(1, std::memory_order_release); }

    private:
        DispatchInfo& info;
    };
    std::uint32_t GetInFlight() const { return inFlight.load(std::memory_order_acquire); }

    Signal<T>& GetSignal() { return *signal; }

    /// The element is gone: from now on both sides are this record's value, and nothing is called but the
    /// signal. [control, audio has ended]
    void Detach();

private:
    T Clamp(T newValue) const;
    void Post(T newValue, SourceTag tag);

    std::atomic<std::uint32_t> inFlight = 0;
    T* target;
    std::atomic<SourceTag> source = SourceTag{};
    T value;
    value_range<T> range;
    typename ParamRegistration<T>::AudioCallback audioCallback;
    typename ParamRegistration<T>::DispatchOverride dispatchOverride;
    std::vector<typename ParamRegistration<T>::Observer> observers;
    typename ParamRegistration<T>::ControlCallback controlCallback;
    std::shared_ptr<Signal<T>> signal = std::make_shared<Signal<T>>();
    bool changed = false;
    /// The control side's value before the last Poll, for Revert.
    T unpolled;
    /// Null once detached.
    DSPCommandMailbox* mailbox;
};

extern template class DispatchInfo<float>;
extern template class DispatchInfo<bool>;
extern template class DispatchInfo<std::uint32_t>;

/// All parameters of an element, by index. Shared with the handles, which may outlive the element.
struct DispatchTable {
    template<class T>
    using Info = std::unique_ptr<DispatchInfo<T>>;
    using AnyInfo = std::variant<Info<float>, Info<bool>, Info<std::uint32_t>>;

    std::vector<AnyInfo> infos;
    /// Null once the element is gone.
    Element* owner = nullptr;

    /// Null past the end, or for another kind.
    template<class T>
    DispatchInfo<T>* Find(std::uint32_t index) const {
        if (index >= infos.size()) {
            return nullptr;
        }
        const auto* info = std::get_if<Info<T>>(&infos[index]);
        return info ? info->get() : nullptr;
    }

    /// Calls function with a reference to each record, in order.
    template<class Function>
    void ForEach(Function&& function) const {
        for (const AnyInfo& info : infos) {
            std::visit([&function](const auto& record) { function(*record); }, info);
        }
    }
};

} // namespace DSP
