#pragma once

#include "dsp/KernelTable.h"
#include "svbase/util/HighwayTargets.h"

#include <cstdint>
#include <string>
#include <vector>

#include <hwy/highway.h>
#include <hwy/targets.h>

namespace DSP::Testing {

/// Every variant of the kernels that was built and that this processor can run.
inline std::vector<std::int64_t> GetKernelVariants() {
    return hwy::SupportedAndGeneratedTargets();
}

inline std::string GetVariantName(std::int64_t variant) {
    return hwy::TargetName(variant);
}

/// Forces one variant for the scope; plans made within keep it.
class ForcedVariant {
public:
    explicit ForcedVariant(std::int64_t variant) { Force(variant); }
    ~ForcedVariant() { Force(0); }
    ForcedVariant(const ForcedVariant&) = delete;
    ForcedVariant& operator=(const ForcedVariant&) = delete;

private:
    static void Force(std::int64_t variants) {
        hwy::SetSupportedTargetsForTest(variants);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        Kernels::ChooseTable();
    }
};

} // namespace DSP::Testing
