#include "support/TrivialEffect.h"

namespace {

/// Nothing but an effect.
class Effect : public TrivialEffect {
public:
    explicit Effect(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Plain Effect";
        effect.uniqueID = fourLetters("Efct");
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new Effect(host))->abi();
}
