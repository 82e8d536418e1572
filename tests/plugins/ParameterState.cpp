#include "support/TrivialEffect.h"

namespace {

/// Three parameters, and no chunk: its state is their values.
class ParameterState : public TrivialEffect {
public:
    explicit ParameterState(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Parameter State";
        effect.uniqueID = fourLetters("PaSt");
        setParameterCount(3);
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new ParameterState(host))->abi();
}
