#pragma once

#include "controller/BoolParam.h"
#include "controller/EnumParam.h"
#include "controller/FloatParam.h"
#include "controller/ParamStorage.h"

#include <memory>
#include <utility>

namespace Controller {

/// A named parameter whose value lives in memory. Base: FloatParam, BoolParam or EnumParam.
template<class T, class Base>
class ParamMemory : public Base {
public:
    /// The initial value is the default as well, and is stored as it is, also outside of the range.
    ParamMemory(const T& initial, const value_range<T>& allowed, String name)
        : Base(std::make_unique<ParamMemoryStorage<T>>(initial)), name_(std::move(name)) {
        ParamMemory::setRange(allowed);
        ParamMemory::setDefault(initial);
    }

    using Base::name;
    String name() const override { return name_; }

private:
    String name_;
};

class FloatParamMemory : public ParamMemory<float, FloatParam> {
public:
    using ParamMemory::ParamMemory;
};

class BoolParamMemory : public ParamMemory<bool, BoolParam> {
public:
    using ParamMemory::ParamMemory;
};

class EnumParamMemory : public ParamMemory<std::uint32_t, EnumParam> {
public:
    using ParamMemory::ParamMemory;
};

} // namespace Controller
