#include "support/TrivialEffect.h"

namespace {

/// Has no window, and does not claim one.
class NoEditor : public TrivialEffect {
public:
    explicit NoEditor(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "No Editor";
        effect.uniqueID = fourLetters("NoEd");
        effect.flags &= ~effFlagsHasEditor;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new NoEditor(host))->abi();
}
