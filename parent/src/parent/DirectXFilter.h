#pragma once

#include "protocol/PluginIdentifier.h"

#include <vector>

namespace Tarvik {

/// One audio filter as the registry tells of it. Nothing of it has been loaded, and none of its texts can be
/// trusted: whoever installs something writes them.
struct DirectXFilter {
    /// What a 64-bit process finds under the class identifier.
    enum class Registration {
        /// A module, and its file stands there.
        complete,
        /// A module whose file is not there.
        moduleMissing,
        /// A class, but no module.
        noModule,
        /// No class, but one for 32-bit processes.
        otherProcessor,
        /// No class.
        noClass,
    };

    ClassId classId{};
    /// Under which the filter is a plug-in, and which its scan reports. Empty where none is registered, which
    /// keeps it from being one.
    String name;
    /// What the platform's own list of filters calls it. Empty where it is not in it.
    String listedName;
    Registration registration = Registration::complete;
    /// The module's file as it is registered, with environment variables filled in. Empty where there is
    /// none.
    String module;

    PluginIdentifier identifier() const;

    /// What the registration lacks, for a person: one or two clauses, or nothing.
    String lack() const;
};

/// What became of a search for filters.
struct DirectXFilterList {
    /// By class identifier, each once.
    std::vector<DirectXFilter> filters;
    /// Why some may be missing. Empty where none are.
    String problem;
};

/// A word for JSON, such as "module missing".
const char* registrationName(DirectXFilter::Registration registration);

} // namespace Tarvik
