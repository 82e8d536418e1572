#include "AllocationCount.h"
#include "AudioPathCount.h"

namespace DSP::Testing {

AudioPathCounts GetAudioPathCounts() noexcept {
    return {GetAllocationCount(), 0, 0};
}

bool CountsLocks() noexcept {
    return false;
}

} // namespace DSP::Testing
