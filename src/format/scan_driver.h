/*
 * The driver of the scanf family: walks a parsed format over a source,
 * matching literal text and reading one field per conversion.
 */
#ifndef KVSUP_FORMAT_SCAN_DRIVER_H
#define KVSUP_FORMAT_SCAN_DRIVER_H

#include "kvsup.h"

#include <stdarg.h>
#include <stdint.h>

namespace korv::scan {

// Where the values go: the destination pointers of a va_list, or an array
// of them. One pointer per conversion that is not suppressed ('n' included),
// in the order of the format.
struct Destinations {
    va_list *args;      // when set, pointers come from here
    void **array;       // otherwise from here (a null array stores nothing)

    void *next() {
        if (args) return va_arg(*args, void *);
        return array ? *array++ : nullptr;
    }
};

// The results besides the count of values assigned.
constexpr int32_t result_no_input = -1;     // input ended before the first value
constexpr int32_t result_bad_format = 2;

// A null locale, or one without a decimal point, reads '.' as the point.
int32_t scan_string(const KorvLocale *locale, const char *string, const char *format,
                    Destinations &out);
int32_t scan_stream(const KorvLocale *locale, KorvIO *io, const char *format,
                    Destinations &out);

} // namespace korv::scan

#endif
