#include "support/TrivialEffect.h"

/// A sound effect, for another processor than the host's.
TEST_PLUGIN_ENTRY(host) {
    return (new TrivialEffect(host))->abi();
}
