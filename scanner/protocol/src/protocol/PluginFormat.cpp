#include "protocol/PluginFormat.h"

#include <algorithm>
#include <array>

namespace Tarvik {
namespace {

struct FormatNames {
    PluginFormat format;
    const char* shortName;
    const char* displayName;
};

constexpr std::array formatNames{
    FormatNames{PluginFormat::None, "None", "None"},
    FormatNames{PluginFormat::AudioUnit, "AU", "Audio Unit"},
    FormatNames{PluginFormat::VST, "VST", "VST"},
    FormatNames{PluginFormat::DirectX, "DX", "DirectX"},
    FormatNames{PluginFormat::TestableDSP, "TDSP", "TestableDSP"},
};

const FormatNames* findNames(PluginFormat format) {
    const auto found = std::ranges::find(formatNames, format, &FormatNames::format);
    return found == formatNames.end() ? nullptr : &*found;
}

} // namespace

String GetPluginFormatDisplayName(PluginFormat format) {
    const FormatNames* names = findNames(format);
    return names ? names->displayName : "?";
}

String GetPluginFormatShortName(PluginFormat format) {
    const FormatNames* names = findNames(format);
    return names ? names->shortName : "";
}

} // namespace Tarvik
