/*
 * The field readers of the scanf family. Each reads one field from a source,
 * within a width (the most characters it may consume; no_limit when none was
 * given), and reports whether a value was read. None of them skips leading
 * white space: the driver does that for the fields that want it. A reader
 * that fails may already have consumed characters. They are templates over
 * the two sources, instantiated for both beside their definitions.
 */
#ifndef KVSUP_FORMAT_SCAN_FIELDS_H
#define KVSUP_FORMAT_SCAN_FIELDS_H

#include "format/scan_source.h"

#include <stdint.h>

namespace korv::scan {

constexpr uint32_t no_limit = 0xFFFFFFFFu;

// Floating fields never read more than this many characters.
constexpr uint32_t max_float_chars = 511;

// Pointers are "0x" and 16 digits at most, as the printing side writes them.
constexpr uint32_t max_pointer_chars = 18;

struct IntStyle {
    int base;           // 2..36
    bool is_signed;     // a '+' or '-' may lead
    bool alt;           // '#': the prefix rules below
    bool detect_base;   // '#' with no base fixed: the prefix chooses it
};

// Digits of style.base in either case. With alt and base 2, 8 or 16 the field
// must begin with '0', optionally followed by 'b'/'B' (base 2) or 'x'/'X'
// (base 16). With detect_base, "0x" selects 16, "0b" 2, a lone leading '0'
// 8, and anything else stays decimal. The value wraps modulo 2^64; a '-'
// negates it in two's complement.
template <typename Src>
bool read_integer(Src &s, uint32_t width, const IntStyle &style, uint64_t *value);

// Decimal or hexadecimal ("0x") floating text with the locale's decimal
// point, or the words INF, INFINITE and NAN in any case, converted correctly
// rounded to a float (single) or a double. Values beyond the type's range
// give infinity or zero.
union FloatValue {
    double d;
    float f;
};
template <typename Src>
bool read_float(Src &s, uint32_t width, const char *point, bool single, FloatValue *out);

// 'c': exactly count characters into dst (no NUL). Fails when the input ends
// first; the characters read so far stay stored. dst may be null. With
// escapes a backslash sequence (\a \b \f \n \r \t \v \\, up to three octal
// digits, 'x' and up to two hexadecimal digits) stores the byte it names, and
// a backslash before any other character stores that character; count then
// counts the bytes stored.
template <typename Src>
bool read_chars(Src &s, uint32_t count, bool escapes, char *dst);

// 's': characters up to white space or width, decoded as for 'c', then a
// NUL. dst may be null.
template <typename Src>
bool read_string(Src &s, uint32_t width, bool escapes, char *dst);

// 'p': the word "(nil)" (null), or an optional "0x" and hexadecimal digits,
// within max_pointer_chars.
template <typename Src>
bool read_pointer(Src &s, uint32_t width, uint64_t *value);

// The members of a scan set, one bit per byte value.
struct ScanSet {
    uint64_t bits[4];
    bool negated;
    bool accepts(int c) const {
        if (c < 0) return false;
        bool member = (bits[c >> 6] >> (c & 63)) & 1;
        return member != negated;
    }
};

// Members as written between the brackets (after a '^'): a '-' between two
// characters spans the range from the lower to the higher one; a '-' first or
// last, and one between a higher and a lower character, is itself a member.
void build_set(const char *members, uint32_t length, bool negated, ScanSet *set);

// Characters the set accepts, up to width, then a NUL. dst may be null.
template <typename Src>
bool read_scanset(Src &s, uint32_t width, const ScanSet &set, char *dst);

} // namespace korv::scan

#endif
