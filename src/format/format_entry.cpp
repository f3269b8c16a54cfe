// The 24 members of the printf family: four sinks, three ways of passing
// arguments, with or without a locale of the caller's.
#include "kvsup.h"

#include "format/format_alone.h"

using korv::fmt::Args;
using korv::fmt::Output;

namespace {

// After a rejected format the string sinks hold an empty string, the
// growing sink hands out nothing, and the result is the parser's code.

uint64_t string_engine(char *dst, const KorvLocale *locale, const char *format, Args args)
{
    uint64_t produced;
    const korv::fmt::Alone alone = korv::fmt::print_number_alone(dst, UINT64_MAX, locale, format, args, &produced);
    if (alone == korv::fmt::Alone::done ||
        (alone == korv::fmt::Alone::longer && korv::fmt::print_alone(dst, UINT64_MAX, locale, format, args, &produced)))
        return produced;
    Output out = korv::fmt::unbounded_output(dst, locale);
    int code = korv::fmt::print(out, format, args);
    if (code) {
        if (dst)
            dst[0] = '\0';
        return static_cast<uint64_t>(code);
    }
    korv::fmt::finish(out);
    return out.produced;
}

uint64_t bounded_engine(char *dst, uint64_t size, const KorvLocale *locale, const char *format, Args args)
{
    uint64_t produced;
    char *to = size ? dst : nullptr;
    const uint64_t limit = size ? size - 1 : 0;
    const korv::fmt::Alone alone = korv::fmt::print_number_alone(to, limit, locale, format, args, &produced);
    if (alone == korv::fmt::Alone::done ||
        (alone == korv::fmt::Alone::longer && korv::fmt::print_alone(to, limit, locale, format, args, &produced)))
        return produced;
    Output out = korv::fmt::bounded_output(dst, size, locale);
    int code = korv::fmt::print(out, format, args);
    if (code) {
        if (dst && size > 0)
            dst[0] = '\0';
        return static_cast<uint64_t>(code);
    }
    korv::fmt::finish(out);
    return out.produced;
}

// The commonest conversions ("%d", "%llx", "%08x", "%-6d") are written
// here, inline in each member; everything else takes one call.
KORV_INLINE uint64_t to_string(char *dst, const KorvLocale *locale, const char *format, Args args)
{
    uint64_t produced;
    if (korv::fmt::print_plain_int(dst, UINT64_MAX, format, args, &produced))
        return produced;
    return string_engine(dst, locale, format, args);
}

KORV_INLINE uint64_t to_bounded(char *dst, uint64_t size, const KorvLocale *locale, const char *format, Args args)
{
    uint64_t produced;
    if (korv::fmt::print_plain_int(size ? dst : nullptr, size ? size - 1 : 0, format, args, &produced))
        return produced;
    return bounded_engine(dst, size, locale, format, args);
}

uint64_t to_new(char **result, const KorvLocale *locale, const char *format, Args args)
{
    if (!result)
        return to_string(nullptr, locale, format, args);
    *result = nullptr;
    Output out = korv::fmt::growing_output(locale);
    int code = korv::fmt::print(out, format, args);
    if (code) {
        korv::fmt::discard(out);
        return static_cast<uint64_t>(code);
    }
    *result = korv::fmt::finish(out);
    return out.produced;
}

uint64_t to_stream(KorvIO *io, const KorvLocale *locale, const char *format, Args args)
{
    Output out = korv::fmt::stream_output(io, locale);
    int code = korv::fmt::print(out, format, args);
    if (code)
        return static_cast<uint64_t>(code);
    return out.error ? korv::fmt::stream_write_failed : out.produced;
}

} // namespace

extern "C" KORV_API uint64_t KorvSPrintf(char *dst, const char *format, ...)
{
    va_list list;
    va_start(list, format);
    uint64_t n = to_string(dst, nullptr, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvVSPrintf(char *dst, const char *format, va_list args)
{
    va_list list;
    va_copy(list, args);
    uint64_t n = to_string(dst, nullptr, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvLSPrintf(char *dst, const char *format, void **args)
{
    return to_string(dst, nullptr, format, Args{nullptr, args});
}

extern "C" KORV_API uint64_t KorvSNPrintf(char *dst, uint64_t size, const char *format, ...)
{
    va_list list;
    va_start(list, format);
    uint64_t n = to_bounded(dst, size, nullptr, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvVSNPrintf(char *dst, uint64_t size, const char *format, va_list args)
{
    va_list list;
    va_copy(list, args);
    uint64_t n = to_bounded(dst, size, nullptr, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvLSNPrintf(char *dst, uint64_t size, const char *format, void **args)
{
    return to_bounded(dst, size, nullptr, format, Args{nullptr, args});
}

extern "C" KORV_API uint64_t KorvASPrintf(char **out, const char *format, ...)
{
    va_list list;
    va_start(list, format);
    uint64_t n = to_new(out, nullptr, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvVASPrintf(char **out, const char *format, va_list args)
{
    va_list list;
    va_copy(list, args);
    uint64_t n = to_new(out, nullptr, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvLASPrintf(char **out, const char *format, void **args)
{
    return to_new(out, nullptr, format, Args{nullptr, args});
}

extern "C" KORV_API uint64_t KorvIOPrintf(KorvIO *io, const char *format, ...)
{
    va_list list;
    va_start(list, format);
    uint64_t n = to_stream(io, nullptr, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvIOVPrintf(KorvIO *io, const char *format, va_list args)
{
    va_list list;
    va_copy(list, args);
    uint64_t n = to_stream(io, nullptr, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvIOLPrintf(KorvIO *io, const char *format, void **args)
{
    return to_stream(io, nullptr, format, Args{nullptr, args});
}

extern "C" KORV_API uint64_t KorvSPrintfl(const KorvLocale *locale, char *dst, const char *format, ...)
{
    va_list list;
    va_start(list, format);
    uint64_t n = to_string(dst, locale, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvVSPrintfl(const KorvLocale *locale, char *dst, const char *format, va_list args)
{
    va_list list;
    va_copy(list, args);
    uint64_t n = to_string(dst, locale, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvLSPrintfl(const KorvLocale *locale, char *dst, const char *format, void **args)
{
    return to_string(dst, locale, format, Args{nullptr, args});
}

extern "C" KORV_API uint64_t KorvSNPrintfl(const KorvLocale *locale, char *dst, uint64_t size, const char *format, ...)
{
    va_list list;
    va_start(list, format);
    uint64_t n = to_bounded(dst, size, locale, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvVSNPrintfl(const KorvLocale *locale, char *dst, uint64_t size, const char *format, va_list args)
{
    va_list list;
    va_copy(list, args);
    uint64_t n = to_bounded(dst, size, locale, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvLSNPrintfl(const KorvLocale *locale, char *dst, uint64_t size, const char *format, void **args)
{
    return to_bounded(dst, size, locale, format, Args{nullptr, args});
}

extern "C" KORV_API uint64_t KorvASPrintfl(const KorvLocale *locale, char **out, const char *format, ...)
{
    va_list list;
    va_start(list, format);
    uint64_t n = to_new(out, locale, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvVASPrintfl(const KorvLocale *locale, char **out, const char *format, va_list args)
{
    va_list list;
    va_copy(list, args);
    uint64_t n = to_new(out, locale, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvLASPrintfl(const KorvLocale *locale, char **out, const char *format, void **args)
{
    return to_new(out, locale, format, Args{nullptr, args});
}

extern "C" KORV_API uint64_t KorvIOPrintfl(const KorvLocale *locale, KorvIO *io, const char *format, ...)
{
    va_list list;
    va_start(list, format);
    uint64_t n = to_stream(io, locale, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvIOVPrintfl(const KorvLocale *locale, KorvIO *io, const char *format, va_list args)
{
    va_list list;
    va_copy(list, args);
    uint64_t n = to_stream(io, locale, format, Args{&list, nullptr});
    va_end(list);
    return n;
}

extern "C" KORV_API uint64_t KorvIOLPrintfl(const KorvLocale *locale, KorvIO *io, const char *format, void **args)
{
    return to_stream(io, locale, format, Args{nullptr, args});
}
