#include "support/TrivialEffect.h"

namespace {

/// Asks like a shell, and then comes as an effect without an editor: two reasons to turn it down.
class ShellWithoutEditor : public TrivialEffect {
public:
    explicit ShellWithoutEditor(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Shell without Editor";
        effect.uniqueID = fourLetters("ShNE");
        effect.flags &= ~effFlagsHasEditor;
        char question[] = "shellCategory";
        host(&effect, audioMasterCanDo, 0, 0, question, 0.0f);
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new ShellWithoutEditor(host))->abi();
}
