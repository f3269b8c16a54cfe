// Binary argument blocks: an argument list packed into one allocation of
// 24-byte descriptors followed by the values they own, and descriptor
// tables turned back into argument lists.
#include <string.h>
#include "args/arglist.h"

using namespace korv::args;

namespace {

enum Kind : uint32_t { Integer = 0, Text = 1, Nothing = 2, Real = 3, Address = 4, Boolean = 5 };

size_t round8(size_t n)
{
    return (n + 7) & ~(size_t)7;
}

size_t kind_size(uint32_t kind)
{
    return kind == Integer || kind == Boolean ? 4 : 8;
}

// The kind a group packs to and the elements one value of it makes (4 for
// a window); false for a type a block cannot hold.
bool kind_of(const Group &g, uint32_t *kind, int32_t *per_value)
{
    *per_value = 1;
    switch (g.letter) {
    case 'i':
        *kind = Integer;
        return true;
    case 'b':
        *kind = Boolean;
        return true;
    case 'f':
        *kind = Real;
        return true;
    case 's':
    case 'u':
        *kind = Text;
        return true;
    case 'v':
        *kind = Address;
        return true;
    case 'w':
        *per_value = 4;
        if (g.second == 'i' || g.second == 'I') {
            *kind = Integer;
            return true;
        }
        if (g.second == 'f' || g.second == 'F') {
            *kind = Real;
            return true;
        }
        return false;
    default:
        return false;
    }
}

bool same_type(const Group &a, const Group &b)
{
    return !b.array && a.letter == b.letter
           && (a.letter != 'w' || ((a.second | 0x20) == (b.second | 0x20)));
}

// One entry as the packer sees it: its kind, its element count, and where
// its values are.
struct Packed {
    const char *name;
    uint32_t kind;
    int32_t count;
    bool flag;          // empty qualifier
    Group group;        // the entry's type
    size_t first_word;  // index of its first value word
    size_t next;        // index after the entry
};

// Reads the entry at list[at]. An entry must be a flag, one array, or one
// run of scalars of one type: a descriptor carries one kind.
bool read_entry(const KorvArgWord *list, size_t at, Packed &e)
{
    e.name = reinterpret_cast<const char *>(list[at]);
    const char *types = qualifier(e.name);
    if (!types)
        return false;
    e.first_word = at + 1;
    e.count = 0;
    e.flag = !*types;
    size_t w = at + 1;
    if (e.flag) {
        e.kind = Boolean;
        e.count = 1;
    } else {
        next_group(types, e.group);
        int32_t per_value;
        if (!kind_of(e.group, &e.kind, &per_value))
            return false;
        if (e.group.array) {
            if (list[w] == KORV_ARG_FIXED) {
                int32_t n = *reinterpret_cast<const int32_t *>(list[w + 1]);
                e.count = (n > 0 ? n : 0) * per_value;
                w += 3;
            } else {
                for (; list[w] != KORV_ARG_NULL; w++) {
                    if (list[w] == KORV_ARG_END)
                        return false;
                    e.count += per_value;
                }
                w++;
            }
            if (types[e.group.length])
                return false;
        } else {
            Group g;
            for (; next_group(types, g); types += g.length) {
                if (!same_type(e.group, g) || list[w] == KORV_ARG_END || list[w] == KORV_ARG_NULL)
                    return false;
                e.count += per_value;
                w++;
            }
        }
    }
    if (list[w] != KORV_ARG_NULL)
        return false;
    e.next = w + 1;
    return true;
}

// Stores the elements of one value word (a window gives four; integer
// windows take components 0, 1, 2 and 0 again) at out; returns the bytes
// written.
size_t store_value(const Packed &e, const void *value, unsigned char *out)
{
    switch (e.kind) {
    case Integer: {
        const auto *v = static_cast<const int32_t *>(value);
        if (e.group.letter == 'w') {
            int32_t four[4] = {v[0], v[1], v[2], v[0]};
            memcpy(out, four, sizeof four);
            return sizeof four;
        }
        memcpy(out, v, 4);
        return 4;
    }
    case Boolean:
        memcpy(out, value, 4);
        return 4;
    case Real: {
        size_t n = e.group.letter == 'w' ? 32 : 8;
        memcpy(out, value, n);
        return n;
    }
    default: // texts and addresses: the word itself
        memcpy(out, &value, sizeof value);
        return sizeof value;
    }
}

// Bytes of one element of a fixed array as it is stored in the list.
size_t stored_element_size(const Packed &e)
{
    return fixed_element_size(e.group);
}

void fill(const KorvArgWord *list, const Packed &e, unsigned char *out)
{
    size_t w = e.first_word;
    if (e.flag) {
        int32_t one = 1;
        memcpy(out, &one, 4);
        return;
    }
    if (e.group.array && list[w] == KORV_ARG_FIXED) {
        int32_t n = *reinterpret_cast<const int32_t *>(list[w + 1]);
        const auto *elements = reinterpret_cast<const unsigned char *>(list[w + 2]);
        size_t size = stored_element_size(e);
        for (int32_t k = 0; k < n; k++) {
            const unsigned char *element = elements + (size_t)k * size;
            if (e.kind == Text || e.kind == Address) {
                const void *word;
                memcpy(&word, element, sizeof word);
                out += store_value(e, word, out);
            } else {
                out += store_value(e, element, out);
            }
        }
        return;
    }
    // Scalars and variable arrays: one value word each.
    for (int32_t k = 0; k < e.count; k += e.group.letter == 'w' ? 4 : 1, w++)
        out += store_value(e, reinterpret_cast<const void *>(list[w]), out);
}

} // namespace

extern "C" KORV_API int32_t KorvBinArgFromArgs(const KorvArgWord *list, KorvBinArgDesc **block)
{
    if (!block)
        return -1;
    *block = nullptr;
    if (!list)
        return -1;
    // Sizing: every entry's elements, each run rounded up to eight bytes.
    size_t data = 0, n = 0;
    for (size_t at = 0; list[at] != KORV_ARG_END; n++) {
        Packed e;
        if (!read_entry(list, at, e) || n >= INT32_MAX)
            return -1;
        data += e.flag ? 8 : round8((size_t)e.count * kind_size(e.kind));
        at = e.next;
    }
    size_t head = round8(n * sizeof(KorvBinArgDesc));
    auto *base = static_cast<unsigned char *>(korv_internal_malloc(head + data + 8));
    if (!base)
        return -1;
    *block = reinterpret_cast<KorvBinArgDesc *>(base);
    size_t position = head;
    size_t at = 0;
    for (size_t k = 0; k < n; k++) {
        Packed e;
        read_entry(list, at, e);
        KorvBinArgDesc &d = (*block)[k];
        d.name = e.name;
        d.kind = e.kind;
        d.count = e.count;
        d.data = base + position;
        fill(list, e, base + position);
        position += e.flag ? 8 : round8((size_t)e.count * kind_size(e.kind));
        at = e.next;
    }
    return (int32_t)n;
}

// Elements a descriptor unpacks: none for a negative count or no data.
static int32_t element_count(const KorvBinArgDesc &d)
{
    return d.count > 0 && d.data ? d.count : 0;
}

extern "C" KORV_API KorvArgWord *KorvBinArgToArgs(int32_t n, const KorvBinArgDesc *table,
                                                  int32_t extra)
{
    // The list is sized as it is written: a negative count unpacks to no
    // values, and a descriptor without data has none either. A negative
    // extra may take back room the caller asked for, never room the
    // entries need.
    if (n > 0 && !table)
        return nullptr;
    int64_t entries = 1;
    for (int32_t k = 0; k < n; k++)
        entries += (int64_t)element_count(table[k]) + 3;
    int64_t size = entries + extra;
    if (size < 1 || size < entries || (uint64_t)size > SIZE_MAX / sizeof(KorvArgWord))
        return nullptr;
    auto *list = static_cast<KorvArgWord *>(korv_internal_malloc((size_t)size * sizeof(KorvArgWord)));
    if (!list)
        return nullptr;
    size_t w = 0;
    for (int32_t k = 0; k < n; k++) {
        const KorvBinArgDesc &d = table[k];
        const char *types = qualifier(d.name);
        bool array = types && types[0] == '#';
        const char *letter = types ? types + (array ? 1 : 0) : nullptr;
        bool window = letter && (*letter == 'w' || *letter == 'W');
        int32_t count = element_count(d);
        const auto *data = static_cast<const unsigned char *>(d.data);
        if (d.kind == Boolean && types && !*types) {
            // A flag: present with no values, or left out when it is 0 or
            // has no element at all.
            int32_t on = 0;
            if (count > 0)
                memcpy(&on, data, 4);
            if (on == 0)
                continue;
            list[w++] = reinterpret_cast<KorvArgWord>(d.name);
            list[w++] = KORV_ARG_NULL;
            continue;
        }
        list[w++] = reinterpret_cast<KorvArgWord>(d.name);
        switch (d.kind) {
        case Integer:
        case Real: {
            size_t size = kind_size(d.kind);
            int32_t step = window ? 4 : 1;
            for (int32_t i = 0; i + step <= count; i += step)
                list[w++] = reinterpret_cast<KorvArgWord>(data + (size_t)i * size);
            break;
        }
        case Text:
        case Address:
            for (int32_t i = 0; i < count; i++)
                memcpy(&list[w++], data + (size_t)i * 8, sizeof(KorvArgWord));
            break;
        case Boolean:
            for (int32_t i = 0; i < count; i++)
                list[w++] = reinterpret_cast<KorvArgWord>(data + (size_t)i * 4);
            break;
        default:
            break;
        }
        if (array)
            list[w++] = KORV_ARG_NULL;
        list[w++] = KORV_ARG_NULL;
    }
    list[w] = KORV_ARG_END;
    return list;
}
