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
    uint32_t flags;
    int32_t base;       // 0: the base given in the conversion, else 10
};

// The conversion letters; false for anything else.
bool conversion_of(char c, bool scanning, Conversion *out)
{
    switch (c) {
    case 'd': *out = {arg_int, flag_signed, 10}; return true;
    case 'i': *out = {arg_int, flag_signed, 0}; return true;
    case 'u': *out = {arg_int, 0, 0}; return true;
    case 'o': *out = {arg_int, 0, 8}; return true;
    case 'x': *out = {arg_int, 0, 16}; return true;
    case 'X': *out = {arg_int, flag_upper, 16}; return true;
    case 'c': *out = {arg_char, 0, 10}; return true;
    case 's': *out = {arg_string, 0, 10}; return true;
    case 'p': *out = {arg_pointer, 0, 16}; return true;
    case 'n': *out = {arg_count, 0, 10}; return true;
    case 'e': case 'f': case 'g': *out = {arg_float, 0, 0}; return true;
    case 'E': case 'F': case 'G': *out = {arg_float, flag_upper, 0}; return true;
    case 'a': *out = {arg_float, 0, 16}; return true;
    case 'A': *out = {arg_float, flag_upper, 16}; return true;
    case '[': *out = {arg_scanset, 0, 10}; return scanning;
    default: return false;
    }
}

class Parser {
public:
    Parser(bool scanning, Parsed *out) : scanning_(scanning), out_(out) {}

    int run(const char *format)
    {
        out_->count = 0;
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
            int code = conversion_at(p, &p);
            if (code != parse_ok)
                return code;
        }
    }

private:
    // A new record, or null when the table is full.
    Record *add(const char *start)
    {
        if (out_->count >= max_records)
            return nullptr;
        Record *r = &out_->records[out_->count++];
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

    // A '*' in printing mode: an int record of its own, named by index.
    int star(const char *start, int16_t *index)
    {
        if (!add(start))
            return parse_too_many;
        *index = static_cast<int16_t>(out_->count - 1);
        return parse_ok;
    }

    // Parses the conversion starting at the '%' at start; *end receives
    // the position after it.
    int conversion_at(const char *start, const char **end)
    {
        uint32_t flags = 0;
        int32_t width = -1, precision = -1, base = -1;
        int16_t width_star = -1, precision_star = -1, base_star = -1;
        int first_record = out_->count;
        int points = 0;     // '.' seen: 1 precision, 2 base
        int hs = 0, ls = 0;
        const char *p = start + 1;
        Conversion conv;

        for (;; ++p) {
            char c = *p;
            if (c < ' ' || c > 'z')
                return parse_bad_format;
            if (conversion_of(c, scanning_, &conv))
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
                if (scanning_) {
                    flags |= flag_suppress;
                } else {
                    int code = star(start, points == 0 ? &width_star : points == 1 ? &precision_star : &base_star);
                    if (code != parse_ok)
                        return code;
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
        const char *set = nullptr;
        uint32_t set_length = 0;
        if (conv.type == arg_scanset) {
            const char *q = next;
            if (*q == '^') {
                flags |= flag_negated;
                ++q;
            }
            set = q;
            if (*q == ']')
                ++q;
            while (*q && *q != ']')
                ++q;
            if (!*q)
                return parse_bad_format;
            set_length = static_cast<uint32_t>(q - set);
            next = q + 1;
        }

        if (out_->count >= max_records)
            return parse_too_many;
        Record *r = &out_->records[out_->count++];
        r->start = start;
        r->value.u = 0;
        r->type = conv.type;
        r->conversion = *p;
        r->flags = flags | conv.flags | (precision >= 0 || precision_star >= 0 ? flag_has_precision : 0u);
        r->width = width;
        r->precision = precision;
        if (conv.base != 0) {
            r->base = conv.base;
        } else if (base > 0) {
            r->base = base;
            r->flags |= flag_has_base;
        } else {
            r->base = 10;
            if (base_star >= 0)
                r->flags |= flag_has_base;
        }
        r->width_star = width_star;
        r->precision_star = precision_star;
        // A '*' base still takes its argument; only conversions that accept
        // a base read it.
        r->base_star = conv.base == 0 ? base_star : -1;
        r->next = next;
        r->set = set;
        r->set_length = set_length;
        for (int i = first_record; i < out_->count - 1; ++i)
            out_->records[i].next = next;
        *end = next;
        return parse_ok;
    }

    bool scanning_;
    Parsed *out_;
};

} // namespace

int parse(const char *format, bool scanning, Parsed *out)
{
    out->count = 0;
    if (!format)
        return parse_bad_format;
    return Parser(scanning, out).run(format);
}

} // namespace korv::fmt
