/*
 * The driver of the output engine: parses a format, fetches the arguments
 * from a va_list or from an array of argument pointers, and walks the
 * format, handing literal text and formatted conversions to the sink.
 */
#ifndef KVSUP_FORMAT_FORMAT_PRINT_H
#define KVSUP_FORMAT_FORMAT_PRINT_H

#include <stdarg.h>

#include "format/format_output.h"

namespace korv::fmt {

// Where the arguments come from: a va_list, or an array whose elements
// point to the values, in the order of the conversions.
struct Args {
    va_list *list;
    void *const *array;
};

// Formats into out. Returns 0, or the parser's code (2 or 3) when the
// format is rejected, in which case nothing is written.
int print(Output &out, const char *format, Args args);

} // namespace korv::fmt

#endif
