#pragma once

#include "svbase/util/String.h"

#include <cstdint>

/// What can be wrong with the registration of parameters, for whoever looks with a debugger. None of it stops
/// anything.
namespace DSP::RegistrationFaults {

String NameTaken(const String& name);
String NotRegistered(std::uint32_t index);
String SameName(std::uint32_t index);
String WrongIndex(std::uint32_t index, std::uint32_t actual);

} // namespace DSP::RegistrationFaults
