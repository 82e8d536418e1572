#pragma once

#include "svbase/util/String.h"

#include <cstdint>

namespace Tarvik {

/// Which kind of plug-in an identifier names.
enum class PluginFormat : std::int32_t {
    None = 0,
    AudioUnit = 1,
    VST = 2,
    DirectX = 3,
    TestableDSP = 4,
};

/// For people: "Audio Unit". "?" for a value that names no format. [any]
String GetPluginFormatDisplayName(PluginFormat format);

/// The prefix of an identifier's text form: "AU". Empty for a value that names no format. [any]
String GetPluginFormatShortName(PluginFormat format);

} // namespace Tarvik
