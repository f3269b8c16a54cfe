// Small helpers for tests that build and read argument lists word by word.
#ifndef KVSUP_TESTS_ARGS_ARG_WORDS_H
#define KVSUP_TESTS_ARGS_ARG_WORDS_H

#include <stddef.h>
#include <kvsup.h>

// A pointer as an argument word.
inline KorvArgWord W(const void *p)
{
    return reinterpret_cast<KorvArgWord>(p);
}

// An argument word read back as text.
inline const char *text(KorvArgWord w)
{
    return reinterpret_cast<const char *>(w);
}

// The position of the list's end marker.
inline size_t end_of(const KorvArgWord *list)
{
    size_t n = 0;
    while (list[n] != KORV_ARG_END)
        n++;
    return n;
}

#endif
