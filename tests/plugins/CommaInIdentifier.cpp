#include "support/TrivialEffect.h"

namespace {

/// A code that its text form cannot carry: the comma parts it from the path.
class CommaInIdentifier : public TrivialEffect {
public:
    explicit CommaInIdentifier(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Comma in Identifier";
        effect.uniqueID = fourLetters("A,B1");
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new CommaInIdentifier(host))->abi();
}
