#pragma once

#include "controller/ParamStorage.h"
#include "controller/ValueReporter.h"

#include <cassert>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Controller {

template<class T>
class GrabbedParamHandle;

/// A value that can be changed, observed and held in a gesture. The bottom of the parameter classes; the
/// storage decides where the value lives. Not locked. [ui]
///
/// A change goes begin, filters, storage, end. A change made while another one or a grab is open is part of
/// that: begin and end are not called again. A listener may destroy the parameter.
template<class T>
class Param : public ValueReporter<T> {
public:
    /// May alter a value on its way in; what it returns is for those who call it themselves.
    using Filter = std::function<bool(T&)>;

    /// A null storage makes a parameter that swallows what is set; derived classes may override what asks
    /// for one.
    explicit Param(std::unique_ptr<ParamStorage<T>> storage) : storage_(std::move(storage)) {
        if (storage_) {
            storage_->changed().connect(*this, [this](const T& value) { valueChanged_.emit(value); });
        }
    }

    Signal<const T&>& valueChangedSignal() override { return valueChanged_; }

    /// Precondition: there is a storage.
    T value() const override { return get(); }

    /// Opens a gesture that lasts as long as the handle. Null when a change or a grab is open already.
    virtual std::shared_ptr<GrabbedParamHandle<T>> grab();

    /// The one way in for a value. An exception of a filter or listener passes out after the change was
    /// ended.
    void setValue(const T& newValue);

    bool isInChange() const { return inChange_; }

    /// Runs after those that stand; not from within a filter. An empty one fails each setValue with
    /// std::bad_function_call.
    void addFilter(Filter filter) { filters_.push_back(std::move(filter)); }
    const std::vector<Filter>& filters() const { return filters_; }

protected:
    /// Stores a value that has passed the filters.
    virtual void applyValue(const T& filtered) {
        if (storage_) {
            storage_->set(filtered);
        }
    }
    virtual T get() const {
        assert(storage_);
        return storage_->get();
    }

    /// Around a user's gesture, and around a change outside of one.
    virtual void beginChange() {}
    virtual void endChange() {}

    ParamStorage<T>* storage() const { return storage_.get(); }

private:
    friend class GrabbedParamHandle<T>;

    void endGesture() {
        const auto alive = this->trackableToken();
        endChange();
        if (!alive.expired()) {
            inChange_ = false;
        }
    }

    Signal<const T&> valueChanged_;
    bool inChange_ = false;
    std::unique_ptr<ParamStorage<T>> storage_;
    std::vector<Filter> filters_;
};

/// A gesture on a parameter: while it lives, all changes are one. May outlive the parameter.
template<class T>
class GrabbedParamHandle : noncopyable {
public:
    explicit GrabbedParamHandle(Param<T>& param) : param_(param), alive_(param.trackableToken()) {}
    ~GrabbedParamHandle() {
        if (!alive_.expired()) {
            param_.endGesture();
        }
    }

private:
    Param<T>& param_;
    std::weak_ptr<TrackableInternals> alive_;
};

template<class T>
std::shared_ptr<GrabbedParamHandle<T>> Param<T>::grab() {
    if (inChange_) {
        return nullptr;
    }
    beginChange();
    inChange_ = true;
    return std::make_shared<GrabbedParamHandle<T>>(*this);
}

template<class T>
void Param<T>::setValue(const T& newValue) {
    const bool outermost = !inChange_;
    const auto alive = this->trackableToken();
    if (outermost) {
        inChange_ = true;
        try {
            beginChange();
        } catch (...) {
            inChange_ = false;
            throw;
        }
    }
    try {
        T local = newValue;
        for (std::size_t index = 0; index < filters_.size(); ++index) {
            filters_[index](local);
        }
        applyValue(local);
    } catch (...) {
        if (outermost && !alive.expired()) {
            endGesture();
        }
        throw;
    }
    if (outermost && !alive.expired()) {
        endGesture();
    }
}

} // namespace Controller
