#include "protocol/PluginIdentifier.h"

#include "protocol/FourCharCode.h"
#include "svbase/util/Path.h"

#include <algorithm>
#include <tuple>
#include <vector>

namespace Tarvik {
namespace {

/// Where the path leads, in one case: equal for all spellings of one file.
String fileKey(const String& path) {
    return Util::Path::absolute(path).toLower();
}

bool readVST(const String& rest, PluginIdentifier& identifier) {
    const std::vector<String> fields = rest.split(',');
    if (fields.size() != 2) {
        return false;
    }
    const auto id = FourCharCodeFromString(fields[0]);
    if (!id) {
        return false;
    }
    identifier = PluginIdentifier::ForVST(fields[1], id.value);
    return true;
}

bool readDirectX(const String& rest, PluginIdentifier& identifier) {
    identifier.format = PluginFormat::DirectX;
    identifier.dxClassId = ClassIdFromString(rest);
    return true;
}

bool readAudioUnit(const String& rest, PluginIdentifier& identifier) {
    const std::vector<String> fields = rest.split(',');
    if (fields.size() != 3) {
        return false;
    }
    const auto type = FourCharCodeFromString(fields[0].trimmed());
    const auto subtype = FourCharCodeFromString(fields[1].trimmed());
    const auto manufacturer = FourCharCodeFromString(fields[2].trimmed());
    if (!type || !subtype || !manufacturer) {
        return false;
    }
    identifier.format = PluginFormat::AudioUnit;
    identifier.auType = type.value;
    identifier.auSubtype = subtype.value;
    identifier.auManufacturer = manufacturer.value;
    return true;
}

bool readTestableDSP(const String& rest, PluginIdentifier& identifier) {
    const std::vector<String> fields = rest.split(',');
    if (fields.size() != 2) {
        return false;
    }
    const auto index = fields[0].toUnsigned(10);
    if (!index || fields[1].isEmpty()) {
        return false;
    }
    identifier.format = PluginFormat::TestableDSP;
    identifier.tdspPath = fields[1];
    identifier.tdspIndex = index.value;
    identifier.tdspIndexSet = true;
    return true;
}

struct Reader {
    PluginFormat format;
    bool (*read)(const String& rest, PluginIdentifier& identifier);
};

constexpr Reader readers[] = {
    {PluginFormat::VST, readVST},
    {PluginFormat::DirectX, readDirectX},
    {PluginFormat::AudioUnit, readAudioUnit},
    {PluginFormat::TestableDSP, readTestableDSP},
};

bool readAny(const String& text, PluginIdentifier& identifier) {
    const auto colon = text.indexOf(':');
    if (!colon) {
        return false;
    }
    const String prefix = text.left(colon.value).toLower();
    const String rest = text.mid(colon.value + 1).trimmed();
    for (const Reader& reader : readers) {
        if (prefix == GetPluginFormatShortName(reader.format).toLower()) {
            return reader.read(rest, identifier);
        }
    }
    return false;
}

} // namespace

PluginIdentifier PluginIdentifier::ForVST(const String& path, std::uint32_t id) {
    PluginIdentifier identifier;
    identifier.format = PluginFormat::VST;
    identifier.vstPath = path;
    identifier.vstKey = VSTKeyFromPath(path);
    identifier.vstId = id;
    return identifier;
}

String PluginIdentifier::VSTKeyFromPath(const String& path) {
    const String normal = Util::Path::normalise(path);
    return normal.endsWith("/") ? normal.left(normal.length() - 1) : normal;
}

String PluginIdentifier::ToString() const {
    const String prefix = GetPluginFormatShortName(format) + ": ";
    switch (format) {
    case PluginFormat::None:
        return GetPluginFormatShortName(format);
    case PluginFormat::VST:
        return prefix + String("%1,%2").arg(FourCharCodeToString(vstId)).arg(Util::Path::toNative(vstPath));
    case PluginFormat::DirectX:
        return prefix + ClassIdToString(dxClassId);
    case PluginFormat::AudioUnit:
        return prefix + String("%1,%2,%3")
                            .arg(FourCharCodeToString(auType))
                            .arg(FourCharCodeToString(auSubtype))
                            .arg(FourCharCodeToString(auManufacturer));
    case PluginFormat::TestableDSP:
        return prefix + String("%1,%2").arg(tdspIndex).arg(Util::Path::toNative(tdspPath));
    }
    return "";
}

bool PluginIdentifier::FromString(const String& text) {
    *this = PluginIdentifier();
    const String trimmed = text.trimmed();
    if (trimmed.toLower() == GetPluginFormatShortName(PluginFormat::None).toLower()) {
        return true;
    }
    return readAny(trimmed, *this);
}

bool PluginIdentifier::IsComplete() const {
    switch (format) {
    case PluginFormat::AudioUnit:
        return auType != 0 && auSubtype != 0 && auManufacturer != 0;
    case PluginFormat::VST:
        return !vstPath.isEmpty();
    case PluginFormat::DirectX:
        return dxClassId != ClassId{};
    case PluginFormat::TestableDSP:
        return !tdspPath.isEmpty() && tdspIndexSet;
    case PluginFormat::None:
        break;
    }
    return false;
}

bool operator==(const PluginIdentifier& left, const PluginIdentifier& right) {
    if (left.format != right.format) {
        return false;
    }
    switch (left.format) {
    case PluginFormat::None:
        return true;
    case PluginFormat::AudioUnit:
        return left.auType == right.auType && left.auSubtype == right.auSubtype &&
               left.auManufacturer == right.auManufacturer;
    case PluginFormat::VST:
        if (!(left.vstKey == right.vstKey)) {
            return false;
        }
        if (!left.vstPath.isEmpty() && (left.vstId == 0 || right.vstId == 0)) {
            return true;
        }
        return left.vstId == right.vstId;
    case PluginFormat::DirectX:
        return left.dxClassId == right.dxClassId;
    case PluginFormat::TestableDSP:
        return Util::Path::sameFile(left.tdspPath, right.tdspPath) &&
               left.tdspIndexSet == right.tdspIndexSet &&
               (!left.tdspIndexSet || left.tdspIndex == right.tdspIndex);
    }
    return false;
}

bool operator<(const PluginIdentifier& left, const PluginIdentifier& right) {
    if (left.format != right.format) {
        return left.format < right.format;
    }
    switch (left.format) {
    case PluginFormat::AudioUnit:
        return std::tie(left.auType, left.auSubtype, left.auManufacturer) <
               std::tie(right.auType, right.auSubtype, right.auManufacturer);
    case PluginFormat::VST:
        if (!(left.vstKey == right.vstKey)) {
            return left.vstKey < right.vstKey;
        }
        return left.vstId != 0 && right.vstId != 0 && left.vstId < right.vstId;
    case PluginFormat::DirectX:
        return left.dxClassId < right.dxClassId;
    case PluginFormat::TestableDSP: {
        // By the file, not by the spelling: spellings of one file must not straddle another file.
        const String leftFile = fileKey(left.tdspPath);
        const String rightFile = fileKey(right.tdspPath);
        return leftFile == rightFile ? left.tdspIndex < right.tdspIndex : leftFile < rightFile;
    }
    case PluginFormat::None:
        break;
    }
    return false;
}

} // namespace Tarvik
