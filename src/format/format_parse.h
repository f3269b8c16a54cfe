/*
 * The format parser shared by the printf and scanf families.
 *
 * parse() reads a whole format into a table of conversion records, one per
 * argument, in argument order. In printing mode a '*' width, precision or
 * base takes an int record of its own (type arg_star) placed before the
 * value's record, and the value's record names it by index. In scanning
 * mode '*' instead marks the conversion as suppressed (it keeps its record,
 * flagged flag_suppress, but takes no argument) and '[' opens a scan set.
 *
 * "%%" makes no record. Records keep pointers into the format, which must
 * outlive them.
 */
#ifndef KVSUP_FORMAT_FORMAT_PARSE_H
#define KVSUP_FORMAT_FORMAT_PARSE_H

#include <stdint.h>

namespace korv::fmt {

constexpr int max_records = 64;

// Parser results.
constexpr int parse_ok = 0;
constexpr int parse_bad_format = 2;       // malformed conversion
constexpr int parse_too_many = 3;       // more than max_records conversions

enum RecordType : uint8_t {
    arg_int,        // d i u o x X
    arg_float,      // e E f F g G a A
    arg_char,       // c
    arg_string,     // s
    arg_pointer,    // p
    arg_count,      // n
    arg_star,       // an int taken for a '*' width, precision or base (printing)
    arg_scanset,    // [ ... ] (scanning)
};

// Flag word bits.
enum : uint32_t {
    flag_blank = 1u << 0,       // ' '
    flag_alt = 1u << 1,         // '#'
    flag_plus = 1u << 2,        // '+'
    flag_minus = 1u << 3,       // '-'
    flag_zero = 1u << 4,        // '0'
    flag_h = 1u << 5,           // 'h' (16-bit; float with floating conversions)
    flag_hh = 1u << 6,          // 'hh' (8-bit)
    flag_l = 1u << 7,           // 'l' (32-bit)
    flag_ll = 1u << 8,          // 'll'
    flag_L = 1u << 9,           // 'L' (long double, read as double)
    flag_64 = 1u << 10,         // 64-bit integer: 'll', 'j', 't', 'z' or 'I64'
    flag_I32 = 1u << 11,        // 'I32'
    flag_I16 = 1u << 12,        // 'I16'
    flag_I8 = 1u << 13,         // 'I8'
    flag_j = 1u << 14,          // 'j' given (floating conversions: type's digits)
    flag_upper = 1u << 15,      // upper-case conversion letter
    flag_signed = 1u << 16,     // 'd' or 'i'
    flag_suppress = 1u << 17,   // scanning: '*', no assignment
    flag_negated = 1u << 18,    // scanning: "[^"
    flag_quote = 1u << 19,      // internal: wrap strings and characters in quotes
    flag_has_width = 1u << 20,
    flag_has_precision = 1u << 21,
    flag_has_base = 1u << 22,
};

union RecordValue {
    int64_t i;
    uint64_t u;
    double d;
    const void *p;      // strings, pointers, count and scan destinations
};

struct Record {
    RecordType type;
    char conversion;            // the conversion letter as written
    uint32_t flags;
    int32_t width;              // when flag_has_width; -1 otherwise
    int32_t precision;          // when flag_has_precision; -1 otherwise
    int32_t base;               // the conversion's number base (2..36)
    int16_t width_star;         // index of the '*' record, or -1
    int16_t precision_star;
    int16_t base_star;
    const char *start;          // the '%' that starts the conversion
    const char *next;           // the format position after the conversion
    const char *set;            // scan sets: first member character
    uint32_t set_length;        // scan sets: bytes of members before the ']'
    RecordValue value;          // the argument, once fetched
};

struct Parsed {
    int count;                  // records used
    Record records[max_records];
};

// Parses format into out; returns parse_ok, parse_bad_format or parse_too_many.
int parse(const char *format, bool scanning, Parsed *out);

// Returned by read_directive when a '*' is met and no table was given for it.
constexpr int parse_needs_table = 4;

// One conversion as read by read_directive: the fields of its record.
struct Directive {
    RecordType type;
    char conversion;
    uint32_t flags;
    int32_t width;
    int32_t precision;
    int32_t base;
    int16_t width_star;
    int16_t precision_star;
    int16_t base_star;
    const char *next;
    const char *set;
    uint32_t set_length;
};

// Reads the conversion that starts at the '%' at start (not "%%"). In
// printing mode each '*' takes an int record of its own in stars; with a
// null stars table a '*' ends the reading with parse_needs_table. Returns
// parse_ok, parse_bad_format, parse_too_many or parse_needs_table.
int read_directive(const char *start, bool scanning, Parsed *stars, Directive *directive);

} // namespace korv::fmt

#endif
