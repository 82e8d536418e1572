// Any text is an identifier or leaves a default one; what was read is written in a form that reads back as
// itself.

#include "Require.h"
#include "protocol/PluginIdentifier.h"

#include <cstddef>
#include <cstdint>
#include <string>

using namespace Tarvik;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const String text(std::string(reinterpret_cast<const char*>(data), size));
    PluginIdentifier identifier;
    if (!identifier.FromString(text)) {
        REQUIRE(identifier.format == PluginFormat::None && identifier.vstPath.isEmpty());
        return 0;
    }
    const PluginIdentifier copy = identifier;
    REQUIRE(!(identifier < copy) && !(copy < identifier) && identifier == copy);
    // A code with a comma or a placeholder in it, or a path with white space around, reads back as another
    // identifier or as none; but that one is then in its final form.
    PluginIdentifier again;
    if (again.FromString(identifier.ToString())) {
        REQUIRE(again.format == identifier.format);
        PluginIdentifier final;
        if (again.ToString() == identifier.ToString() && final.FromString(again.ToString())) {
            REQUIRE(final == again);
            REQUIRE(final.ToString() == again.ToString());
        }
    }
    return 0;
}
