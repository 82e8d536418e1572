#include "support/TrivialEffect.h"

namespace {

/// As many channels as a block has at most; with one more it would not be processed.
class ManyChannels : public TrivialEffect {
public:
    explicit ManyChannels(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Many Channels";
        effect.uniqueID = fourLetters("Ch2k");
        effect.numInputs = 2048;
        effect.numOutputs = 2048;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new ManyChannels(host))->abi();
}
