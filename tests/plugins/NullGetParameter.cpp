#include "support/TrivialEffect.h"

namespace {

/// No getParameter.
class NullGetParameter : public TrivialEffect {
public:
    explicit NullGetParameter(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "No getParameter";
        effect.uniqueID = fourLetters("NuGe");
        effect.getParameter = nullptr;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new NullGetParameter(host))->abi();
}
