// The integer and pointer formatters.
#include "format/format_write.h"

namespace korv::fmt {

namespace {

// Digits are counted, not generated, past this many (precision zeros).
constexpr int32_t max_digits = 385;

constexpr char lower_digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
constexpr char upper_digits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

constexpr char pairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

// Writes the digits of value ending at end; returns the first one.
char *digits_of(uint64_t value, int base, bool upper, char *end)
{
    char *p = end;
    if (base == 10) {
        while (value >= 100) {
            unsigned r = static_cast<unsigned>(value % 100);
            value /= 100;
            p -= 2;
            p[0] = pairs[2 * r];
            p[1] = pairs[2 * r + 1];
        }
        if (value >= 10) {
            p -= 2;
            p[0] = pairs[2 * value];
            p[1] = pairs[2 * value + 1];
        } else {
            *--p = static_cast<char>('0' + value);
        }
        return p;
    }
    const char *set = upper ? upper_digits : lower_digits;
    if (base == 16) {
        do {
            *--p = set[value & 15];
            value >>= 4;
        } while (value);
        return p;
    }
    do {
        *--p = set[value % static_cast<unsigned>(base)];
        value /= static_cast<unsigned>(base);
    } while (value);
    return p;
}

} // namespace

void write_int(Output &out, uint64_t value, const Style &style)
{
    const uint32_t f = style.flags;
    const bool upper = f & flag_upper;
    const int base = style.base;

    char sign = 0;
    uint64_t magnitude = value;
    if (f & flag_signed) {
        if (static_cast<int64_t>(value) < 0) {
            sign = '-';
            magnitude = 0 - value;
        } else if (f & flag_plus) {
            sign = '+';
        } else if (f & flag_blank) {
            sign = ' ';
        }
    }
    if (!(f & flag_64))
        magnitude &= 0xffffffffu;

    char buffer[72];
    char *end = buffer + sizeof buffer;
    char *first = end;
    const bool has_precision = style.precision >= 0;
    if (magnitude != 0 || !has_precision || style.precision != 0 || ((f & flag_alt) && base == 8))
        first = digits_of(magnitude, base, upper, end);
    const uint64_t ndigits = static_cast<uint64_t>(end - first);

    char prefix[2];
    int prefix_length = 0;
    if ((f & flag_alt) && magnitude != 0) {
        if (base == 16 || base == 2) {
            prefix[0] = '0';
            prefix[1] = base == 16 ? (upper ? 'X' : 'x') : (upper ? 'B' : 'b');
            prefix_length = 2;
        } else if (base == 8) {
            prefix[0] = '0';
            prefix_length = 1;
        }
    }

    const uint64_t width = style.width > 0 ? static_cast<uint64_t>(style.width) : 0;
    uint64_t zeros = 0;
    if (has_precision) {
        uint64_t precision = static_cast<uint64_t>(style.precision < max_digits ? style.precision : max_digits);
        if (precision > ndigits)
            zeros = precision - ndigits;
        if (base == 8 && prefix_length == 1 && zeros > 0)
            prefix_length = 0;     // the zero filling starts with a '0' already
    } else if ((f & flag_zero) && !(f & flag_minus)) {
        uint64_t body = (sign ? 1 : 0) + prefix_length + ndigits;
        if (width > body)
            zeros = width - body;
    }

    const uint64_t total = (sign ? 1 : 0) + prefix_length + zeros + ndigits;
    const uint64_t pad = width > total ? width - total : 0;
    if (!(f & flag_minus))
        out.fill(' ', pad);
    if (sign)
        out.put(sign);
    if (prefix_length)
        out.put(prefix, prefix_length);
    out.fill('0', zeros);
    out.put(first, ndigits);
    if (f & flag_minus)
        out.fill(' ', pad);
}

void write_pointer(Output &out, const void *p, const Style &style)
{
    if (!p) {
        Style nil = style;
        nil.flags &= ~flag_alt;
        nil.precision = -1;
        write_string(out, nullptr, nil);
        return;
    }
    char text[18];
    uint64_t value = reinterpret_cast<uintptr_t>(p);
    text[0] = '0';
    text[1] = 'x';
    for (int i = 17; i >= 2; --i) {
        text[i] = lower_digits[value & 15];
        value >>= 4;
    }
    const uint64_t width = style.width > 0 ? static_cast<uint64_t>(style.width) : 0;
    const uint64_t pad = width > sizeof text ? width - sizeof text : 0;
    if (!(style.flags & flag_minus))
        out.fill(' ', pad);
    out.put(text, sizeof text);
    if (style.flags & flag_minus)
        out.fill(' ', pad);
}

} // namespace korv::fmt
