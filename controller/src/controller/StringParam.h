#pragma once

#include "controller/DefaultParam.h"
#include "controller/Param.h"
#include "svbase/util/String.h"

namespace Controller {

/// A text with a default.
class StringParam : public DefaultParam<String, Param<String>> {
public:
    using DefaultParam::DefaultParam;
};

} // namespace Controller
