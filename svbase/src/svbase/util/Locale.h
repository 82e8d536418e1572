#pragma once

#include <string>

/// What the platform knows about writing numbers. Duties of a platform: both answers, never a failure.
namespace Util::Locale {

/// The decimal separator of the user's settings, '.' when they cannot be had. One byte.
char userDecimalSeparator();

/// The decimal point that the C library's conversions expect at this moment; never empty.
std::string libraryDecimalPoint();

} // namespace Util::Locale
