#include "support/TrivialEffect.h"

namespace {

/// More programs than a host keeps in a list.
class ThreeHundredPrograms : public TrivialEffect {
public:
    explicit ThreeHundredPrograms(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Three Hundred Programs";
        effect.uniqueID = fourLetters("Pr30");
        effect.numPrograms = 300;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new ThreeHundredPrograms(host))->abi();
}
