#include "support/TrivialEffect.h"

namespace {

/// One parameter more than a state without chunk is written for.
class TooManyParameters : public TrivialEffect {
public:
    explicit TooManyParameters(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Too Many Parameters";
        effect.uniqueID = fourLetters("Pa10");
        setParameterCount(10001);
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new TooManyParameters(host))->abi();
}
