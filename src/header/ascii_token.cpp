/*
 * ASCII tokens of header data: one value per white-space-separated token,
 * written with one leading blank. Tokens are read one byte at a time, so a
 * reader never takes more from the stream than the token and the byte
 * that ends it. Numbers are read and written without regard to any locale.
 */
#include "header/fmt_entries.h"
#include "format/scan_fields.h"

#include <string.h>

namespace korv::hdr {

namespace {

// Longest integer and real tokens; a longer token is cut there and its
// rest is read as the next token.
constexpr int kIntChars = 32;
constexpr int kRealChars = 64;

bool is_space(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// One byte of input, or -1 at the end of the data: a read that delivers no
// byte, the end-of-transmission byte 4 and the byte 0xFF all end it.
int next_byte(KorvIO *io)
{
    unsigned char c;
    if (io->read(io, &c, 1) != 1 || c == 4 || c == 0xFF)
        return -1;
    return c;
}

// Collects one token into buf (limit characters at most, then a NUL); the
// white space that ends it is consumed. -1 when the data ends first.
int collect(KorvIO *io, char *buf, int limit)
{
    int c;
    do
        c = next_byte(io);
    while (c >= 0 && is_space(c));
    if (c < 0)
        return -1;
    int n = 0;
    buf[n++] = static_cast<char>(c);
    while (n < limit) {
        c = next_byte(io);
        if (c < 0 || is_space(c))
            break;
        buf[n++] = static_cast<char>(c);
    }
    buf[n] = 0;
    return n;
}

bool write_all(KorvIO *io, const char *text, size_t n)
{
    return KorvIOWriteBytes(io, text, n) == n;
}

} // namespace

size_t format_uint(char *dst, uint32_t value)
{
    char digits[12];
    size_t n = 0;
    do {
        digits[n++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value);
    dst[0] = ' ';
    for (size_t i = 0; i < n; i++)
        dst[1 + i] = digits[n - 1 - i];
    return n + 1;
}

size_t format_float(char *dst, float value)
{
    return static_cast<size_t>(KorvSNPrintf(dst, 64, " %g", static_cast<double>(value)));
}

void TextOut::put(const char *s, size_t n)
{
    if (used + n > sizeof text)
        flush();
    memcpy(text + used, s, n);
    used += n;
}

bool TextOut::flush()
{
    if (used) {
        if (!write_all(io, text, used))
            failed = true;
        used = 0;
    }
    return !failed;
}

uint32_t width_bytes(uint32_t width)
{
    switch (width) {
    case 8: return 1;
    case 16: return 2;
    case 32: return 4;
    case 64: return 8;
    default: return 0;
    }
}

bool put_value(TextOut &out, uint32_t width, const unsigned char *p)
{
    char text[140];
    size_t n;
    switch (width) {
    case 8:
        n = format_uint(text, p[0]);
        break;
    case 16: {
        uint16_t v;
        memcpy(&v, p, sizeof v);
        n = format_uint(text, v);
        break;
    }
    case 32: {
        float v;
        memcpy(&v, p, sizeof v);
        n = format_float(text, v);
        break;
    }
    case 64: {
        float v[2];
        memcpy(v, p, sizeof v);
        n = format_float(text, v[0]);
        n += format_float(text + n, v[1]);
        break;
    }
    default:
        return false;
    }
    out.put(text, n);
    return true;
}

bool put_lines(KorvIO *io, uint32_t width, const unsigned char *p, uint32_t lines,
               uint32_t per_line)
{
    uint32_t size = width_bytes(width);
    TextOut out(io);
    for (uint32_t l = 0; l < lines; l++) {
        for (uint32_t v = 0; v < per_line && size; v++, p += size)
            put_value(out, width, p);
        out.newline();
    }
    return out.flush();
}

int32_t get_value(KorvIO *io, uint32_t width, unsigned char *p)
{
    int32_t r;
    switch (width) {
    case 8:
    case 16: {
        uint32_t v;
        r = _KVHdrReadAsciiInt(io, &v);
        if (r == 0) {
            if (width == 8) {
                p[0] = static_cast<unsigned char>(v);
            } else {
                uint16_t s = static_cast<uint16_t>(v);
                memcpy(p, &s, sizeof s);
            }
        }
        return r;
    }
    case 32: {
        float v;
        r = _KVHdrReadAsciiFloat(io, &v);
        if (r == 0)
            memcpy(p, &v, sizeof v);
        return r;
    }
    case 64: {
        float v[2];
        r = _KVHdrReadAsciiComplex(io, v);
        if (r == 0)
            memcpy(p, v, sizeof v);
        return r;
    }
    default:
        return -2;
    }
}

} // namespace korv::hdr

using namespace korv::hdr;

extern "C" KORV_API int32_t _KVHdrReadAsciiInt(KorvIO *io, uint32_t *value)
{
    if (!io || !value)
        return -1;
    char text[kIntChars + 1];
    if (collect(io, text, kIntChars) < 0)
        return -1;
    // Plain digits (the usual case) need no scanner; anything else goes
    // through the one every "%u" read uses.
    int n = 0;
    uint32_t quick = 0;
    while (n < 10 && text[n] >= '0' && text[n] <= '9')
        quick = quick * 10 + static_cast<uint32_t>(text[n++] - '0');
    if (n > 0 && n < 10 && text[n] == 0) {
        *value = quick;
        return 0;
    }
    korv::scan::StringSource s(text);
    const korv::scan::IntStyle style = {10, true, false, false};
    uint64_t v;
    if (!korv::scan::read_integer(s, korv::scan::no_limit, style, &v))
        return 1;
    *value = static_cast<uint32_t>(v);
    return 0;
}

extern "C" KORV_API int32_t _KVHdrReadAsciiFloat(KorvIO *io, float *value)
{
    if (!io || !value)
        return -1;
    char text[kRealChars + 1];
    if (collect(io, text, kRealChars) < 0)
        return -1;
    korv::scan::StringSource s(text);
    korv::scan::FloatValue v;
    if (!korv::scan::read_float(s, korv::scan::no_limit, ".", false, &v))
        return 1;
    *value = static_cast<float>(v.d);
    return 0;
}

extern "C" KORV_API int32_t _KVHdrReadAsciiComplex(KorvIO *io, float *value)
{
    if (!value)
        return -1;
    int32_t r = _KVHdrReadAsciiFloat(io, &value[0]);
    if (r != 0)
        return r;
    return _KVHdrReadAsciiFloat(io, &value[1]);
}

namespace {

// Writes one value as a token: 0, or -1 for bad arguments or a short write.
template <typename T>
int32_t write_token(KorvIO *io, const T *value, size_t (*format)(char *, T))
{
    if (!io || !value)
        return -1;
    char text[64];
    size_t n = format(text, *value);
    return write_all(io, text, n) ? 0 : -1;
}

} // namespace

extern "C" KORV_API int32_t _KVHdrWriteAsciiInt(KorvIO *io, const uint32_t *value)
{
    return write_token(io, value, format_uint);
}

extern "C" KORV_API int32_t _KVHdrWriteAsciiFloat(KorvIO *io, const float *value)
{
    return write_token(io, value, format_float);
}

extern "C" KORV_API int32_t _KVHdrWriteAsciiComplex(KorvIO *io, const float *value)
{
    if (!value || _KVHdrWriteAsciiFloat(io, &value[0]) != 0)
        return -1;
    return _KVHdrWriteAsciiFloat(io, &value[1]);
}
