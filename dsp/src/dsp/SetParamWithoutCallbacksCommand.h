#pragma once

#include "dsp/DSPCommand.h"
#include "dsp/DispatchInfo.h"
#include "dsp/ElementDispatcher.h"

namespace DSP {

/// Stores a parameter's value on the audio side and tells nobody. Base of commands that tell somebody else
/// instead. BeginFlight of the parameter's record has been called.
template<class T>
class SetParamWithoutCallbacksCommand : public DSPCommand {
public:
    /// element: the one that the command is posted to.
    SetParamWithoutCallbacksCommand(
        ElementDispatcher& dispatcher, std::uint32_t parameterIndex, T parameterValue)
        : element(&dispatcher), index(parameterIndex), value(parameterValue) {}

    bool Execute() override {
        if (DispatchInfo<T>* info = element->GetDispatchInfo<T>(index)) {
            const typename DispatchInfo<T>::Landing landing(*info);
            info->SetTargetOnly(value);
        }
        return false;
    }

protected:
    ElementDispatcher* element;
    std::uint32_t index;
    T value;
};

} // namespace DSP
