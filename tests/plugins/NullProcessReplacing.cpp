#include "support/TrivialEffect.h"

namespace {

/// Only accumulates, as the oldest effects did: no processReplacing.
class NullProcessReplacing : public TrivialEffect {
public:
    explicit NullProcessReplacing(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "No processReplacing";
        effect.uniqueID = fourLetters("NuPr");
        effect.process = effect.processReplacing;
        effect.processReplacing = nullptr;
        effect.flags &= ~effFlagsCanReplacing;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new NullProcessReplacing(host))->abi();
}
