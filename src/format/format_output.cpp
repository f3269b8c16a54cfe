// The growing and stream sinks, and the setting up of output states.
#include "format/format_output.h"

namespace korv::fmt {

namespace {

constexpr uint64_t first_capacity = 32;

Output blank_output(Sink sink, const KorvLocale *locale)
{
    Output out;
    out.sink = sink;
    out.alloc_failed = false;
    out.error = 0;
    out.buffer = nullptr;
    out.limit = 0;
    out.capacity = 0;
    out.io = nullptr;
    out.locale = locale;
    out.produced = 0;
    out.stored = 0;
    return out;
}

// Makes room for n more characters in the growing buffer; false when the
// buffer could not grow (it is then dropped and nothing more is kept).
bool reserve(Output &out, uint64_t n)
{
    if (out.alloc_failed)
        return false;
    uint64_t need = out.stored + n;
    if (out.buffer && need <= out.capacity)
        return true;
    uint64_t capacity = out.capacity ? out.capacity : first_capacity;
    while (capacity < need)
        capacity *= 2;
    char *grown = static_cast<char *>(korv_internal_realloc(out.buffer, capacity + 1));
    if (!grown) {
        korv_internal_free(out.buffer);
        out.buffer = nullptr;
        out.capacity = 0;
        out.alloc_failed = true;
        return false;
    }
    out.buffer = grown;
    out.capacity = capacity;
    return true;
}

// One byte to the stream; after the first failure nothing more is written.
void stream_byte(Output &out, char c)
{
    if (out.error)
        return;
    if (out.io && KorvIOWriteBytes(out.io, &c, 1) == 1)
        ++out.stored;
    else
        out.error = static_cast<int>(stream_write_failed);
}

} // namespace

void Output::put_slow(const char *s, size_t n)
{
    if (sink == Sink::growing) {
        if (reserve(*this, n)) {
            memcpy(buffer + stored, s, n);
            stored += n;
        }
    } else {
        for (size_t i = 0; i < n; ++i)
            stream_byte(*this, s[i]);
    }
}

void Output::fill_slow(char c, uint64_t n)
{
    if (sink == Sink::growing) {
        if (reserve(*this, n)) {
            memset(buffer + stored, c, n);
            stored += n;
        }
    } else {
        for (uint64_t i = 0; i < n && !error; ++i)
            stream_byte(*this, c);
    }
}

Output unbounded_output(char *dst, const KorvLocale *locale)
{
    Output out = blank_output(Sink::unbounded, locale);
    out.buffer = dst;
    return out;
}

Output bounded_output(char *dst, uint64_t size, const KorvLocale *locale)
{
    Output out = blank_output(Sink::bounded, locale);
    if (dst && size > 0) {
        out.buffer = dst;
        out.limit = size - 1;
    }
    return out;
}

Output growing_output(const KorvLocale *locale)
{
    return blank_output(Sink::growing, locale);
}

Output stream_output(KorvIO *io, const KorvLocale *locale)
{
    Output out = blank_output(Sink::stream, locale);
    out.io = io;
    return out;
}

char *finish(Output &out)
{
    switch (out.sink) {
    case Sink::unbounded:
    case Sink::bounded:
        if (out.buffer)
            out.buffer[out.stored] = '\0';
        return nullptr;
    case Sink::growing:
        if (!out.buffer && !out.alloc_failed) {
            out.buffer = static_cast<char *>(korv_internal_malloc(1));
            out.alloc_failed = !out.buffer;
        }
        if (out.buffer)
            out.buffer[out.stored] = '\0';
        return out.buffer;
    case Sink::stream:
        return nullptr;
    }
    return nullptr;
}

void discard(Output &out)
{
    if (out.sink == Sink::growing) {
        korv_internal_free(out.buffer);
        out.buffer = nullptr;
    }
}

} // namespace korv::fmt
