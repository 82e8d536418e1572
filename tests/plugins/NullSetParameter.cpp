#include "support/TrivialEffect.h"

namespace {

/// No setParameter.
class NullSetParameter : public TrivialEffect {
public:
    explicit NullSetParameter(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "No setParameter";
        effect.uniqueID = fourLetters("NuSe");
        effect.setParameter = nullptr;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new NullSetParameter(host))->abi();
}
