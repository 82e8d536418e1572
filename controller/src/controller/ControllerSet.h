#pragma once

#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

#include <memory>

namespace Controller {

class BoolParam;
class EnumParam;
class FloatParam;

/// Hands out the parameters of something to its host, by name and kind. [ui]
class ControllerSet : noncopyable {
public:
    virtual std::shared_ptr<FloatParam> floatController(const String& name) = 0;
    virtual std::shared_ptr<BoolParam> boolController(const String& name) = 0;
    virtual std::shared_ptr<EnumParam> enumController(const String& name) = 0;

    virtual ~ControllerSet() = default;

protected:
    ControllerSet() = default;
};

} // namespace Controller
