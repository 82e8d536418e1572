#include "support/TrivialEffect.h"

namespace {

/// Claims the largest latency that a host believes.
class LatencyAtTheBound : public TrivialEffect {
public:
    explicit LatencyAtTheBound(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Latency at the Bound";
        effect.uniqueID = fourLetters("LaAt");
        effect.initialDelay = 100000000;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new LatencyAtTheBound(host))->abi();
}
