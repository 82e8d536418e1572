#pragma once

#include "controller/ParamStorage.h"
#include "controller/value_range.h"
#include "svbase/util/Signal.h"

#include <memory>
#include <utility>

namespace Controller {

/// Adds a range to a parameter: every new value is clamped into it on its way in. Base: a Param<T>.
/// The stored value is not clamped when the range changes, only the next one that is set.
template<class T, class Base>
class RangeParam : public Base {
public:
    explicit RangeParam(std::unique_ptr<ParamStorage<T>> storage) : Base(std::move(storage)) {
        // A plain pointer: the list dies with this object.
        this->addFilter([this](T& value) { return clamp(value); });
    }

    virtual void setRange(const value_range<T>& newRange) {
        range_ = newRange;
        rangeChanged_.emit(newRange);
    }
    virtual value_range<T> range() const { return range_; }

    Signal<const value_range<T>&>& rangeChangedSignal() { return rangeChanged_; }

private:
    /// True when the value was inside. A NaN is not, and stays.
    bool clamp(T& value) const {
        // Asked anew each time: derived classes answer from elsewhere.
        const value_range<T> allowed = range();
        const bool inside = allowed.lower <= value && value <= allowed.upper;
        const value_range<T> limits = range();
        if (limits.lower > value) {
            value = limits.lower;
        } else if (limits.upper < value) {
            value = limits.upper;
        }
        return inside;
    }

    Signal<const value_range<T>&> rangeChanged_;
    /// Empty until the concrete class sets it.
    value_range<T> range_{T(1), T(0)};
};

} // namespace Controller
