// Type groups, entry walking and growth of argument lists.
#include "args/arglist.h"

namespace korv::args {

namespace {

char fold(char c)
{
    return c >= 'A' && c <= 'Z' ? (char)(c + 32) : c;
}

bool two_letters(char letter)
{
    return letter == 'u' || letter == 'w' || letter == 'p';
}

} // namespace

bool next_group(const char *types, Group &g)
{
    if (!types || !*types)
        return false;
    int at = 0;
    g.array = types[0] == '#';
    if (g.array)
        at = 1;
    g.letter = fold(types[at]);
    g.second = 0;
    at += g.letter ? 1 : 0;
    if (two_letters(g.letter) && types[at]) {
        g.second = types[at];
        at++;
    }
    g.length = at;
    return true;
}

void group_text(const char *types, const Group &g, char out[4])
{
    int n = 0;
    for (; n < g.length && n < 3; n++)
        out[n] = types[n];
    out[n] = 0;
}

size_t fixed_element_size(const Group &g)
{
    switch (g.letter) {
    case 'i':
    case 'b':
        return 4;
    case 'w':
        return fold(g.second) == 'i' ? 16 : 32;
    default:
        return 8;
    }
}

const char *qualifier(const char *name)
{
    if (!name)
        return nullptr;
    for (const char *p = name; *p; p++)
        if (*p == ':')
            return p + 1;
    return nullptr;
}

size_t name_length(const char *name)
{
    size_t n = 0;
    while (name[n] && name[n] != ':')
        n++;
    return n;
}

namespace {

void report_missing_null(const char *name)
{
    KorvDebug("The argument '%s' is missing it's terminating NULL. This does not include the "
              "terminating NULL for variable arrays.\n",
              name);
}

} // namespace

bool walk_entry(const KorvArgWord *list, size_t at, size_t *next, int32_t *values)
{
    if (!can_be_pointer(list[at])) {
        // Only the list's first word can get here: later ones are checked
        // as the word after the entry before them.
        report_missing_null("");
        return false;
    }
    const char *name = reinterpret_cast<const char *>(list[at]);
    const char *types = qualifier(name);
    if (!types) {
        KorvDebug("Argument '%s' in list missing the colon type qualifier.\n", name);
        return false;
    }
    size_t pos = at + 1;
    int64_t count = 0;
    Group g;
    for (; next_group(types, g); types += g.length) {
        if (!g.array) {
            if (list[pos] == KORV_ARG_END)
                break; // reported below as the missing NULL
            pos++;
            count += element_values(g);
        } else if (list[pos] == KORV_ARG_FIXED) {
            // The count and the elements are pointers; a fixed array cut
            // short by the end marker, or without a count, is no array.
            if (!can_be_pointer(list[pos + 1]) || list[pos + 2] == KORV_ARG_END) {
                report_missing_null(name);
                return false;
            }
            int32_t n = *reinterpret_cast<const int32_t *>(list[pos + 1]);
            count += (n > 0 ? n : 0) * element_values(g);
            pos += 3;
        } else {
            for (; list[pos] != KORV_ARG_NULL; pos++) {
                if (list[pos] == KORV_ARG_END) {
                    KorvDebug("The variable array for argument '%s' is missing it's terminating "
                              "NULL.\n",
                              name);
                    return false;
                }
                count += element_values(g);
            }
            pos++;
        }
    }
    if (list[pos] != KORV_ARG_NULL) {
        report_missing_null(name);
        return false;
    }
    // What follows must start an entry or end the list; anything else means
    // this entry holds words its type letters do not cover.
    if (list[pos + 1] != KORV_ARG_END && !can_be_pointer(list[pos + 1])) {
        report_missing_null(name);
        return false;
    }
    *next = pos + 1;
    if (values)
        *values = count > INT32_MAX ? INT32_MAX : (int32_t)count;
    return true;
}

int find_entry(const KorvArgWord *list, const char *name, size_t name_len, size_t *at,
               int32_t *values)
{
    if (!list)
        return 2;
    size_t pos = 0;
    while (list[pos] != KORV_ARG_END) {
        size_t next;
        int32_t count;
        if (!walk_entry(list, pos, &next, &count))
            return 0;
        const char *entry = reinterpret_cast<const char *>(list[pos]);
        if (name_length(entry) == name_len && KorvStrNCaseCmp(entry, name, name_len) == 0) {
            *at = pos;
            if (values)
                *values = count;
            return 1;
        }
        pos = next;
    }
    return 2;
}

size_t end_index(const KorvArgWord *list)
{
    size_t n = 0;
    while (list[n] != KORV_ARG_END)
        n++;
    return n;
}

KorvArgWord *new_growable()
{
    auto *list = static_cast<KorvArgWord *>(korv_internal_calloc(16, sizeof(KorvArgWord)));
    if (list)
        list[15] = kCapacityMark;
    return list;
}

bool put_word(KorvArgWord **list, size_t index, KorvArgWord word)
{
    KorvArgWord *words = *list;
    if (words[index] == kCapacityMark) {
        size_t n = index;
        KorvArgWord *grown = nullptr;
        if (n < SIZE_MAX / 2 / sizeof(KorvArgWord) - 1)
            grown = static_cast<KorvArgWord *>(
                korv_internal_realloc(words, (2 * n + 2) * sizeof(KorvArgWord)));
        if (!grown) {
            *list = nullptr;
            return false;
        }
        for (size_t i = n; i <= 2 * n; i++)
            grown[i] = 0;
        grown[2 * n + 1] = kCapacityMark;
        words = grown;
        *list = grown;
    }
    words[index] = word;
    return true;
}

} // namespace korv::args
