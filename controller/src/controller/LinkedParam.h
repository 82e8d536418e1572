#pragma once

#include "controller/Param.h"
#include "controller/ParamStorage.h"
#include "controller/value_range.h"
#include "svbase/util/String.h"

#include <functional>
#include <memory>
#include <utility>

namespace Controller {

/// The value of another parameter, set through a function: who links parameters decides what is set.
/// P: the wrapped parameter's class. It is not owned and outlives this storage.
template<class T, class P>
class LinkedParamStorage : public ParamStorage<T> {
public:
    LinkedParamStorage(P& wrapped, std::function<void(const T&)> set)
        : wrapped_(wrapped), set_(std::move(set)) {}

    void set(const T& value) override { set_(value); }
    T get() const override { return wrapped_.value(); }

private:
    P& wrapped_;
    std::function<void(const T&)> set_;
};

/// A parameter in front of another one: it looks like the wrapped parameter, but a change goes through the
/// three functions given. The wrapped parameter outlives it.
template<class P>
class LinkedParam : public P {
public:
    using Value = decltype(std::declval<const P&>().value());

    LinkedParam(
        P& wrapped, std::function<void()> begin, std::function<void(const Value&)> set,
        std::function<void()> end)
        : P(std::make_unique<LinkedParamStorage<Value, P>>(wrapped, std::move(set))), wrapped_(wrapped),
          begin_(std::move(begin)), end_(std::move(end)) {
        // Range and default have signals of this class's own: it follows with copies that it does not ask.
        wrapped_.rangeChangedSignal().connect(
            *this, [this](const value_range<Value>& range) { P::setRange(range); });
        wrapped_.defaultChangedSignal().connect(*this, [this](const Value& value) { P::setDefault(value); });
        if (wrapped_.hasDefault()) {
            P::setDefault(wrapped_.defaultValue());
        }
    }

    Signal<const Value&>& valueChangedSignal() override { return wrapped_.valueChangedSignal(); }
    Value value() const override { return wrapped_.value(); }
    /// A gesture on the wrapped parameter alone.
    std::shared_ptr<GrabbedParamHandle<Value>> grab() override { return wrapped_.grab(); }

    void setRange(const value_range<Value>& range) override { wrapped_.setRange(range); }
    value_range<Value> range() const override { return wrapped_.range(); }
    void setDefault(const Value& value) override { wrapped_.setDefault(value); }
    Value defaultValue() const override { return wrapped_.defaultValue(); }
    String name() const override { return wrapped_.name(); }
    bool isLinked() const override { return wrapped_.isLinked(); }

protected:
    Value get() const override { return wrapped_.value(); }
    void beginChange() override { begin_(); }
    void endChange() override { end_(); }

private:
    P& wrapped_;
    std::function<void()> begin_;
    std::function<void()> end_;
};

} // namespace Controller
