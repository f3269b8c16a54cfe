// The format parser shared by the printf and scanf families.
#include "format/format_parse.h"

#include <string.h>

namespace korv::fmt {

namespace {

constexpr int32_t number_cap = 0x7fffffff;

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

// Reads decimal digits at *p (there is at least one), saturating.
int32_t read_number(const char *&p)
{
    int64_t n = 0;
    while (is_digit(*p)) {
        n = n * 10 + (*p - '0');
        if (n > number_cap)
            n = number_cap;
        ++p;
    }
    return static_cast<int32_t>(n);
}

struct Conversion {
    RecordType type;
    uint8_t known;      // 0: not a conversion letter
    int32_t base;       // 0: the base given in the conversion, else 10
    uint32_t flags;
};

// The conversion letters by character ('[' only when scanning).
constexpr auto conversions = [] {
    struct Table {
        Conversion entry[128];
    } t{};
    t.entry['d'] = {arg_int, 1, 10, flag_signed};
    t.entry['i'] = {arg_int, 1, 0, flag_signed};
    t.entry['u'] = {arg_int, 1, 0, 0};
    t.entry['o'] = {arg_int, 1, 8, 0};
    t.entry['x'] = {arg_int, 1, 16, 0};
    t.entry['X'] = {arg_int, 1, 16, flag_upper};
    t.entry['c'] = {arg_char, 1, 10, 0};
    t.entry['s'] = {arg_string, 1, 10, 0};
    t.entry['p'] = {arg_pointer, 1, 16, 0};
    t.entry['n'] = {arg_count, 1, 10, 0};
    t.entry['e'] = t.entry['f'] = t.entry['g'] = {arg_float, 1, 0, 0};
    t.entry['E'] = t.entry['F'] = t.entry['G'] = {arg_float, 1, 0, flag_upper};
    t.entry['a'] = {arg_float, 1, 16, 0};
    t.entry['A'] = {arg_float, 1, 16, flag_upper};
    t.entry['['] = {arg_scanset, 1, 10, 0};
    return t;
}();

// The conversion letters; false for anything else.
inline bool conversion_of(char c, bool scanning, Conversion *out)
{
    const unsigned char u = static_cast<unsigned char>(c);
    if (u >= 128 || !conversions.entry[u].known || (u == '[' && !scanning))
        return false;
    *out = conversions.entry[u];
    return true;
}

// A new record in the table, or null when the table is full.
Record *add(Parsed *table, const char *start)
{
    if (table->count >= max_records)
        return nullptr;
    Record *r = &table->records[table->count++];
    r->type = arg_star;
    r->conversion = '*';
    r->flags = 0;
    r->width = -1;
    r->precision = -1;
    r->base = 10;
    r->width_star = r->precision_star = r->base_star = -1;
    r->start = start;
    r->next = nullptr;
    r->set = nullptr;
    r->set_length = 0;
    r->value.u = 0;
    return r;
}

} // namespace

int read_directive(const char *start, bool scanning, Parsed *stars, Directive *directive)
{
    uint32_t flags = 0;
    int32_t width = -1, precision = -1, base = -1;
    int16_t width_star = -1, precision_star = -1, base_star = -1;
    int points = 0;     // '.' seen: 1 precision, 2 base
    int hs = 0, ls = 0;
    const char *p = start + 1;
    Conversion conv;

    if (conversion_of(*p, scanning, &conv) && conv.type != arg_scanset) {
        // The letter right after the '%': no flags, width or size.
        directive->type = conv.type;
        directive->conversion = *p;
        directive->flags = conv.flags;
        directive->width = -1;
        directive->precision = -1;
        directive->base = conv.base ? conv.base : 10;
        directive->width_star = directive->precision_star = directive->base_star = -1;
        directive->next = p + 1;
        directive->set = nullptr;
        directive->set_length = 0;
        return parse_ok;
    }
    for (;; ++p) {
        char c = *p;
        if (c < ' ' || c > 'z')
            return parse_bad_format;
        if (conversion_of(c, scanning, &conv))
            break;
        switch (c) {
        case ' ': flags |= flag_blank; break;
        case '#': flags |= flag_alt; break;
        case '+': flags |= flag_plus; break;
        case '-': flags |= flag_minus; break;
        case '0': flags |= flag_zero; break;
        case '1': case '2': case '3': case '4': case '5':
        case '6': case '7': case '8': case '9':
            width = read_number(p);
            flags |= flag_has_width;
            --p;
            break;
        case '*':
            if (scanning) {
                flags |= flag_suppress;
            } else {
                // A '*' in printing mode: an int record of its own, named by index.
                if (!stars)
                    return parse_needs_table;
                if (!add(stars, start))
                    return parse_too_many;
                const int16_t index = static_cast<int16_t>(stars->count - 1);
                (points == 0 ? width_star : points == 1 ? precision_star : base_star) = index;
                if (points == 0)
                    flags |= flag_has_width;
            }
            break;
        case '.': {
            if (++points > 2)
                return parse_bad_format;
            const char *q = p + 1;
            if (is_digit(*q)) {
                int32_t n = read_number(q);
                if (points == 1) {
                    precision = n;
                } else {
                    if (n < 2 || n > 36)
                        return parse_bad_format;
                    base = n;
                }
                p = q - 1;
            } else if (points == 1 && *q != '.' && *q != '*') {
                precision = 0;      // "%.f": an empty precision is 0
            }
            // A '*' is taken by the next turn of the loop; two points in
            // a row leave the precision unset.
            break;
        }
        case 'h':
            if (++hs > 2)
                return parse_bad_format;
            flags |= hs == 1 ? flag_h : flag_hh;
            break;
        case 'l':
            if (++ls > 2)
                return parse_bad_format;
            flags |= ls == 1 ? flag_l : (flag_ll | flag_64);
            break;
        case 'L': flags |= flag_L; break;
        case 'j': flags |= flag_j | flag_64; break;
        case 't': case 'z': flags |= flag_64; break;
        case 'I':
            if (p[1] == '6' && p[2] == '4') {
                flags |= flag_64;
                p += 2;
            } else if (p[1] == '3' && p[2] == '2') {
                flags |= flag_I32;
                p += 2;
            } else if (p[1] == '1' && p[2] == '6') {
                flags |= flag_I16;
                p += 2;
            } else if (p[1] == '8') {
                flags |= flag_I8;
                p += 1;
            } else {
                return parse_bad_format;
            }
            break;
        default:
            return parse_bad_format;
        }
    }

    const char *next = p + 1;
    directive->set = nullptr;
    directive->set_length = 0;
    if (conv.type == arg_scanset) {
        const char *q = next;
        if (*q == '^') {
            flags |= flag_negated;
            ++q;
        }
        directive->set = q;
        if (*q == ']')
            ++q;
        while (*q && *q != ']')
            ++q;
        if (!*q)
            return parse_bad_format;
        directive->set_length = static_cast<uint32_t>(q - directive->set);
        next = q + 1;
    }

    directive->type = conv.type;
    directive->conversion = *p;
    directive->flags = flags | conv.flags | (precision >= 0 || precision_star >= 0 ? flag_has_precision : 0u);
    directive->width = width;
    directive->precision = precision;
    if (conv.base != 0) {
        directive->base = conv.base;
    } else if (base > 0) {
        directive->base = base;
        directive->flags |= flag_has_base;
    } else {
        directive->base = 10;
        if (base_star >= 0)
            directive->flags |= flag_has_base;
    }
    directive->width_star = width_star;
    directive->precision_star = precision_star;
    // A '*' base still takes its argument; only conversions that accept
    // a base read it.
    directive->base_star = conv.base == 0 ? base_star : -1;
    directive->next = next;
    return parse_ok;
}

int parse(const char *format, bool scanning, Parsed *out)
{
    out->count = 0;
    if (!format)
        return parse_bad_format;
    const char *p = format;
    for (;;) {
        // Literal text: only '%' matters. Bytes of a multi-byte UTF-8
        // sequence are never '%', so the sequences pass whole.
        while (*p && *p != '%')
            ++p;
        if (!*p)
            return parse_ok;
        if (p[1] == '%') {
            p += 2;
            continue;
        }
        const int first_record = out->count;
        Directive directive;
        int code = read_directive(p, scanning, out, &directive);
        if (code != parse_ok)
            return code;
        if (out->count >= max_records)
            return parse_too_many;
        Record *r = &out->records[out->count++];
        r->start = p;
        r->value.u = 0;
        r->type = directive.type;
        r->conversion = directive.conversion;
        r->flags = directive.flags;
        r->width = directive.width;
        r->precision = directive.precision;
        r->base = directive.base;
        r->width_star = directive.width_star;
        r->precision_star = directive.precision_star;
        r->base_star = directive.base_star;
        r->next = directive.next;
        r->set = directive.set;
        r->set_length = directive.set_length;
        for (int i = first_record; i < out->count - 1; ++i)
            out->records[i].next = directive.next;
        p = directive.next;
    }
}

} // namespace korv::fmt
