#include "support/TrivialEffect.h"

namespace {

/// Answers zero when asked for its name: the file's name serves.
class Nameless : public TrivialEffect {
public:
    explicit Nameless(audioMasterCallback callback) : TrivialEffect(callback) {
        effect.uniqueID = fourLetters("NoNa");
        name = nullptr;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new Nameless(host))->abi();
}
