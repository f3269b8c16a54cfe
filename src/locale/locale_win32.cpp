/*
 * User conventions from the system's locale information of the user
 * default locale.
 */
#include "locale/locale_os.h"

#include "kvsup.h"

#include <windows.h>

namespace korv::locale {

char *query_user_convention(Convention which)
{
    LCTYPE type = which == Convention::decimal_point   ? LOCALE_SDECIMAL
                  : which == Convention::thousands_sep ? LOCALE_STHOUSAND
                                                       : LOCALE_SGROUPING;
    wchar_t value[64];
    if (GetLocaleInfoW(LOCALE_USER_DEFAULT, type, value, 64) == 0)
        return nullptr;
    static_assert(sizeof(wchar_t) == sizeof(uint16_t), "UTF-16 text");
    return KorvUTF8ConvertFromUTF16(reinterpret_cast<const uint16_t *>(value));
}

} // namespace korv::locale
