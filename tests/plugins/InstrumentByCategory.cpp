#include "support/TrivialEffect.h"

namespace {

/// Says that it is an instrument by its category alone.
class InstrumentByCategory : public TrivialEffect {
public:
    explicit InstrumentByCategory(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Instrument by Category";
        effect.uniqueID = fourLetters("InCa");
        category = kPlugCategSynth;
        effect.numInputs = 0;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new InstrumentByCategory(host))->abi();
}
