/*
 * Names built from two pieces: a path and a file name, a name and its
 * extension, a prefix and a symbol.
 */
#ifndef KVSUP_MODULES_JOINED_H
#define KVSUP_MODULES_JOINED_H

#include <string.h>
#include <kvsup.h>

namespace korv {

// The first an bytes of a followed by b, as a new string (freed with
// korv_internal_free); null when memory runs out.
inline char *joined(const char *a, size_t an, const char *b)
{
    size_t bn = strlen(b);
    char *s = static_cast<char *>(korv_internal_malloc(an + bn + 1));
    if (s) {
        memcpy(s, a, an);
        memcpy(s + an, b, bn + 1);
    }
    return s;
}

} // namespace korv

#endif
