#include "support/TrivialEffect.h"

namespace {

/// One channel in and out.
class Mono : public TrivialEffect {
public:
    explicit Mono(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Mono";
        effect.uniqueID = fourLetters("Mono");
        effect.numInputs = 1;
        effect.numOutputs = 1;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new Mono(host))->abi();
}
