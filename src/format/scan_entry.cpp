// The twelve entry points of the scanf family: a string or a stream source;
// destinations from the variable arguments, a va_list or an array; the
// engine locale or one given first.
#include "format/scan_driver.h"

using korv::scan::Destinations;
using korv::scan::scan_stream;
using korv::scan::scan_string;

extern "C" {

KORV_API int32_t KorvSScanf(const char *src, const char *format, ...) {
    va_list args;
    va_start(args, format);
    Destinations out{&args, nullptr};
    int32_t result = scan_string(KorvGetKorvaneLocale(), src, format, out);
    va_end(args);
    return result;
}

KORV_API int32_t KorvVSScanf(const char *src, const char *format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    Destinations out{&copy, nullptr};
    int32_t result = scan_string(KorvGetKorvaneLocale(), src, format, out);
    va_end(copy);
    return result;
}

KORV_API int32_t KorvLSScanf(const char *src, const char *format, void **args) {
    Destinations out{nullptr, args};
    return scan_string(KorvGetKorvaneLocale(), src, format, out);
}

KORV_API int32_t KorvIOScanf(KorvIO *io, const char *format, ...) {
    va_list args;
    va_start(args, format);
    Destinations out{&args, nullptr};
    int32_t result = scan_stream(KorvGetKorvaneLocale(), io, format, out);
    va_end(args);
    return result;
}

KORV_API int32_t KorvIOVScanf(KorvIO *io, const char *format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    Destinations out{&copy, nullptr};
    int32_t result = scan_stream(KorvGetKorvaneLocale(), io, format, out);
    va_end(copy);
    return result;
}

KORV_API int32_t KorvIOLScanf(KorvIO *io, const char *format, void **args) {
    Destinations out{nullptr, args};
    return scan_stream(KorvGetKorvaneLocale(), io, format, out);
}

KORV_API int32_t KorvSScanfl(const KorvLocale *locale, const char *src, const char *format, ...) {
    va_list args;
    va_start(args, format);
    Destinations out{&args, nullptr};
    int32_t result = scan_string(locale, src, format, out);
    va_end(args);
    return result;
}

KORV_API int32_t KorvVSScanfl(const KorvLocale *locale, const char *src, const char *format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    Destinations out{&copy, nullptr};
    int32_t result = scan_string(locale, src, format, out);
    va_end(copy);
    return result;
}

KORV_API int32_t KorvLSScanfl(const KorvLocale *locale, const char *src, const char *format, void **args) {
    Destinations out{nullptr, args};
    return scan_string(locale, src, format, out);
}

KORV_API int32_t KorvIOScanfl(const KorvLocale *locale, KorvIO *io, const char *format, ...) {
    va_list args;
    va_start(args, format);
    Destinations out{&args, nullptr};
    int32_t result = scan_stream(locale, io, format, out);
    va_end(args);
    return result;
}

KORV_API int32_t KorvIOVScanfl(const KorvLocale *locale, KorvIO *io, const char *format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    Destinations out{&copy, nullptr};
    int32_t result = scan_stream(locale, io, format, out);
    va_end(copy);
    return result;
}

KORV_API int32_t KorvIOLScanfl(const KorvLocale *locale, KorvIO *io, const char *format, void **args) {
    Destinations out{nullptr, args};
    return scan_stream(locale, io, format, out);
}

} // extern "C"
