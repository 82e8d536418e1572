#include "hosting/vst/VstAbi.h"

#if defined(_WIN32)
#define LIBRARY_EXPORT __declspec(dllexport)
#else
#define LIBRARY_EXPORT __attribute__((visibility("default")))
#endif

namespace {

VstEntryPoint factory = nullptr;

#if defined(EXPORT_ENTRY_POINT) || defined(EXPORT_OLD_ENTRY_POINT)
AEffect* makeEffect(audioMasterCallback host) {
    return factory == nullptr ? nullptr : factory(host);
}
#endif

} // namespace

extern "C" {

/// What the entry points answer from now on. Null: no effect.
LIBRARY_EXPORT void SetEffectFactory(VstEntryPoint makes) {
    factory = makes;
}

#if defined(EXPORT_ENTRY_POINT)
LIBRARY_EXPORT AEffect* VSTCALLBACK VSTPluginMain(audioMasterCallback host) {
    return makeEffect(host);
}
#endif

#if defined(EXPORT_OLD_ENTRY_POINT)
// The language reserves the name "main"; the assembler does not.
LIBRARY_EXPORT AEffect* VSTCALLBACK oldEntryPoint(audioMasterCallback host) __asm__("main");
LIBRARY_EXPORT AEffect* VSTCALLBACK oldEntryPoint(audioMasterCallback host) {
    return makeEffect(host);
}
#endif

#if defined(EXPORT_EMPTY_OLD_ENTRY_POINT)
// Makes nothing: who calls it has no effect.
LIBRARY_EXPORT AEffect* VSTCALLBACK emptyOldEntryPoint(audioMasterCallback host) __asm__("main");
LIBRARY_EXPORT AEffect* VSTCALLBACK emptyOldEntryPoint(audioMasterCallback) {
    return nullptr;
}
#endif

#if defined(EXPORT_CORE_ENTRY_POINT)
LIBRARY_EXPORT void PluginCoreCallback() {}
#endif
}
