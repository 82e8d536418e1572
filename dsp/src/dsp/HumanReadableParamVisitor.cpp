#include "dsp/HumanReadableParamVisitor.h"

namespace DSP {

void HumanReadableParamVisitor::VisitFloat(const String& name, const ElementParam<float>& param) {
    if (const float value = param.Get(ParamSide::control); value != param.GetDefault()) {
        values[name] = value;
    }
}

void HumanReadableParamVisitor::VisitBool(const String& name, const ElementParam<bool>& param) {
    if (const bool value = param.Get(ParamSide::control); value != param.GetDefault()) {
        values[name] = value;
    }
}

void HumanReadableParamVisitor::VisitEnum(const String& name, const ElementParamEnum& param) {
    if (const std::uint32_t value = param.Get(ParamSide::control); value != param.GetDefault()) {
        const ParamFormatter<std::uint32_t>* const formatter = param.GetFormatter();
        values[name] = formatter ? formatter->Format(value) : String("");
    }
}

} // namespace DSP
