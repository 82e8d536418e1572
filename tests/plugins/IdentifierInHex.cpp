#include "support/TrivialEffect.h"

namespace {

/// Its unique identifier has a zero byte, and no text form in letters.
class IdentifierInHex : public TrivialEffect {
public:
    explicit IdentifierInHex(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Identifier in Hex";
        effect.uniqueID = 0x00636261;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new IdentifierInHex(host))->abi();
}
