#include "support/TrivialEffect.h"

namespace {

/// A plug-in that also carries the common code of its family.
class CoreLibraryWithEntryPoint : public TrivialEffect {
public:
    explicit CoreLibraryWithEntryPoint(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Core Library with Entry Point";
        effect.uniqueID = fourLetters("CoEn");
    }
};

} // namespace

extern "C" __declspec(dllexport) int PluginCoreCallback();
extern "C" __declspec(dllexport) int PluginCoreCallback() {
    return 0;
}

TEST_PLUGIN_ENTRY(host) {
    return (new CoreLibraryWithEntryPoint(host))->abi();
}
