/*
 * Integer conversions laid out and written straight into a string: the
 * digit counting and generation shared by the integer formatter and the
 * single-conversion path.
 */
#ifndef KVSUP_FORMAT_FORMAT_DIGITS_H
#define KVSUP_FORMAT_FORMAT_DIGITS_H

#include "format/format_write.h"

namespace korv::fmt {

// Digits are counted, not generated, past this many (precision zeros).
inline constexpr int32_t max_digits = 385;

inline constexpr char lower_digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
inline constexpr char upper_digits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

inline constexpr char pairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

inline constexpr uint64_t powers_of_ten[20] = {
    1ull, 10ull, 100ull, 1000ull, 10000ull, 100000ull, 1000000ull, 10000000ull, 100000000ull,
    1000000000ull, 10000000000ull, 100000000000ull, 1000000000000ull, 10000000000000ull,
    100000000000000ull, 1000000000000000ull, 10000000000000000ull, 100000000000000000ull,
    1000000000000000000ull, 10000000000000000000ull,
};

// The bits value takes: 0 for 0.
KORV_INLINE int bit_length(uint64_t value)
{
    return value ? 64 - __builtin_clzll(value) : 0;
}

// The count of digits of value in base (at least one).
KORV_INLINE int count_digits(uint64_t value, int base)
{
    // value | 1 has as many digits as value in every base, and is not 0.
    const int bits = bit_length(value | 1);
    switch (base) {
    case 10: {
        const int guess = (bits * 1233) >> 12;      // floor(bits * log10(2))
        return guess + ((value | 1) >= powers_of_ten[guess] ? 1 : 0);
    }
    case 16: return (bits + 3) >> 2;
    case 8: return (bits + 2) / 3;
    case 2: return bits;
    default: {
        int n = 1;
        for (uint64_t rest = value / static_cast<unsigned>(base); rest; rest /= static_cast<unsigned>(base))
            ++n;
        return n;
    }
    }
}

// Two digits at a time: "00" to "ff" (and "FF") in base 16, "00" to "77"
// in base 8.
struct PairTable {
    char text[512];
};

constexpr PairTable pair_table(int base, const char *set)
{
    PairTable t{};
    for (int i = 0; i < base * base; ++i) {
        t.text[2 * i] = set[i / base];
        t.text[2 * i + 1] = set[i % base];
    }
    return t;
}

inline constexpr PairTable hex_pairs = pair_table(16, lower_digits);
inline constexpr PairTable upper_hex_pairs = pair_table(16, upper_digits);
inline constexpr PairTable octal_pairs = pair_table(8, lower_digits);

KORV_INLINE void put_pair(char *to, const char *table, unsigned pair)
{
    memcpy(to, table + 2 * pair, 2);
}

// Writes the digits of value in base so that they end at end (count_digits
// of them).
KORV_INLINE void digits_of(uint64_t value, int base, bool upper, char *end)
{
    char *p = end;
    if (base == 10) {
        while (value > 0xffffffffu) {
            const unsigned r = static_cast<unsigned>(value % 100);
            value /= 100;
            p -= 2;
            put_pair(p, pairs, r);
        }
        uint32_t small = static_cast<uint32_t>(value);
        while (small >= 100) {
            const unsigned r = small % 100;
            small /= 100;
            p -= 2;
            put_pair(p, pairs, r);
        }
        if (small >= 10)
            put_pair(p - 2, pairs, small);
        else
            p[-1] = static_cast<char>('0' + small);
        return;
    }
    const char *set = upper ? upper_digits : lower_digits;
    if (base == 16 || base == 8) {
        const int bits = base == 16 ? 4 : 3;
        const char *table = base == 8 ? octal_pairs.text : upper ? upper_hex_pairs.text : hex_pairs.text;
        const unsigned two = (1u << 2 * bits) - 1;
        while (value >> bits) {
            p -= 2;
            put_pair(p, table, static_cast<unsigned>(value & two));
            value >>= 2 * bits;
        }
        if (value || p == end)      // an odd digit out, or the one digit of 0
            p[-1] = set[value];
        return;
    }
    do {
        *--p = set[value % static_cast<unsigned>(base)];
        value /= static_cast<unsigned>(base);
    } while (value);
}

// The sign an integer conversion shows (0 for none) and, in *magnitude,
// the value it writes in digits: the absolute value of a negative signed
// one, cut to 32 bits below the 64-bit sizes.
KORV_INLINE char sign_of(uint64_t value, uint32_t f, uint64_t *magnitude)
{
    char sign = 0;
    uint64_t m = value;
    if (f & flag_signed) {
        if (static_cast<int64_t>(value) < 0) {
            sign = '-';
            m = 0 - value;
        } else if (f & flag_plus) {
            sign = '+';
        } else if (f & flag_blank) {
            sign = ' ';
        }
    }
    *magnitude = f & flag_64 ? m : m & 0xffffffffu;
    return sign;
}

// An integer conversion laid out: blanks, sign, prefix, zeros, digits and
// blanks, `length` characters in all.
struct IntLayout {
    uint64_t magnitude;
    uint64_t pad_before;
    uint64_t zeros;
    uint64_t pad_after;
    uint64_t length;
    int ndigits;
    int prefix_length;
    char sign;                  // 0 for none
    char prefix[2];
};

// Lays out an integer conversion in base (the style's base, given apart so
// that a constant can stand for it).
KORV_INLINE void layout_int(uint64_t value, const Style &style, int base, IntLayout *l)
{
    const uint32_t f = style.flags;
    const bool upper = f & flag_upper;

    uint64_t magnitude;
    const char sign = sign_of(value, f, &magnitude);

    const bool has_precision = style.precision >= 0;
    int ndigits = 0;
    if (magnitude != 0 || !has_precision || style.precision != 0 || ((f & flag_alt) && base == 8))
        ndigits = count_digits(magnitude, base);

    int prefix_length = 0;
    if ((f & flag_alt) && magnitude != 0) {
        if (base == 16 || base == 2) {
            l->prefix[0] = '0';
            l->prefix[1] = base == 16 ? (upper ? 'X' : 'x') : (upper ? 'B' : 'b');
            prefix_length = 2;
        } else if (base == 8) {
            l->prefix[0] = '0';
            prefix_length = 1;
        }
    }

    const uint64_t width = style.width > 0 ? static_cast<uint64_t>(style.width) : 0;
    uint64_t zeros = 0;
    if (has_precision) {
        uint64_t precision = static_cast<uint64_t>(style.precision < max_digits ? style.precision : max_digits);
        if (precision > static_cast<uint64_t>(ndigits))
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
    l->magnitude = magnitude;
    l->sign = sign;
    l->prefix_length = prefix_length;
    l->zeros = zeros;
    l->ndigits = ndigits;
    l->pad_before = (f & flag_minus) ? 0 : pad;
    l->pad_after = (f & flag_minus) ? pad : 0;
    l->length = total + pad;
}

// Fills n bytes with c; up to 16 bytes are stored without a call, by two
// overlapping stores of one size.
KORV_INLINE void fill_bytes(char *to, char c, uint64_t n)
{
    const uint64_t word = 0x0101010101010101ull * static_cast<unsigned char>(c);
    if (n >= 8 && n <= 16) {
        memcpy(to, &word, 8);
        memcpy(to + n - 8, &word, 8);
    } else if (n >= 4 && n < 8) {
        memcpy(to, &word, 4);
        memcpy(to + n - 4, &word, 4);
    } else if (n >= 2 && n < 4) {
        memcpy(to, &word, 2);
        memcpy(to + n - 2, &word, 2);
    } else if (n == 1) {
        to[0] = c;
    } else if (n > 16) {
        memset(to, c, n);
    }
}

// store_int for one base known to the compiler (0: the style's base).
template <int Base>
KORV_INLINE uint64_t store_int_in(char *to, uint64_t room, uint64_t value, const Style &style)
{
    const int base = Base ? Base : style.base;
    const uint32_t f = style.flags;
    if (!(f & flag_alt) && style.precision < 0) {
        // Without a precision or '#': blanks, a sign, zeros and the digits,
        // or the digits and blanks after them.
        uint64_t magnitude;
        const char sign = sign_of(value, f, &magnitude);
        const int ndigits = count_digits(magnitude, base);
        const uint64_t body = static_cast<uint64_t>(ndigits) + (sign ? 1 : 0);
        const uint64_t width = style.width > 0 ? static_cast<uint64_t>(style.width) : 0;
        const uint64_t pad = width > body ? width - body : 0;
        if (body + pad <= room) {
            char *q = to;
            if (pad && !(f & (flag_minus | flag_zero))) {
                fill_bytes(q, ' ', pad);
                q += pad;
            }
            if (sign)
                *q++ = sign;
            if (pad && (f & flag_zero) && !(f & flag_minus)) {
                fill_bytes(q, '0', pad);
                q += pad;
            }
            q += ndigits;
            digits_of(magnitude, base, f & flag_upper, q);
            if (pad && (f & flag_minus))
                fill_bytes(q, ' ', pad);
            return body + pad;
        }
    }
    IntLayout l;
    layout_int(value, style, base, &l);
    if (l.length > room) {
        // Cut short: through the bounded sink, which counts what it drops.
        Output out = bounded_output(to, room + 1, nullptr);
        write_int(out, value, style);
        return l.length;
    }
    if (l.pad_before) {
        fill_bytes(to, ' ', l.pad_before);
        to += l.pad_before;
    }
    if (l.sign)
        *to++ = l.sign;
    for (int i = 0; i < l.prefix_length; ++i)
        *to++ = l.prefix[i];
    if (l.zeros) {
        fill_bytes(to, '0', l.zeros);
        to += l.zeros;
    }
    if (l.ndigits) {
        to += l.ndigits;
        digits_of(l.magnitude, base, style.flags & flag_upper, to);
    }
    if (l.pad_after)
        fill_bytes(to, ' ', l.pad_after);
    return l.length;
}

// Writes an integer conversion at to, at most room characters of it (no
// NUL); returns its whole length, stored or not.
KORV_INLINE uint64_t store_int(char *to, uint64_t room, uint64_t value, const Style &style)
{
    switch (style.base) {
    case 10: return store_int_in<10>(to, room, value, style);
    case 16: return store_int_in<16>(to, room, value, style);
    case 8: return store_int_in<8>(to, room, value, style);
    default: return store_int_in<0>(to, room, value, style);
    }
}

} // namespace korv::fmt

#endif
