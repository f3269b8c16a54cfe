/*
 * The platform's half of the user locale: the user's number conventions as
 * the operating system reports them.
 */
#ifndef KVSUP_LOCALE_LOCALE_OS_H
#define KVSUP_LOCALE_LOCALE_OS_H

namespace korv::locale {

enum class Convention { decimal_point, thousands_sep, grouping };

// The user's default value of one convention as a new UTF-8 string
// (korv_internal_malloc), or null when the platform cannot tell. Grouping
// is written as the list of group sizes separated by ';', ending in ";0"
// when the last size repeats ("3;0" for thousands).
char *query_user_convention(Convention which);

// The C library's group sizes (one byte each, as in localeconv's grouping)
// in that text form, as a new string; null when it cannot be allocated.
char *grouping_text(const char *sizes);

} // namespace korv::locale

#endif
