/*
 * User conventions from the C library's locale data, read through a locale
 * object made from the environment (LC_ALL, LC_NUMERIC, LANG): the process's
 * global locale is never changed.
 */
#include "locale/locale_os.h"

#include "kvsup.h"

#include <langinfo.h>
#include <locale.h>

namespace korv::locale {

char *query_user_convention(Convention which)
{
    locale_t user = newlocale(LC_NUMERIC_MASK, "", (locale_t)0);
    if (user == (locale_t)0)
        return nullptr;
    char *value = nullptr;
    switch (which) {
    case Convention::decimal_point:
        value = KorvStrDup(nl_langinfo_l(RADIXCHAR, user));
        break;
    case Convention::thousands_sep:
        value = KorvStrDup(nl_langinfo_l(THOUSEP, user));
        break;
    case Convention::grouping:
        value = grouping_text(nl_langinfo_l(GROUPING, user));
        break;
    }
    freelocale(user);
    return value;
}

} // namespace korv::locale
