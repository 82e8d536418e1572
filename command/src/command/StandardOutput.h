#pragma once

#include <string_view>

/// Written at once, so that it stands in order with the errors, and known to be written. Throws
/// std::system_error where it is not.
void writeOutput(std::string_view text);
