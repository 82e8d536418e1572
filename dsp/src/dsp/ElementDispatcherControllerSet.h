#pragma once

#include "controller/BoolParam.h"
#include "controller/ControllerSet.h"
#include "controller/EnumParam.h"
#include "controller/FloatParam.h"
#include "dsp/ElementParam.h"
#include "svbase/util/Trackable.h"

#include <map>
#include <memory>
#include <utility>

namespace DSP {
class ElementDispatcher;
}

namespace Controller {

/// A parameter's value where it lives: on the control side of an element. Tells every change of it, also
/// those that others made.
template<class T>
class ElementDispatcherParamStorage final : public ParamStorage<T>, public Trackable {
public:
    explicit ElementDispatcherParamStorage(DSP::ElementParam<T> handle) : param(std::move(handle)) {}

    void set(const T& value) override { param.Set(DSP::ParamSide::control, value, {0, 1}); }
    T get() const override { return param.Get(DSP::ParamSide::control); }

private:
    DSP::ElementParam<T> param;
};

/// An element's parameter as one of the user interface's: name, range, default and text are the handle's,
/// and a gesture here is a gesture there. May outlive the element, as the handle does. [ui, which is the
/// element's control thread]
/// Handle: of the element; Base: FloatParam, BoolParam or EnumParam.
template<class T, class Handle, class Base>
class ElementDispatcherController : public Base {
public:
    ElementDispatcherController(Handle handle, std::unique_ptr<ElementDispatcherParamStorage<T>> paramStorage)
        : Base(std::move(paramStorage)), param(std::move(handle)) {
        ElementDispatcherController::setRange(param.GetRange());
        ElementDispatcherController::setDefault(param.GetDefault());
    }

    using Base::name;
    String name() const override { return param.GetName(); }
    value_range<T> range() const override { return param.GetRange(); }
    T defaultValue() const override { return param.GetDefault(); }

    /// The empty String when the parameter has no formatter.
    String displayText(T shown) const {
        const DSP::ParamFormatter<T>* const formatter = param.GetFormatter();
        return formatter ? formatter->Format(shown) : String("");
    }

protected:
    void beginChange() override { param.BeginGesture(); }
    void endChange() override { param.EndGesture(); }

    Handle param;
};

class ElementDispatcherFloatController final
    : public ElementDispatcherController<float, DSP::ElementParam<float>, FloatParam> {
public:
    using ElementDispatcherController::ElementDispatcherController;
};

class ElementDispatcherBoolController final
    : public ElementDispatcherController<bool, DSP::ElementParam<bool>, BoolParam> {
public:
    using ElementDispatcherController::ElementDispatcherController;
};

class ElementDispatcherEnumController final
    : public ElementDispatcherController<std::uint32_t, DSP::ElementParamEnum, EnumParam> {
public:
    using ElementDispatcherController::ElementDispatcherController;
    using ElementDispatcherController::name;
    String name(std::uint32_t shown) const override { return param.GetEnumName(shown); }
};

/// Reaches every parameter of an element by its name. Each is made once, at the first request; null for an
/// unknown name, or for a parameter of another kind. [control]
class ElementDispatcherControllerSet final : public ControllerSet {
public:
    /// element: borrowed, outlives the set.
    explicit ElementDispatcherControllerSet(DSP::ElementDispatcher& dispatcher) : element(dispatcher) {}

    std::shared_ptr<FloatParam> floatController(const String& name) override;
    std::shared_ptr<BoolParam> boolController(const String& name) override;
    std::shared_ptr<EnumParam> enumController(const String& name) override;

private:
    template<class T, class Handle, class Made, class Cached>
    std::shared_ptr<Cached> FindOrMake(std::map<String, std::shared_ptr<Cached>>& cache, const String& name);

    DSP::ElementDispatcher& element;
    std::map<String, std::shared_ptr<FloatParam>> floats;
    std::map<String, std::shared_ptr<BoolParam>> bools;
    std::map<String, std::shared_ptr<EnumParam>> enums;
};

} // namespace Controller
