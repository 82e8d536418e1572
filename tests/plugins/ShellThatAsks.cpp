#include "support/TrivialEffect.h"

/// Several plug-ins in one library: asks in its entry point whether the host can choose one of them, and
/// returns null to a host that cannot. It asks with an effect that the host has not seen yet.
TEST_PLUGIN_ENTRY(host) {
    AEffect notYet{};
    notYet.magic = kEffectMagic;
    char question[] = "shellCategory";
    if (host(&notYet, audioMasterCanDo, 0, 0, question, 0.0f) == 0)
        return nullptr;
    return (new TrivialEffect(host))->abi();
}
