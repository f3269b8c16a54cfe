// Building, appending to and pruning argument lists. The words come as a
// variable argument list ending with the word 1, which is copied too.
#include <stdarg.h>
#include "args/arglist.h"

using namespace korv::args;

namespace {

// Copies words from args into list from index on, up to and including the
// end marker. No bound check: the caller's array must be large enough.
void copy_words(KorvArgWord *list, size_t index, va_list args)
{
    for (;;) {
        KorvArgWord w = va_arg(args, KorvArgWord);
        list[index++] = w;
        if (w == KORV_ARG_END)
            return;
    }
}

// The same into a growable list, which grows as needed. A list pointer that
// is null gets a new list first.
uint32_t safe_copy(KorvArgWord **list, bool append, va_list args)
{
    if (!list)
        return 0;
    // A new list has no end marker yet: writing starts at its first word.
    bool fresh = !*list;
    if (fresh && !(*list = new_growable()))
        return 0;
    size_t index = append && !fresh ? end_index(*list) : 0;
    for (;;) {
        KorvArgWord w = va_arg(args, KorvArgWord);
        if (!put_word(list, index++, w))
            return 0;
        if (w == KORV_ARG_END)
            return 1;
    }
}

} // namespace

extern "C" KORV_API uint32_t KorvBuildArgs(KorvArgWord *list, ...)
{
    va_list args;
    va_start(args, list);
    copy_words(list, 0, args);
    va_end(args);
    return 1;
}

extern "C" KORV_API void KorvAppendArgs(KorvArgWord *list, ...)
{
    va_list args;
    va_start(args, list);
    copy_words(list, end_index(list), args);
    va_end(args);
}

extern "C" KORV_API uint32_t KorvSafeBuildArgs(KorvArgWord **list, ...)
{
    va_list args;
    va_start(args, list);
    uint32_t r = safe_copy(list, false, args);
    va_end(args);
    return r;
}

extern "C" KORV_API uint32_t KorvSafeAppendArgs(KorvArgWord **list, ...)
{
    va_list args;
    va_start(args, list);
    uint32_t r = safe_copy(list, true, args);
    va_end(args);
    return r;
}

// Whether every entry, as the removal delimits them, starts with a word
// that can be a name. An entry whose type letters do not cover its words
// (value text with a literal after a reference makes one) puts a value
// word where the next name should be; such a list is left alone rather
// than compared and compacted from a value.
static bool names_walk(const KorvArgWord *list)
{
    const char *previous = "";
    bool at_name = true;
    for (size_t r = 0; list[r] != KORV_ARG_END; r++) {
        KorvArgWord word = list[r];
        if (at_name) {
            if (!korv::args::can_be_pointer(word)) {
                KorvDebug("The argument '%s' is missing it's terminating NULL. This does not "
                          "include the terminating NULL for variable arrays.\n",
                          previous);
                return false;
            }
            previous = reinterpret_cast<const char *>(word);
            at_name = false;
        } else if (word == KORV_ARG_NULL && list[r + 1] != KORV_ARG_NULL) {
            at_name = true;
        }
    }
    return true;
}

// One pass per given name text, with a read and a write position. An entry
// runs from its name word to its first NULL word and the NULL words right
// after it, so value words are taken to be non-NULL.
static void remove_entries(KorvArgWord *list, const char *name)
{
    enum { AtName, Keep, KeepNulls, Drop, DropNulls } state = AtName;
    size_t r = 0, w = 0;
    while (list[r] != KORV_ARG_END) {
        KorvArgWord word = list[r];
        switch (state) {
        case AtName:
            state = KorvStrCaseCmp(reinterpret_cast<const char *>(word), name) == 0 ? Drop : Keep;
            continue; // the read position stays
        case Keep:
        case KeepNulls:
            if (state == KeepNulls && word != KORV_ARG_NULL) {
                state = AtName;
                continue;
            }
            list[w++] = word;
            if (word == KORV_ARG_NULL)
                state = KeepNulls;
            break;
        case Drop:
        case DropNulls:
            if (state == DropNulls && word != KORV_ARG_NULL) {
                state = AtName;
                continue;
            }
            if (word == KORV_ARG_NULL)
                state = DropNulls;
            break;
        }
        r++;
    }
    list[w] = KORV_ARG_END;
}

extern "C" KORV_API uint32_t KorvRemoveArgs(KorvArgWord *list, ...)
{
    va_list args;
    va_start(args, list);
    for (;;) {
        KorvArgWord name = va_arg(args, KorvArgWord);
        if (name == KORV_ARG_END)
            break;
        if (list && names_walk(list))
            remove_entries(list, reinterpret_cast<const char *>(name));
    }
    va_end(args);
    return 1;
}
