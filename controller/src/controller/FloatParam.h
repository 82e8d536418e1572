#pragma once

#include "controller/DefaultParam.h"
#include "controller/Param.h"
#include "controller/RangeParam.h"
#include "svbase/util/String.h"

namespace Controller {

/// A 32-bit float with range and default. Concrete classes set the range: until then it is empty.
class FloatParam : public DefaultParam<float, RangeParam<float, Param<float>>> {
public:
    using DefaultParam::DefaultParam;

    virtual String name() const { return {}; }
    /// Whether changing it may change others.
    virtual bool isLinked() const { return false; }
};

} // namespace Controller
