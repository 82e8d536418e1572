#pragma once

#include "dsp/Element.h"

#include <map>
#include <variant>

namespace DSP {

/// Collects the parameters whose control-side value is not their default, as a person would note them:
/// floats and bools as they are, an enumeration by the name of its value.
class HumanReadableParamVisitor final : public Element::ParamVisitor {
public:
    using Value = std::variant<float, bool, String>;

    void VisitFloat(const String& name, const ElementParam<float>& param) override;
    void VisitBool(const String& name, const ElementParam<bool>& param) override;
    /// The empty String without a formatter.
    void VisitEnum(const String& name, const ElementParamEnum& param) override;

    const std::map<String, Value>& GetValues() const { return values; }

private:
    std::map<String, Value> values;
};

} // namespace DSP
