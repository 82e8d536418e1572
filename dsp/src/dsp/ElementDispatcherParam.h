#pragma once

#include "dsp/DispatchInfo.h"
#include "dsp/ElementParam.h"

#include <memory>
#include <utility>
#include <vector>

namespace DSP {

/// The names of an enumeration's values, the lowest value first.
class EnumNames final : public ParamFormatter<std::uint32_t> {
public:
    EnumNames(value_range<std::uint32_t> valueRange, std::vector<String> valueNames)
        : range(valueRange), names(std::move(valueNames)) {}

    /// The empty String for a value outside the range, or without a name.
    String Format(std::uint32_t value) const override;

private:
    value_range<std::uint32_t> range;
    std::vector<String> names;
};

/// A parameter of an ElementDispatcher, behind its handles. Range and default are copies: they are answered
/// without the table. An index past the table's end reads as the default and ignores what is set.
/// Base: the interface that the handle wants.
template<class T, class Base = ElementParamImplBase<T>>
class ElementDispatcherParam : public Base {
public:
    ElementDispatcherParam(
        String parameterName, std::shared_ptr<DispatchTable> dispatchTable, std::uint32_t parameterIndex,
        value_range<T> valueRange, T parameterDefault, std::unique_ptr<ParamFormatter<T>> valueFormatter)
        : name(std::move(parameterName)), table(std::move(dispatchTable)), index(parameterIndex),
          range(valueRange), defaultValue(parameterDefault), formatter(std::move(valueFormatter)) {}

    T Get(std::uint32_t side) const override {
        const DispatchInfo<T>* const info = table->template Find<T>(index);
        return info ? info->Get(side) : defaultValue;
    }
    bool Set(std::uint32_t side, T value, SourceTag source) override {
        // Held: a listener may end the element and this object.
        const std::shared_ptr<DispatchTable> held = table;
        DispatchInfo<T>* const info = held->template Find<T>(index);
        return info && info->Set(side, value, source);
    }
    value_range<T> GetRange() const override { return range; }
    T GetDefault() const override { return defaultValue; }
    const ParamFormatter<T>* GetFormatter() const override { return formatter.get(); }
    void BeginGesture() override;
    void EndGesture() override;
    Element* GetOwner() const override { return table->owner; }
    String GetName() const override { return name; }

private:
    String name;
    std::shared_ptr<DispatchTable> table;
    std::uint32_t index;
    value_range<T> range;
    T defaultValue;
    std::unique_ptr<ParamFormatter<T>> formatter;
};

class ElementDispatcherParamEnum final
    : public ElementDispatcherParam<std::uint32_t, ElementParamEnumImplBase> {
public:
    ElementDispatcherParamEnum(
        String parameterName, std::shared_ptr<DispatchTable> dispatchTable, std::uint32_t parameterIndex,
        value_range<std::uint32_t> valueRange, std::uint32_t parameterDefault,
        std::unique_ptr<ParamFormatter<std::uint32_t>> valueFormatter, std::vector<String> valueNames);

    String GetEnumName(std::uint32_t value) const override { return names.Format(value); }

private:
    EnumNames names;
};

extern template class ElementDispatcherParam<float>;
extern template class ElementDispatcherParam<bool>;
extern template class ElementDispatcherParam<std::uint32_t, ElementParamEnumImplBase>;

} // namespace DSP
