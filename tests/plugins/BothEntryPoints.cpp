#include "support/TrivialEffect.h"

namespace {

/// Exports both entry points, as libraries did that served old hosts as well. Each makes an effect of its
/// own, so that a report tells which was called.
class BothEntryPoints : public TrivialEffect {
public:
    BothEntryPoints(audioMasterCallback callback, const char* nameOfEntryPoint, std::int32_t identifier)
        : TrivialEffect(callback) {
        name = nameOfEntryPoint;
        effect.uniqueID = identifier;
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new BothEntryPoints(host, "By VSTPluginMain", fourLetters("ByVm")))->abi();
}

// Called "main" by the module definition that OnlyMain has.
extern "C" AEffect* entryPointCalledMain(audioMasterCallback host);
extern "C" AEffect* entryPointCalledMain(audioMasterCallback host) {
    return (new BothEntryPoints(host, "By main", fourLetters("ByMa")))->abi();
}
