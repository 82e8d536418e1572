#include "support/TrivialEffect.h"

namespace {

/// Its name is in Latin-1, and no UTF-8: an e with an acute accent, a u with a diaeresis.
class NonUtf8Name : public TrivialEffect {
public:
    explicit NonUtf8Name(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Caf\xE9 Fl\xFCgel";
        effect.uniqueID = fourLetters("Lat1");
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new NonUtf8Name(host))->abi();
}
