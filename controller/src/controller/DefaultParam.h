#pragma once

#include "controller/ParamStorage.h"
#include "svbase/util/Signal.h"

#include <memory>
#include <utility>

namespace Controller {

/// Adds a default to a parameter. Base: a Param<T>, or a RangeParam on one.
template<class T, class Base>
class DefaultParam : public Base {
public:
    explicit DefaultParam(std::unique_ptr<ParamStorage<T>> storage) : Base(std::move(storage)) {}

    virtual void setDefault(const T& newDefault) {
        defaultValue_ = newDefault;
        hasDefault_ = true;
        defaultChanged_.emit(newDefault);
    }
    /// T's zero as long as hasDefault() is false.
    virtual T defaultValue() const { return defaultValue_; }

    /// A change like any other, filters included.
    virtual void resetToDefault() { this->setValue(defaultValue()); }

    bool hasDefault() const { return hasDefault_; }
    Signal<const T&>& defaultChangedSignal() { return defaultChanged_; }

private:
    Signal<const T&> defaultChanged_;
    T defaultValue_{};
    bool hasDefault_ = false;
};

} // namespace Controller
