#include "support/TrivialEffect.h"

namespace {

/// Listens, as an analyser does: two inputs, no output.
class NoOutputs : public TrivialEffect {
public:
    explicit NoOutputs(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "No Outputs";
        effect.uniqueID = fourLetters("NoOu");
        category = kPlugCategAnalysis;
        effect.numOutputs = 0;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new NoOutputs(host))->abi();
}
