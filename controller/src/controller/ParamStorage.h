#pragma once

#include "svbase/util/Noncopyable.h"
#include "svbase/util/Signal.h"

#include <utility>

namespace Controller {

/// Where a parameter's value lives. Exchangeable: memory, a preference, an audio element, another
/// parameter.
template<class T>
class ParamStorage : noncopyable {
public:
    virtual ~ParamStorage() = default;

    /// A value equal to the present one changes nothing and is not told. A NaN equals nothing.
    virtual void set(const T& value) = 0;
    virtual T get() const = 0;

    /// Emitted by the storage after its value has changed, whoever changed it.
    Signal<const T&>& changed() { return changed_; }

protected:
    ParamStorage() = default;

private:
    Signal<const T&> changed_;
};

/// A value in memory.
template<class T>
class ParamMemoryStorage : public ParamStorage<T> {
public:
    explicit ParamMemoryStorage(T initial) : value_(std::move(initial)) {}

    void set(const T& value) override {
        if (value_ == value) {
            return;
        }
        value_ = value;
        // The argument, not the member: a listener may set another value before the next one is told this.
        this->changed().emit(value);
    }
    T get() const override { return value_; }

protected:
    T value_;
};

} // namespace Controller
