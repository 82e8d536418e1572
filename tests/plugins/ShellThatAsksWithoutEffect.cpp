#include "support/TrivialEffect.h"

/// Like the shell that asks, but it has no effect at hand yet, and gives the host a null one.
TEST_PLUGIN_ENTRY(host) {
    char question[] = "shellCategory";
    if (host(nullptr, audioMasterCanDo, 0, 0, question, 0.0f) == 0)
        return nullptr;
    return (new TrivialEffect(host))->abi();
}
