// Appending an entry whose values come from value text: literal words and
// references to the values of a macro argument list, %{name[start]:count}.
#include <string.h>
#include "args/arglist.h"

using namespace korv::args;

namespace {

// The new entry while it is being written.
struct Appender {
    KorvSmallHeap *heap;
    KorvArgWord **list;
    size_t name_slot; // the end marker's old place, where the name goes
    size_t index;     // next value slot
    char types[256];  // the qualifier gathered so far
    size_t types_len;
    bool strings_open; // set by the first literal word, never cleared
};

bool put(Appender &a, KorvArgWord word)
{
    return put_word(a.list, a.index++, word);
}

// Adds n letters to the qualifier; false when it would not fit.
bool add_types(Appender &a, const char *letters, size_t n)
{
    if (a.types_len + n >= sizeof a.types)
        return false;
    memcpy(a.types + a.types_len, letters, n);
    a.types_len += n;
    a.types[a.types_len] = 0;
    return true;
}

bool add_group(Appender &a, const char *types, const Group &g)
{
    char text[4];
    group_text(types, g, text);
    return add_types(a, text, strlen(text));
}

const int32_t kAll = -1;

struct Reference {
    const char *name; // NUL-terminated
    int32_t start;
    int32_t count; // kAll for '#'
};

// Reads a reference from the text after "%{": the name ends at '}', ':' or
// '['; "[start]" and ":count" or ":#" may follow.
Reference parse_reference(char *text)
{
    Reference r{text, 0, 1};
    char *p = text;
    while (*p && *p != '}' && *p != ':' && *p != '[')
        p++;
    char stop = *p;
    *p = 0;
    auto number = [](char *&q) {
        int32_t v = 0;
        bool negative = *q == '-';
        if (negative)
            q++;
        while (*q >= '0' && *q <= '9') {
            if (v < 100000000)
                v = v * 10 + (*q - '0');
            q++;
        }
        return negative ? -v : v;
    };
    if (stop == '[') {
        p++;
        r.start = number(p);
        while (*p && *p != ']' && *p != '}')
            p++;
        if (*p == ']')
            stop = *++p;
        else
            stop = *p;
    }
    if (stop == ':') {
        p++;
        if (*p == '#')
            r.count = kAll;
        else
            r.count = number(p);
    }
    return r;
}

bool allowed_array_type(const char *macro_name, const char *types, const Group &g)
{
    char as_written = types[1];
    switch (g.letter) {
    case 'f':
    case 's':
    case 'v':
    case 'i':
    case 'u':
    case 'p':
        return true;
    case 'w':
        if (g.second == 'i' || g.second == 'I' || g.second == 'f' || g.second == 'F')
            return true;
        KorvDebug("Unknown array argument window type '%c' in macro argument '%s'.\n", g.second,
                  macro_name);
        return false;
    default:
        KorvDebug("Unknown array argument type '%c' in macro argument '%s'.\n", as_written,
                  macro_name);
        return false;
    }
}

bool variable_array_ends(const KorvArgWord *words, size_t w, const char *macro_name)
{
    if (words[w] != KORV_ARG_END)
        return true;
    KorvDebug("The variable array for argument '%s' is missing it's terminating NULL.\n",
              macro_name);
    return false;
}

// Appends the values a reference asks for. 1 done, 2 no such argument (or
// no values at all), 0 error.
int resolve(Appender &a, const KorvArgWord *macros, const Reference &ref)
{
    if (!macros || macros[0] == KORV_ARG_END)
        return 2;
    size_t at = 0;
    const char *name = nullptr;
    for (;;) {
        if (macros[at] == KORV_ARG_END)
            return 2;
        // The entry must walk, the one that matches included: its words are
        // copied and its fixed-array counts read below.
        size_t next;
        if (!walk_entry(macros, at, &next, nullptr))
            return 0;
        name = reinterpret_cast<const char *>(macros[at]);
        // A reference whose name merely begins with the entry's name matches.
        if (KorvStrNCaseCmp(name, ref.name, name_length(name)) == 0)
            break;
        at = next;
    }
    if (macros[at + 1] == KORV_ARG_END)
        return 2;

    const char *types = qualifier(name);
    size_t w = at + 1;
    int32_t skip = ref.start > 0 ? ref.start : 0;
    int32_t left = ref.count;
    Group g;
    for (; left != 0 && next_group(types, g); types += g.length) {
        if (!g.array) {
            if (macros[w] == KORV_ARG_END || macros[w] == KORV_ARG_NULL)
                break; // the entry's values end here
            if (skip > 0) {
                skip--, w++;
                continue;
            }
            if (!add_group(a, types, g) || !put(a, macros[w]))
                return 0;
            w++;
            if (left > 0)
                left--;
            continue;
        }
        if (!allowed_array_type(name, types, g))
            return 0;
        if (macros[w] == KORV_ARG_FIXED) {
            int32_t n = *reinterpret_cast<const int32_t *>(macros[w + 1]);
            const auto *elements = reinterpret_cast<const unsigned char *>(macros[w + 2]);
            int32_t offset = 0;
            if (skip > 0) {
                if (n <= skip) {
                    // Stepped over whole; its elements do not count as skipped.
                    w += 3;
                    continue;
                }
                offset = skip;
                skip = 0;
            }
            auto *remaining = static_cast<int32_t *>(korv_internal_sh_malloc(a.heap, sizeof(int32_t)));
            if (!remaining)
                return 0;
            *remaining = n - offset;
            if (!add_group(a, types, g) || !put(a, KORV_ARG_FIXED)
                || !put(a, reinterpret_cast<KorvArgWord>(remaining))
                || !put(a, reinterpret_cast<KorvArgWord>(elements + (size_t)offset * fixed_element_size(g))))
                return 0;
            w += 3;
            if (left > 0)
                left = left > *remaining ? left - *remaining : 0;
            continue;
        }
        // A variable array: elements one by one.
        for (; skip > 0 && macros[w] != KORV_ARG_NULL; skip--, w++)
            if (!variable_array_ends(macros, w, name))
                return 0;
        if (macros[w] != KORV_ARG_NULL) {
            if (!add_group(a, types, g))
                return 0;
            for (; left != 0 && macros[w] != KORV_ARG_NULL; w++) {
                if (!variable_array_ends(macros, w, name) || !put(a, macros[w]))
                    return 0;
                if (left > 0)
                    left--;
            }
            if (!put(a, KORV_ARG_NULL))
                return 0;
            for (; macros[w] != KORV_ARG_NULL; w++)
                if (!variable_array_ends(macros, w, name))
                    return 0;
        }
        w++;
    }
    if (left > 0) {
        KorvDebug("The macro argument '%s' does not have enough values to satisfy the macro "
                  "usage.\n",
                  name);
        return 0;
    }
    return 1;
}

// Walks one word of value text from p on, writing its copy to out when out
// is not null; returns the copy's length and leaves p after the word. With
// split, a space or tab outside quotes ends the word, and quotes group and
// are removed; without it the whole text is the word. '%' takes the next
// character literally, but "%{" opens a reference: *ref is then the offset
// in the copy of the text after the brace.
size_t walk_word(const char *&p, bool split, char *out, size_t *ref)
{
    size_t n = 0;
    char quote = 0;
    *ref = 0;
    auto emit = [&](char c) {
        if (out)
            out[n] = c;
        n++;
    };
    for (; *p; p++) {
        char c = *p;
        if (split && !quote && (c == ' ' || c == '\t'))
            break;
        if (c == '%') {
            if (!p[1])
                continue;
            p++;
            if (*p == '{' && !*ref) {
                emit('%');
                emit('{');
                *ref = n;
                continue;
            }
            emit(*p);
            continue;
        }
        if (split && (c == '\'' || c == '"')) {
            if (!quote) {
                quote = c;
                continue;
            }
            if (quote == c) {
                quote = 0;
                continue;
            }
        }
        emit(c);
    }
    if (out)
        out[n] = 0;
    return n;
}

// Copies the word at p onto the heap and moves p past it; *ref is the
// reference text in the copy, or null. Null when the heap is exhausted.
char *copy_word(KorvSmallHeap *heap, const char *&p, bool split, char **ref)
{
    const char *start = p;
    size_t at;
    size_t length = walk_word(p, split, nullptr, &at);
    char *copy = static_cast<char *>(korv_internal_sh_malloc(heap, length + 1));
    if (!copy)
        return nullptr;
    p = start;
    walk_word(p, split, copy, &at);
    *ref = at ? copy + at : nullptr;
    return copy;
}

// One word of value text: a literal string, or the values of a reference.
int add_word(Appender &a, char *word, char *ref, const KorvArgWord *macros)
{
    if (!ref) {
        if (!a.strings_open) {
            if (!add_types(a, "#s", 2))
                return 0;
            a.strings_open = true;
        }
        return put(a, reinterpret_cast<KorvArgWord>(word)) ? 1 : 0;
    }
    if (a.strings_open && !put(a, KORV_ARG_NULL))
        return 0;
    return resolve(a, macros, parse_reference(ref));
}

// Steps shared by both forms: start the entry, add its words, end it.
int append_entry(KorvSmallHeap *heap, KorvArgWord **list, const char *name,
                 const char *const *words, const char *text, const KorvArgWord *macros)
{
    if (!list || !name)
        return 0;
    // A new list has no end marker yet: the entry starts at its first word.
    bool fresh = !*list;
    if (fresh && !(*list = new_growable()))
        return 0;
    Appender a{heap, list, fresh ? 0 : end_index(*list), 0, {0}, 0, false};
    a.index = a.name_slot;
    if (!put(a, KORV_ARG_NULL))
        return 0;
    int result = 1;
    if (text) {
        const char *p = text;
        for (;;) {
            while (*p == ' ' || *p == '\t')
                p++;
            if (!*p)
                break;
            char *ref;
            char *word = copy_word(heap, p, true, &ref);
            result = word ? add_word(a, word, ref, macros) : 0;
            if (result != 1)
                break;
        }
    } else {
        for (; words && *words; words++) {
            const char *p = *words;
            char *ref;
            char *word = copy_word(heap, p, false, &ref);
            result = word ? add_word(a, word, ref, macros) : 0;
            if (result != 1)
                break;
        }
    }
    if (result == 1 && a.strings_open && !put(a, KORV_ARG_NULL))
        result = 0;
    if (result == 1 && (!put(a, KORV_ARG_NULL) || !put(a, KORV_ARG_END)))
        result = 0;
    char *entry_name = nullptr;
    if (result == 1) {
        size_t length = strlen(name);
        entry_name = static_cast<char *>(korv_internal_sh_malloc(heap, length + 1 + a.types_len + 1));
        if (entry_name) {
            memcpy(entry_name, name, length);
            entry_name[length] = ':';
            memcpy(entry_name + length + 1, a.types, a.types_len + 1);
        } else {
            result = 0;
        }
    }
    if (!*list)
        return 0; // the list could not grow and is gone
    if (result != 1) {
        (*list)[a.name_slot] = KORV_ARG_END;
        return result;
    }
    (*list)[a.name_slot] = reinterpret_cast<KorvArgWord>(entry_name);
    return 1;
}

} // namespace

extern "C" KORV_API uint32_t KorvSafeAppendArgValue(KorvSmallHeap *heap, KorvArgWord **list,
                                                    const char *name, const char *value,
                                                    const KorvArgWord *macros)
{
    return (uint32_t)append_entry(heap, list, name, nullptr, value ? value : "", macros);
}

extern "C" KORV_API uint32_t KorvSafeAppendArgList(KorvSmallHeap *heap, KorvArgWord **list,
                                                   const char *name, const char *const *values,
                                                   const KorvArgWord *macros)
{
    return (uint32_t)append_entry(heap, list, name, values, nullptr, macros);
}
