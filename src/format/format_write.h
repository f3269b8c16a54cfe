/*
 * The formatters of the output engine. Each takes one resolved conversion
 * and writes it, padding included, to the output state.
 */
#ifndef KVSUP_FORMAT_FORMAT_WRITE_H
#define KVSUP_FORMAT_FORMAT_WRITE_H

#include "format/format_output.h"
#include "format/format_parse.h"

namespace korv::fmt {

// A conversion with its '*' values resolved: a negative width has become
// flag_minus, a negative precision none (-1).
struct Style {
    uint32_t flags;
    int32_t width;          // 0 without one
    int32_t precision;      // -1 without one
    int32_t base;
    char conversion;
};

// Integers: signed conversions read value as int64_t, others as uint64_t.
void write_int(Output &out, uint64_t value, const Style &style);

// "(nil)" for null, else '0', 'x' and 16 hexadecimal digits.
void write_pointer(Output &out, const void *p, const Style &style);
// One byte, escaped with '#', quoted with flag_quote.
void write_char(Output &out, int c, const Style &style);
// "(nil)" for null; the precision limits the bytes taken.
void write_string(Output &out, const char *s, const Style &style);
// Decimal and hexadecimal floating conversions, inf and nan.
void write_float(Output &out, double value, const Style &style);

} // namespace korv::fmt

#endif
