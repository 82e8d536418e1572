#include "parent/DirectXFilter.h"

namespace Tarvik {

PluginIdentifier DirectXFilter::identifier() const {
    PluginIdentifier result;
    result.format = PluginFormat::DirectX;
    result.dxClassId = classId;
    return result;
}

String DirectXFilter::lack() const {
    std::vector<String> clauses;
    if (name.isEmpty()) {
        clauses.push_back(
            listedName.isEmpty() ? String("no name registered")
                                 : "no name registered, listed as \"" + listedName + "\"");
    }
    switch (registration) {
    case Registration::complete:
        break;
    case Registration::moduleMissing:
        clauses.push_back("module missing: " + module);
        break;
    case Registration::noModule:
    case Registration::otherProcessor:
    case Registration::noClass:
        clauses.push_back(registrationName(registration));
        break;
    }
    return String::join("; ", clauses);
}

const char* registrationName(DirectXFilter::Registration registration) {
    switch (registration) {
    case DirectXFilter::Registration::complete:
        return "complete";
    case DirectXFilter::Registration::moduleMissing:
        return "module missing";
    case DirectXFilter::Registration::noModule:
        return "class without a module";
    case DirectXFilter::Registration::otherProcessor:
        return "class for 32-bit processes alone";
    case DirectXFilter::Registration::noClass:
        return "no class registered";
    }
    return "";
}

} // namespace Tarvik
