#include "support/TrivialEffect.h"

namespace {

/// One channel more than a host processes.
class TooManyChannels : public TrivialEffect {
public:
    explicit TooManyChannels(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Too Many Channels";
        effect.uniqueID = fourLetters("Ch2m");
        effect.numInputs = 2049;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new TooManyChannels(host))->abi();
}
