/// The common code of a family of plug-ins: no plug-in itself.
extern "C" __declspec(dllexport) int PluginCoreCallback();
extern "C" __declspec(dllexport) int PluginCoreCallback() {
    return 0;
}
