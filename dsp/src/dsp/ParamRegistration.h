#pragma once

#include "dsp/ElementParam.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace DSP {

/// What a concrete element says of one parameter.
template<class T>
struct ParamRegistration {
    using AudioCallback = std::function<void(T value, SourceTag source)>;
    using DispatchOverride = std::function<void(T value, SourceTag source)>;
    using Observer = std::function<void(std::uint32_t side, T value, SourceTag source)>;
    using ControlCallback = std::function<void(T value)>;

    String name;
    /// Its place in the list; the indices of an element start at 0 and leave none out.
    std::uint32_t index = 0;
    value_range<T> range{static_cast<T>(0), static_cast<T>(1)};
    T defaultValue{};
    /// The variable that the DSP reads; owned by the element. Its value at the end of the registration is the
    /// parameter's first.
    T* target = nullptr;
    /// After a change of the audio side. [audio]
    AudioCallback audioCallback;
    /// Carries changes to the audio side instead of a command. [control]
    DispatchOverride dispatchOverride;
    /// After a change of the control side, unless its source says that the owner made it. [control]
    ControlCallback controlCallback;

    /// Of an enumeration: the name of the lowest value first.
    std::vector<String> valueNames;
    String info;
    String units;
    bool quantised = false;
    /// Of an enumeration without one, made from its names.
    std::unique_ptr<ParamFormatter<T>> formatter;
    /// Told each attempt to set the parameter, before anything else and also when nothing changes. None may
    /// be empty. [the side's thread]
    std::vector<Observer> observers;
    /// Called in order once the parameter stands. None may be empty. [control]
    std::vector<std::function<void()>> followUps;
};

} // namespace DSP
