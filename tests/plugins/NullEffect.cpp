#include "support/TrivialEffect.h"

/// Loads, and then declines, without a word to the host: a licence that ran out, say.
TEST_PLUGIN_ENTRY(host) {
    return host ? nullptr : (new TrivialEffect(host))->abi();
}
