#include "support/TrivialEffect.h"

namespace {

/// Says that it is a shell when asked for its category, and never asks the host anything.
class ShellByCategory : public TrivialEffect {
public:
    explicit ShellByCategory(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Shell by Category";
        effect.uniqueID = fourLetters("ShCa");
        category = kPlugCategShell;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new ShellByCategory(host))->abi();
}
