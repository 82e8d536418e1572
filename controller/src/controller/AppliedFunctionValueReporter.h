#pragma once

#include "controller/ValueReporter.h"

#include <functional>
#include <utility>

namespace Controller {

/// The value of another reporter, seen through a function: text of a number, for example. Follows the
/// source's changes. After the source's end it keeps the last value that it told or was asked for.
template<class To, class From>
class AppliedFunctionValueReporter : public ValueReporter<To> {
public:
    AppliedFunctionValueReporter(ValueReporter<From>& source, std::function<To(const From&)> function)
        : source_(&source), function_(std::move(function)), last_(function_(source.value())) {
        source.valueChangedSignal().connect(*this, [this](const From& value) {
            const To converted = function_(value);
            last_ = converted;
            valueChanged_.emit(converted);
        });
        source.destroyed().connect(*this, [this] { source_ = nullptr; });
    }

    Signal<const To&>& valueChangedSignal() override { return valueChanged_; }

    To value() const override {
        if (source_ != nullptr) {
            last_ = function_(source_->value());
        }
        return last_;
    }

private:
    Signal<const To&> valueChanged_;
    ValueReporter<From>* source_;
    std::function<To(const From&)> function_;
    mutable To last_;
};

} // namespace Controller
