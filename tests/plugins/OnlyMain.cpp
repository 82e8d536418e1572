#include "support/TrivialEffect.h"

namespace {

/// Exports "main" alone, as libraries did before the entry point had a name of its own.
class OnlyMain : public TrivialEffect {
public:
    explicit OnlyMain(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Only main";
        effect.uniqueID = fourLetters("Main");
    }
};

} // namespace

// The export is called "main" by a module definition: the language keeps that name for itself.
extern "C" AEffect* entryPointCalledMain(audioMasterCallback host);
extern "C" AEffect* entryPointCalledMain(audioMasterCallback host) {
    return (new OnlyMain(host))->abi();
}
