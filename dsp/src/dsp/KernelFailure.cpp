#include "dsp/KernelFailure.h"

namespace DSP {

KernelFailure::KernelFailure() : Base("IPP failure") {}

String GetStatusText(KernelStatus status) {
    switch (status) {
    case KernelStatus::Ok:
        return "No error";
    case KernelStatus::OrderOutOfRange:
        return "FFT order is out of range";
    case KernelStatus::OutOfMemory:
        return "Not enough memory";
    }
    return "Unknown status";
}

} // namespace DSP
