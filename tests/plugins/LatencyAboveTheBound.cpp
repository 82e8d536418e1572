#include "support/TrivialEffect.h"

namespace {

/// Claims more latency than any host believes.
class LatencyAboveTheBound : public TrivialEffect {
public:
    explicit LatencyAboveTheBound(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Latency Above the Bound";
        effect.uniqueID = fourLetters("LaAb");
        effect.initialDelay = 100000001;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new LatencyAboveTheBound(host))->abi();
}
