#include "support/TrivialEffect.h"

namespace {

/// Its unique identifier is zero, as if unknown.
class NoIdentifier : public TrivialEffect {
public:
    explicit NoIdentifier(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "No Identifier";
        effect.uniqueID = 0;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new NoIdentifier(host))->abi();
}
