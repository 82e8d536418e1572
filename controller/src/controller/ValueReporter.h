#pragma once

#include "controller/KVCObject.h"
#include "controller/Object.h"
#include "svbase/util/Signal.h"

namespace Controller {

/// Something whose value can be read and observed. [ui]
template<class T>
class ValueReporter : public KVCObject, public Object, public DestructorObserver {
public:
    /// Emitted with the new value after a change.
    virtual Signal<const T&>& valueChangedSignal() = 0;
    virtual T value() const = 0;

protected:
    ValueReporter() : Object("Param") {}
};

} // namespace Controller
