#include "dsp/RegistrationFaults.h"

namespace DSP::RegistrationFaults {

String NameTaken(const String& name) {
    return String("Parameter \"%1\" has already been registered").arg(name);
}

String NotRegistered(std::uint32_t index) {
    return String("Parameter index %1 has not been registered").arg(index);
}

String SameName(std::uint32_t index) {
    return String("Parameter registration for parameter index %1 failed. Was there already a parameter with "
                  "the same ID?")
        .arg(index);
}

String WrongIndex(std::uint32_t index, std::uint32_t actual) {
    return String("Parameter registration for parameter index %1 returned in the wrong index: %2")
        .arg(index)
        .arg(actual);
}

} // namespace DSP::RegistrationFaults
