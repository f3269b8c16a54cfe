// Memory streams (a growing block the stream owns) and string streams (a
// caller's string, bounded by a size or by its NUL).
#include "io_private.h"

#include <string.h>

using namespace korv::io;

namespace {

struct MemIO {
    KorvIO io;
    char *buffer;
    uint64_t capacity;
    uint64_t length;   // the highest point ever written
    char *position;    // shared by reading and writing
};

struct StrIO {
    KorvIO io;
    char *base;
    uint64_t size;     // 0: unbounded, the string ends at its NUL
    char *rd;
    char *wr;
    uint32_t owned;
};

MemIO *mem(KorvIO *io) { return reinterpret_cast<MemIO *>(io); }
StrIO *str(KorvIO *io) { return reinterpret_cast<StrIO *>(io); }

void mem_close(KorvIO *io) {
    korv_internal_free(mem(io)->buffer);
    korv_internal_free(io);
}

// Reads of more than one byte, or at the end of the data.
[[gnu::noinline]] int64_t mem_read_block(MemIO *m, void *dst, uint64_t count) {
    uint64_t pos = static_cast<uint64_t>(m->position - m->buffer);
    if (!m->buffer || pos >= m->length) return 0;
    uint64_t n = m->length - pos;
    if (count < n) n = count;
    memcpy(dst, m->position, n);
    m->position += n;
    return static_cast<int64_t>(n);
}

// Line readers come one byte at a time: that case stays short.
int64_t mem_read(KorvIO *io, void *dst, uint64_t count) {
    MemIO *m = mem(io);
    char *at = m->position;
    if (count == 1 && at < m->buffer + m->length) {
        m->position = at + 1;
        *static_cast<char *>(dst) = *at;
        return 1;
    }
    return mem_read_block(m, dst, count);
}

int64_t mem_write(KorvIO *io, const void *src, uint64_t count) {
    MemIO *m = mem(io);
    if (count == 0) return 0;
    uint64_t pos = static_cast<uint64_t>(m->position - m->buffer);
    if (count > INT64_MAX || pos + count < pos) return -1;
    if (pos + count > m->capacity) {
        uint64_t cap = m->capacity * 2;
        if (cap < pos + count) cap = pos + count;
        auto *grown = static_cast<char *>(korv_internal_realloc(m->buffer, cap));
        if (!grown) {
            korv_internal_free(m->buffer);
            m->buffer = m->position = nullptr;
            m->capacity = m->length = 0;
            return -1;
        }
        m->buffer = grown;
        m->capacity = cap;
        m->position = grown + pos;
    }
    memcpy(m->position, src, count);
    m->position += count;
    if (pos + count > m->length) m->length = pos + count;
    return static_cast<int64_t>(count);
}

int64_t mem_seek(KorvIO *io, int64_t offset, uint32_t whence) {
    MemIO *m = mem(io);
    int64_t base;
    switch (whence) {
    case 0: base = 0; break;
    case 1: base = m->position - m->buffer; break;
    case 2: base = static_cast<int64_t>(m->length); break;
    default: return -1;
    }
    int64_t at;
    if (__builtin_add_overflow(base, offset, &at) || at < 0) return -1;
    // Past the length is allowed; a later write fills the gap.
    if (static_cast<uint64_t>(at) > m->capacity) {
        auto *grown = static_cast<char *>(korv_internal_realloc(m->buffer, static_cast<size_t>(at)));
        if (!grown) return -1;
        m->buffer = grown;
        m->capacity = static_cast<uint64_t>(at);
    }
    m->position = m->buffer + at;
    return at;
}

void str_close(KorvIO *io) {
    if (str(io)->owned) korv_internal_free(str(io)->base);
    korv_internal_free(io);
}

int64_t str_read(KorvIO *io, void *dst, uint64_t count) {
    StrIO *s = str(io);
    auto *out = static_cast<char *>(dst);
    if (count == 1 && (s->size ? s->rd < s->base + s->size : *s->rd != '\0')) {
        *out = *s->rd++;
        return 1;
    }
    if (s->size) {
        uint64_t left = static_cast<uint64_t>(s->base + s->size - s->rd);
        uint64_t n = count < left ? count : left;
        memcpy(out, s->rd, n);
        s->rd += n;
        return static_cast<int64_t>(n);
    }
    uint64_t n = 0;
    while (n < count && s->rd[0] != '\0') out[n++] = *s->rd++;
    return static_cast<int64_t>(n);
}

int64_t str_write(KorvIO *io, const void *src, uint64_t count) {
    StrIO *s = str(io);
    uint64_t n = count;
    uint64_t room = 0;
    if (s->size) {
        room = static_cast<uint64_t>(s->base + s->size - s->wr);
        if (n > room) n = room;
    }
    if (n) memcpy(s->wr, src, n);
    s->wr += n;
    if (s->size && n < room) *s->wr = '\0';
    return static_cast<int64_t>(n);
}

int64_t str_seek(KorvIO *io, int64_t offset, uint32_t whence) {
    StrIO *s = str(io);
    int64_t base;
    switch (whence) {
    case 0: base = 0; break;
    case 1: base = s->rd - s->base; break;
    case 2: base = s->size ? static_cast<int64_t>(s->size) : static_cast<int64_t>(strlen(s->base)); break;
    default: return -1;
    }
    int64_t at;
    if (__builtin_add_overflow(base, offset, &at) || at < 0) return -1;
    if (s->size && static_cast<uint64_t>(at) >= s->size) return -1;
    s->rd = s->wr = s->base + at;
    return at;
}

void str_set_owned(KorvIO *io, uint32_t owned) { str(io)->owned = owned; }

} // namespace

namespace korv::io {

int64_t mem_read_string(KorvIO *io, char *dst, int64_t limit) {
    if (io->read != mem_read) return kNotMemoryStream;
    MemIO *m = mem(io);
    char *at = m->position;
    char *end = m->buffer + m->length;
    uint64_t window = m->buffer && at < end ? static_cast<uint64_t>(end - at) : 0;
    if (window > static_cast<uint64_t>(limit)) window = static_cast<uint64_t>(limit);
    if (window == 0) {
        dst[0] = '\0';
        return 0;
    }
    const char *newline = static_cast<const char *>(memchr(at, '\n', window));
    uint64_t consumed = newline ? static_cast<uint64_t>(newline - at) + 1 : window;
    const char *p = at;
    const char *stop = newline ? newline : at + window;
    char *out = dst;
    while (p < stop) { // the text without its carriage returns
        const char *cr = static_cast<const char *>(memchr(p, '\r', static_cast<size_t>(stop - p)));
        size_t n = static_cast<size_t>((cr ? cr : stop) - p);
        memcpy(out, p, n);
        out += n;
        p += n + (cr ? 1 : 0);
    }
    *out = '\0';
    m->position = at + consumed;
    return static_cast<int64_t>(consumed);
}

} // namespace korv::io

extern "C" {

KORV_API KorvIO *KorvIO_Mem(uint64_t capacity) {
    KorvIO *io = make_stream(sizeof(MemIO), mem_close, mem_read, mem_write,
                             flush_nothing, mem_seek, nullptr);
    if (!io || capacity == 0) return io;
    MemIO *m = mem(io);
    m->buffer = static_cast<char *>(korv_internal_malloc(capacity));
    if (!m->buffer) {
        korv_internal_free(io);
        return nullptr;
    }
    m->capacity = capacity;
    m->position = m->buffer;
    return io;
}

KORV_API KorvIO *KorvIO_Str(char *base, uint64_t size) {
    if (!base) return nullptr;
    KorvIO *io = make_stream(sizeof(StrIO), str_close, str_read, str_write,
                             flush_nothing, str_seek, str_set_owned);
    if (!io) return nullptr;
    StrIO *s = str(io);
    s->base = s->rd = s->wr = base;
    s->size = size;
    return io;
}

KORV_API void KorvIOStrReset(KorvIO *io) {
    if (!io) return;
    str(io)->rd = str(io)->wr = str(io)->base;
}

} // extern "C"
