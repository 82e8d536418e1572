#include "support/TrivialEffect.h"

namespace {

/// Makes sound of its own, as its category says.
class Generator : public TrivialEffect {
public:
    explicit Generator(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Generator";
        effect.uniqueID = fourLetters("Gene");
        category = kPlugCategGenerator;
        effect.numInputs = 0;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new Generator(host))->abi();
}
