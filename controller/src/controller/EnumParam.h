#pragma once

#include "controller/DefaultParam.h"
#include "controller/Param.h"
#include "controller/RangeParam.h"
#include "svbase/util/String.h"

#include <cstdint>

namespace Controller {

/// A choice by number; its range is set by the concrete class.
class EnumParam : public DefaultParam<std::uint32_t, RangeParam<std::uint32_t, Param<std::uint32_t>>> {
public:
    using DefaultParam::DefaultParam;

    virtual String name() const { return {}; }
    /// The text of a value; its decimal digits unless the class knows better. Any value may be asked for.
    virtual String name(std::uint32_t value) const { return String::number(value); }
    /// Whether changing it may change others.
    virtual bool isLinked() const { return false; }
};

} // namespace Controller
