#include "dsp/ElementDispatcherParam.h"

#include "dsp/Element.h"

namespace DSP {

String EnumNames::Format(std::uint32_t value) const {
    if (value < range.lower || value > range.upper || value - range.lower >= names.size()) {
        return "";
    }
    return names[value - range.lower];
}

template<class T, class Base>
void ElementDispatcherParam<T, Base>::BeginGesture() {
    if (Element* const owner = GetOwner()) {
        owner->BeginParamChange();
    }
}

template<class T, class Base>
void ElementDispatcherParam<T, Base>::EndGesture() {
    if (Element* const owner = GetOwner()) {
        owner->EndParamChange();
    }
}

ElementDispatcherParamEnum::ElementDispatcherParamEnum(
    String parameterName, std::shared_ptr<DispatchTable> dispatchTable, std::uint32_t parameterIndex,
    value_range<std::uint32_t> valueRange, std::uint32_t parameterDefault,
    std::unique_ptr<ParamFormatter<std::uint32_t>> valueFormatter, std::vector<String> valueNames)
    : ElementDispatcherParam(
          std::move(parameterName), std::move(dispatchTable), parameterIndex, valueRange, parameterDefault,
          std::move(valueFormatter)),
      names(valueRange, std::move(valueNames)) {}

template class ElementDispatcherParam<float>;
template class ElementDispatcherParam<bool>;
template class ElementDispatcherParam<std::uint32_t, ElementParamEnumImplBase>;

} // namespace DSP
