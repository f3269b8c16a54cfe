// A format that is one number conversion and nothing else ("%d", "%08llx",
// "%.3f"): read without the table of records and written straight into the
// caller's string. Everything else goes to the general driver.
#include "format/format_alone.h"

namespace korv::fmt {

namespace {

// Up to nine decimal digits at *p (so that no cap applies); false for more.
bool read_small(const char *&p, int32_t *n)
{
    int32_t value = 0;
    for (int i = 0; i < 10; ++i) {
        const unsigned digit = static_cast<unsigned char>(*p) - '0';
        if (digit > 9) {
            *n = value;
            return true;
        }
        if (i == 9)
            return false;
        value = value * 10 + static_cast<int32_t>(digit);
        ++p;
    }
    return false;
}

// What a conversion letter makes of its value (base 0: not one of them).
struct Letter {
    uint8_t base;
    bool floating;
    uint32_t flags;
};

constexpr auto letters = [] {
    struct Table {
        Letter entry['z' + 1];
        constexpr const Letter &operator[](unsigned i) const { return entry[i]; }
    } t{};
    t.entry['d'] = {10, false, flag_signed};
    t.entry['i'] = {10, false, flag_signed};
    t.entry['u'] = {10, false, 0};
    t.entry['o'] = {8, false, 0};
    t.entry['x'] = {16, false, 0};
    t.entry['X'] = {16, false, flag_upper};
    t.entry['e'] = t.entry['f'] = t.entry['g'] = {10, true, 0};
    t.entry['E'] = t.entry['F'] = t.entry['G'] = {10, true, flag_upper};
    return t;
}();

// Reads format as one integer or floating conversion alone, with flags,
// width, precision and size letters but no '*' and no base, as the parser
// would read it. False for any other format.
bool read_alone(const char *format, Style *style, RecordType *type)
{
    const char *p = format;
    if (*p != '%')
        return false;
    ++p;
    const unsigned char first = static_cast<unsigned char>(*p);
    if (first && p[1] == '\0') {
        // A letter and nothing else.
        if (first > 'z' || !letters[first].base)
            return false;
        const Letter &l = letters[first];
        *type = l.floating ? arg_float : arg_int;
        *style = Style{l.flags, 0, -1, l.base, *p};
        return true;
    }
    uint32_t flags = read_flags(p);
    int32_t width = 0;
    if (*p >= '1' && *p <= '9') {
        if (!read_small(p, &width))
            return false;
        flags |= flag_has_width;
    }
    int32_t precision = -1;
    if (*p == '.') {
        ++p;
        if (*p >= '0' && *p <= '9') {
            if (!read_small(p, &precision))
                return false;
        } else if (*p == '.' || *p == '*') {
            return false;
        } else {
            precision = 0;
        }
        flags |= flag_has_precision;
    }
    const uint32_t size = read_size(p);
    flags |= size;
    if (!size && *p == 'I') {
        if (p[1] != '6' || p[2] != '4')
            return false;
        flags |= flag_64;
        p += 3;
    }
    if (!*p || p[1] != '\0')
        return false;
    const unsigned char letter = static_cast<unsigned char>(*p);
    if (letter > 'z' || !letters[letter].base)
        return false;
    const Letter &l = letters[letter];
    *type = l.floating ? arg_float : arg_int;
    flags |= l.flags;
    const int32_t base = l.base;
    *style = Style{flags, width, precision, base, *p};
    return true;
}

} // namespace

bool print_alone(char *to, uint64_t limit, const KorvLocale *locale, const char *format, Args args,
                 uint64_t *produced)
{
    Style style;
    Record r;
    if (!format || !read_alone(format, &style, &r.type))
        return false;
    r.flags = style.flags;
    if (args.list)
        fetch_from_list(r, *args.list);
    else
        fetch_from_array(r, args.array ? args.array[0] : nullptr);
    if (!to)
        limit = 0;
    if (r.type == arg_int) {
        const uint64_t length = store_int(to, limit, r.value.u, style);
        if (to)
            to[length < limit ? length : limit] = '\0';
        *produced = length;
        return true;
    }
    *produced = write_float_to(to, limit, locale, r.value.d, style);
    return true;
}

uint64_t write_float_to(char *to, uint64_t limit, const KorvLocale *locale, double value, const Style &style)
{
    // The bounded sink over the caller's string.
    Output out;
    out.sink = Sink::bounded;
    out.alloc_failed = false;
    out.error = 0;
    out.buffer = to;
    out.limit = to ? limit : 0;
    out.capacity = 0;
    out.io = nullptr;
    out.locale = locale;
    out.produced = 0;
    out.stored = 0;
    write_float(out, value, style);
    if (to)
        to[out.stored] = '\0';
    return out.produced;
}

} // namespace korv::fmt
