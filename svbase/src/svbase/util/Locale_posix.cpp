#include "svbase/util/Locale.h"

#include <cstring>
#include <langinfo.h>
#include <locale.h>

namespace Util::Locale {

char userDecimalSeparator() {
    const locale_t user = newlocale(LC_NUMERIC_MASK, "", locale_t{});
    if (user == locale_t{}) {
        return '.';
    }
    const char* radix = nl_langinfo_l(RADIXCHAR, user);
    // Some locales write a separator of several bytes, which a single byte cannot stand for.
    const char separator = std::strlen(radix) == 1 ? *radix : '.';
    freelocale(user);
    return separator;
}

std::string libraryDecimalPoint() {
    // Not localeconv, which fills one static record from every thread.
    const char* radix = nl_langinfo(RADIXCHAR);
    return *radix == '\0' ? "." : radix;
}

} // namespace Util::Locale
