/*
 * User conventions from the C library's locale data, read through a locale
 * object made from the environment (LC_ALL, LC_NUMERIC, LANG): the process's
 * global locale is never changed.
 */
#include "locale/locale_os.h"

#include "kvsup.h"

#include <langinfo.h>
#include <limits.h>
#include <locale.h>

namespace korv::locale {

namespace {

// The C library lists group sizes as bytes, the last one repeating unless
// CHAR_MAX ends the list; the text form lists them as numbers and marks the
// repetition with a final 0.
char *grouping_text(const char *sizes)
{
    char text[64];
    size_t used = 0;
    bool repeats = false;
    for (const char *p = sizes; *p && used + 8 < sizeof text; p++) {
        if (*p == CHAR_MAX || *p < 0) {
            repeats = false;
            break;
        }
        used += KorvSNPrintf(text + used, sizeof text - used, "%s%d", used ? ";" : "", *p);
        repeats = true;
    }
    text[used] = '\0';
    if (repeats)
        KorvSNPrintf(text + used, sizeof text - used, ";0");
    return KorvStrDup(text);
}

} // namespace

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
