#include "svbase/util/Locale.h"

#include <clocale>

#include <windows.h>

namespace Util::Locale {

char userDecimalSeparator() {
    char text[8] = {};
    if (GetLocaleInfoA(GetUserDefaultLCID(), LOCALE_SDECIMAL, text, sizeof(text)) == 0 || text[0] == '\0') {
        return '.';
    }
    return text[0];
}

std::string libraryDecimalPoint() {
    const lconv* conventions = std::localeconv();
    if (conventions == nullptr || conventions->decimal_point == nullptr ||
        *conventions->decimal_point == '\0') {
        return ".";
    }
    return conventions->decimal_point;
}

} // namespace Util::Locale
