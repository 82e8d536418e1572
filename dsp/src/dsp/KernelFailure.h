#pragma once

#include "svbase/util/Exception.h"
#include "svbase/util/String.h"

namespace DSP {

/// A kernel could not be set up. Thrown with the message "IPP failure: %1", %1 telling what is wrong: the
/// text by which the framework's users know this failure whatever library stands behind the kernels.
class KernelFailure : public ::Exception::Base {
public:
    using Base::Base;

    /// "IPP failure", where nothing more is known.
    KernelFailure();
};

/// What setting up a kernel can end with; 0 is success.
enum class KernelStatus : int { Ok = 0, OrderOutOfRange = -1, OutOfMemory = -2 };

/// The status in words. [any]
String GetStatusText(KernelStatus status);

} // namespace DSP
