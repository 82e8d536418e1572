#include "support/TrivialEffect.h"

namespace {

/// Says that it is an instrument by its flags, and a plain effect by its category.
class InstrumentByFlag : public TrivialEffect {
public:
    explicit InstrumentByFlag(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Instrument by Flag";
        effect.uniqueID = fourLetters("InFl");
        effect.flags |= effFlagsIsSynth;
        effect.numInputs = 0;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new InstrumentByFlag(host))->abi();
}
