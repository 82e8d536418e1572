#pragma once

#include "controller/DefaultParam.h"
#include "controller/Param.h"
#include "controller/RangeParam.h"
#include "svbase/util/String.h"

namespace Controller {

/// A switch; its range, false to true or one of both, is set by the concrete class.
class BoolParam : public DefaultParam<bool, RangeParam<bool, Param<bool>>> {
public:
    using DefaultParam::DefaultParam;

    virtual String name() const { return {}; }
    /// Whether changing it may change others.
    virtual bool isLinked() const { return false; }
};

} // namespace Controller
