#pragma once

#include "hosting/vst/VstAbi.h"

#include <windows.h>

/// The least that a host does to a VST library: load it, make its effect, open and close it. False if there
/// is no effect.
inline bool openAndClose(const wchar_t* path) {
    const auto host = [](AEffect*, std::int32_t opcode, std::int32_t, std::intptr_t, void*,
                         float) -> std::intptr_t { return opcode == audioMasterVersion ? 2400 : 0; };
    const HMODULE library = LoadLibraryW(path);
    const FARPROC found = library ? GetProcAddress(library, "VSTPluginMain") : nullptr;
    if (!found) {
        return false;
    }
    using EntryPoint = AEffect* (*)(audioMasterCallback);
    AEffect* effect = reinterpret_cast<EntryPoint>(reinterpret_cast<void*>(found))(host);
    if (!effect) {
        return false;
    }
    effect->dispatcher(effect, effOpen, 0, 0, nullptr, 0.0f);
    effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0f);
    return true;
}
