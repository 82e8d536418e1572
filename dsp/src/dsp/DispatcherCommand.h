#pragma once

#include "dsp/DSPCommand.h"
#include "dsp/DispatchInfo.h"

namespace DSP {

/// Carries a parameter's new value to the audio side. The record lives as long as the element that the
/// command is posted to. BeginFlight has been called.
template<class T>
class DispatcherCommand final : public DSPCommand {
public:
    DispatcherCommand(DispatchInfo<T>& dispatchInfo, T newValue, SourceTag sourceTag)
        : info(&dispatchInfo), value(newValue), source(sourceTag) {}

    bool Execute() override {
        const typename DispatchInfo<T>::Landing landing(*info);
        info->Set(ParamSide::audio, value, source);
        return false;
    }

private:
    DispatchInfo<T>* info;
    T value;
    SourceTag source;
};

} // namespace DSP
