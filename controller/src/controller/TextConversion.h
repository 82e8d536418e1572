#pragma once

#include "controller/AppliedFunctionValueReporter.h"
#include "controller/Param.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <functional>
#include <memory>

namespace Controller {

/// How a value is shown and typed.
template<class T>
struct TextConversion {
    std::function<String(const T&)> toText;
    /// Invalid for a text that is no value.
    std::function<checked_value<T>(const String&)> fromText;
};

/// A reporter of the parameter's value as text.
template<class T>
std::unique_ptr<ValueReporter<String>>
makeTextReporter(ValueReporter<T>& source, const TextConversion<T>& conversion) {
    return std::make_unique<AppliedFunctionValueReporter<String, T>>(source, conversion.toText);
}

/// Sets what the text says. False, and nothing has changed, when it says nothing.
template<class T>
bool setValueFromText(Param<T>& param, const TextConversion<T>& conversion, const String& text) {
    const checked_value<T> parsed = conversion.fromText(text);
    if (parsed.valid) {
        param.setValue(parsed.value);
    }
    return parsed.valid;
}

} // namespace Controller
