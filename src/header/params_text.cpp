/*
 * Numbers in header parameter text: tokens separated by blanks, read with
 * the library's own scanner and written with its own formatter, so that the
 * text never depends on the user's locale.
 */
#include "header/params_text.h"

#include <string.h>

namespace kvhdr {

namespace {

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

/* Tokens the real forms give a place to in a list. */
bool looks_numeric(const char *token)
{
    char c = token[0];
    return (c >= '0' && c <= '9') || c == '.' || c == '-';
}

template <typename T>
uint32_t scan_all(const char *text, T *values, uint32_t count)
{
    const char *p = text;
    uint32_t n = 0;
    if constexpr (NumberText<T>::stops_at_end) {
        while (n < count) {
            const char *token = next_token(&p);
            if (!token || !scan_one(token, &values[n]))
                break;
            n++;
        }
    } else {
        for (; n < count; n++) {
            const char *token = next_token(&p);
            if (token)
                scan_one(token, &values[n]);
        }
    }
    return n;
}

/* Large enough for "%f" of the largest double (309 digits and six
 * decimals) and its sign. */
constexpr size_t kNumberRoom = 352;

uint64_t format_one(char *dst, int32_t value)
{
    return KorvSNPrintf(dst, kNumberRoom, "%d", value);
}

uint64_t format_one(char *dst, double value)
{
    return KorvSNPrintf(dst, kNumberRoom, "%f", value);
}

/* Floats are written as the doubles they widen to. */
uint64_t format_one(char *dst, float value)
{
    return format_one(dst, static_cast<double>(value));
}

template <typename T>
char *format_all(const T *values, uint32_t count, uint32_t perLine)
{
    char one[kNumberRoom];
    /* Measure first, so that the text takes exactly one allocation
     * whatever the magnitudes. */
    size_t total = 1;
    for (uint32_t i = 0; i < count; i++) {
        uint64_t n = format_one(one, values[i]);
        total += (n < kNumberRoom ? n : kNumberRoom - 1) + 1;
    }
    char *text = static_cast<char *>(korv_internal_malloc(total));
    if (!text)
        return nullptr;
    char *p = text;
    for (uint32_t i = 0; i < count; i++) {
        uint64_t n = format_one(one, values[i]);
        size_t len = n < kNumberRoom ? static_cast<size_t>(n) : kNumberRoom - 1;
        memcpy(p, one, len);
        p += len;
        *p++ = ((i + 1) % perLine == 0) ? '\n' : ' ';
    }
    *p = '\0';
    return text;
}

} // namespace

const char *next_token(const char **p)
{
    const char *s = *p;
    while (*s && is_blank(*s))
        s++;
    if (!*s) {
        *p = s;
        return nullptr;
    }
    const char *token = s;
    while (*s && !is_blank(*s))
        s++;
    *p = s;
    return token;
}

bool scan_one(const char *token, int32_t *value)
{
    return KorvSScanf(token, "%d", value) == 1;
}

bool scan_one(const char *token, double *value)
{
    return KorvSScanf(token, "%lf", value) == 1;
}

bool scan_one(const char *token, float *value)
{
    return KorvSScanf(token, "%f", value) == 1;
}

uint32_t scan_numbers(const char *text, int32_t *values, uint32_t count)
{
    return scan_all(text, values, count);
}

uint32_t scan_numbers(const char *text, double *values, uint32_t count)
{
    return scan_all(text, values, count);
}

uint32_t scan_numbers(const char *text, float *values, uint32_t count)
{
    return scan_all(text, values, count);
}

template <typename T> uint32_t count_number_tokens(const char *text)
{
    uint32_t n = 0;
    const char *p = text ? text : "";
    while (const char *token = next_token(&p)) {
        if (NumberText<T>::stops_at_end || looks_numeric(token))
            n++;
    }
    return n;
}

template <typename T> void scan_number_tokens(const char *text, T *values, uint32_t per)
{
    uint32_t n = 0;
    const char *p = text ? text : "";
    while (n < per) {
        const char *token = next_token(&p);
        if (!token)
            break;
        if (!NumberText<T>::stops_at_end && !looks_numeric(token))
            continue;
        scan_one(token, &values[n]);
        n++;
    }
}

template uint32_t count_number_tokens<int32_t>(const char *);
template uint32_t count_number_tokens<double>(const char *);
template uint32_t count_number_tokens<float>(const char *);
template void scan_number_tokens<int32_t>(const char *, int32_t *, uint32_t);
template void scan_number_tokens<double>(const char *, double *, uint32_t);
template void scan_number_tokens<float>(const char *, float *, uint32_t);

char *format_numbers(const int32_t *values, uint32_t count, uint32_t perLine)
{
    return format_all(values, count, perLine);
}

char *format_numbers(const double *values, uint32_t count, uint32_t perLine)
{
    return format_all(values, count, perLine);
}

char *format_numbers(const float *values, uint32_t count, uint32_t perLine)
{
    return format_all(values, count, perLine);
}

} // namespace kvhdr
