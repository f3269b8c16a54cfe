/*
 * Formats that are one number conversion and nothing else ("%d", "%08llx",
 * "%.3f"), written straight into a string without the general driver.
 */
#ifndef KVSUP_FORMAT_FORMAT_ALONE_H
#define KVSUP_FORMAT_FORMAT_ALONE_H

#include "format/format_args.h"
#include "format/format_digits.h"
#include "format/format_print.h"

namespace korv::fmt {

// Formats a format that is one integer or floating conversion alone into a
// string: at most limit characters and a NUL at to (a null `to` stores
// nothing). *produced receives the whole length. Returns false, having read
// no argument and written nothing, for every other format.
bool print_alone(char *to, uint64_t limit, const KorvLocale *locale, const char *format, Args args,
                 uint64_t *produced);

// A floating conversion into a string: at most limit characters and a NUL
// at to; returns the whole length.
uint64_t write_float_to(char *to, uint64_t limit, const KorvLocale *locale, double value, const Style &style);

// The flag characters, all of them at or below '0'.
inline constexpr auto flag_bits = [] {
    struct Table {
        uint32_t entry['0' + 1];
        constexpr uint32_t operator[](unsigned i) const { return entry[i]; }
    } t{};
    t.entry['-'] = flag_minus;
    t.entry['+'] = flag_plus;
    t.entry[' '] = flag_blank;
    t.entry['#'] = flag_alt;
    t.entry['0'] = flag_zero;
    return t;
}();

// The flag characters at p, stepped over; their flags.
KORV_INLINE uint32_t read_flags(const char *&p)
{
    uint32_t flags = 0;
    while (static_cast<unsigned char>(*p) <= '0' && flag_bits[static_cast<unsigned char>(*p)]) {
        flags |= flag_bits[static_cast<unsigned char>(*p)];
        ++p;
    }
    return flags;
}

// A size ("h", "hh", "l", "ll", "j", "z", "t" or "L") at p, stepped over;
// its flags, 0 when there is none.
KORV_INLINE uint32_t read_size(const char *&p)
{
    switch (*p) {
    case 'h':
        if (p[1] == 'h') {
            p += 2;
            return flag_h | flag_hh;
        }
        ++p;
        return flag_h;
    case 'l':
        if (p[1] == 'l') {
            p += 2;
            return flag_l | flag_ll | flag_64;
        }
        ++p;
        return flag_l;
    case 'j':
        ++p;
        return flag_j | flag_64;
    case 'z':
    case 't':
        ++p;
        return flag_64;
    case 'L':
        ++p;
        return flag_L;
    default:
        return 0;
    }
}

// What print_number_alone made of a format.
enum class Alone {
    done,       // written
    other,      // not one number conversion alone
    longer,     // perhaps one, with more digits or another size: for print_alone
};

// The next commonest: an integer or floating conversion with flags, a
// width and a precision of up to two digits and a size, into a string (a
// null `to`, and longer forms, are left to print_alone).
KORV_INLINE Alone print_number_alone(char *to, uint64_t limit, const KorvLocale *locale, const char *format,
                                     Args args, uint64_t *produced)
{
    if (!format || format[0] != '%')
        return Alone::other;
    if (!to)
        return Alone::longer;
    const char *p = format + 1;
    uint32_t flags = read_flags(p);
    int32_t width = 0;
    if (*p >= '1' && *p <= '9') {
        width = *p++ - '0';
        if (*p >= '0' && *p <= '9')
            width = width * 10 + (*p++ - '0');
    }
    int32_t precision = -1;
    if (*p == '.') {
        ++p;
        precision = 0;
        if (*p >= '0' && *p <= '9') {
            precision = *p++ - '0';
            if (*p >= '0' && *p <= '9')
                precision = precision * 10 + (*p++ - '0');
        }
    }
    flags |= read_size(p);
    if ((*p >= '0' && *p <= '9') || *p == 'I')
        return Alone::longer;
    if (!*p || p[1] != '\0')
        return Alone::other;
    int base = 10;
    Record r;
    switch (*p) {
    case 'd': case 'i': flags |= flag_signed; r.type = arg_int; break;
    case 'u': r.type = arg_int; break;
    case 'x': base = 16; r.type = arg_int; break;
    case 'X': base = 16; flags |= flag_upper; r.type = arg_int; break;
    case 'o': base = 8; r.type = arg_int; break;
    case 'e': case 'f': case 'g': r.type = arg_float; break;
    case 'E': case 'F': case 'G': flags |= flag_upper; r.type = arg_float; break;
    default: return Alone::other;
    }
    r.flags = flags;
    if (args.list)
        fetch_from_list(r, *args.list);
    else
        fetch_from_array(r, args.array ? args.array[0] : nullptr);
    const Style style{flags, width, precision, base, *p};
    if (r.type == arg_int) {
        const uint64_t length = store_int(to, limit, r.value.u, style);
        to[length < limit ? length : limit] = '\0';
        *produced = length;
    } else {
        *produced = write_float_to(to, limit, locale, r.value.d, style);
    }
    return Alone::done;
}

// The commonest of them, inlined into every member: an integer conversion
// with a size, flags and a width of up to two digits but no precision, into
// a string with room for it.
KORV_INLINE bool print_plain_int(char *to, uint64_t limit, const char *format, Args args, uint64_t *produced)
{
    if (!format || format[0] != '%' || !to)
        return false;
    const char *p = format + 1;
    uint32_t flags = 0;
    uint64_t width = 0;
    if (static_cast<unsigned char>(*p) <= '9') {
        // Flags and width; sizes and conversions are letters, above '9'.
        flags = read_flags(p);
        if (*p >= '1' && *p <= '9') {
            width = static_cast<uint64_t>(*p++ - '0');
            if (*p >= '0' && *p <= '9')
                width = width * 10 + static_cast<uint64_t>(*p++ - '0');
        }
    }
    const uint32_t size = read_size(p);
    if (!*p || p[1] != '\0' || limit < 23 || limit < width)
        return false;
    int base;
    uint32_t kind = 0;
    switch (*p) {
    case 'd': case 'i': base = 10; kind = flag_signed; break;
    case 'u': base = 10; break;
    case 'x': base = 16; break;
    case 'X': base = 16; kind = flag_upper; break;
    case 'o': base = 8; break;
    default: return false;
    }
    Record r;
    r.type = arg_int;
    r.flags = flags | size | kind;
    if (args.list)
        fetch_from_list(r, *args.list);
    else
        fetch_from_array(r, args.array ? args.array[0] : nullptr);
    const Style style{r.flags, static_cast<int32_t>(width), -1, base, *p};
    const uint64_t length = store_int(to, limit, r.value.u, style);
    to[length < limit ? length : limit] = '\0';
    *produced = length;
    return true;
}

} // namespace korv::fmt

#endif
