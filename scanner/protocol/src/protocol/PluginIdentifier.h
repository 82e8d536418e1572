#pragma once

#include "protocol/ClassId.h"
#include "protocol/PluginFormat.h"
#include "svbase/util/String.h"

#include <cstdint>

namespace Tarvik {

/// Names one plug-in. All fields exist for every format; only those of its format have meaning. A plain
/// value: distinct objects may be used on distinct threads.
struct PluginIdentifier {
    PluginFormat format = PluginFormat::None;

    /// The library's file path.
    String vstPath;
    /// What vstPath is compared by; see VSTKeyFromPath. Whoever sets vstPath sets this too, or uses ForVST.
    String vstKey;
    /// The unique identifier that the plug-in reports; 0 while it is not known.
    std::uint32_t vstId = 0;

    ClassId dxClassId{};

    /// Four-character codes.
    std::uint32_t auType = 0;
    std::uint32_t auSubtype = 0;
    std::uint32_t auManufacturer = 0;

    /// The library's file path.
    String tdspPath;
    /// Which instance inside that library.
    std::uint32_t tdspIndex = 0;
    bool tdspIndexSet = false;

    static PluginIdentifier ForVST(const String& path, std::uint32_t id);

    /// The path in normal form, without a trailing separator.
    static String VSTKeyFromPath(const String& path);

    /// The text form: "VST: 'abcd',C:\Plugins\A.dll", "DX: <class identifier>",
    /// "AU: 'abcd','efgh','ijkl'", "TDSP: 0,C:\Plugins\A.dll", "None". Paths are written with backslashes.
    /// Empty for a format value that names no format.
    String ToString() const;

    /// Reads a text form. False, and a default identifier, for a text that is none. Not every identifier
    /// comes back from its own text: a comma in a path or in a four-character code separates fields, outer
    /// white space of a path is trimmed, and '%' followed by a digit in a code is a placeholder to ToString.
    /// A malformed class identifier reads as sixteen zeros and succeeds.
    bool FromString(const String& text);

    /// Nothing is missing to load the plug-in. `None` and values that name no format are never complete.
    bool IsComplete() const;

    /// Looser than the order below: with the same file, a VST identifier of 0 on either side matches any
    /// (not if the left path is empty). TestableDSP paths are compared as the files they name, in any case.
    friend bool operator==(const PluginIdentifier& left, const PluginIdentifier& right);

    /// By format, then by the fields of the format. VST identifiers of the same file are ordered only where
    /// both are known: one that is 0 is neither less nor greater than the others, which differ among
    /// themselves. So this is no strict weak order over a file's identifiers when a 0 is among them; a set
    /// of them stays usable, but may drop the 0 or a known one, by the order of insertion.
    friend bool operator<(const PluginIdentifier& left, const PluginIdentifier& right);
};

} // namespace Tarvik
