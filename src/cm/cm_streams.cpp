/*
 * The two private streams of the CM subsystem: a growable byte buffer that
 * collects each token's text, and a read-only view of a byte range from
 * which the editors parse value text.
 */
#include "cm/cm_private.h"

#include <string.h>

namespace kvcm {

namespace {

struct BufferStream {
    KorvIO io;
    unsigned char *data;
    uint64_t size;   /* bytes held */
    uint64_t pos;    /* bytes already read */
    uint64_t cap;
};

void buffer_close(KorvIO *io)
{
    BufferStream *bs = reinterpret_cast<BufferStream *>(io);
    korv_internal_free(bs->data);
    korv_internal_free(bs);
}

int64_t buffer_read(KorvIO *io, void *dst, uint64_t count)
{
    BufferStream *bs = reinterpret_cast<BufferStream *>(io);
    uint64_t avail = bs->size - bs->pos;
    if (count > avail)
        count = avail;
    if (count)
        memcpy(dst, bs->data + bs->pos, count);
    bs->pos += count;
    if (bs->pos == bs->size)
        bs->pos = bs->size = 0;
    return static_cast<int64_t>(count);
}

/* Grows the buffer by doubling; a failed growth is a failed write. */
int64_t buffer_write(KorvIO *io, const void *src, uint64_t count)
{
    BufferStream *bs = reinterpret_cast<BufferStream *>(io);
    if (count > INT64_MAX || count > UINT64_MAX - bs->size)
        return -1;
    if (bs->size + count > bs->cap) {
        uint64_t cap = bs->cap ? bs->cap : 256;
        while (cap < bs->size + count)
            cap = cap > UINT64_MAX / 2 ? bs->size + count : cap * 2;
        if (cap > SIZE_MAX)
            return -1;
        unsigned char *grown = static_cast<unsigned char *>(
            korv_internal_realloc(bs->data, static_cast<size_t>(cap)));
        if (!grown)
            return -1;
        bs->data = grown;
        bs->cap = cap;
    }
    if (count)
        memcpy(bs->data + bs->size, src, count);
    bs->size += count;
    return static_cast<int64_t>(count);
}

int32_t buffer_flush(KorvIO *) { return 1; }
int64_t buffer_seek(KorvIO *, int64_t, uint32_t) { return -1; }
void no_owned(KorvIO *, uint32_t) {}

void range_close(KorvIO *) {}

int64_t range_read(KorvIO *io, void *dst, uint64_t count)
{
    RangeStream *rs = reinterpret_cast<RangeStream *>(io);
    uint64_t avail = rs->size - rs->pos;
    if (count > avail)
        count = avail;
    if (count)
        memcpy(dst, rs->data + rs->pos, count);
    rs->pos += count;
    return static_cast<int64_t>(count);
}

int64_t range_write(KorvIO *, const void *, uint64_t) { return -1; }

} // namespace

KorvIO *buffer_stream_open()
{
    BufferStream *bs = static_cast<BufferStream *>(korv_internal_calloc(1, sizeof *bs));
    if (!bs)
        return nullptr;
    bs->io.close = buffer_close;
    bs->io.read = buffer_read;
    bs->io.write = buffer_write;
    bs->io.flush = buffer_flush;
    bs->io.seek = buffer_seek;
    bs->io.set_owned = no_owned;
    return &bs->io;
}

bool buffer_stream_take(KorvIO *io, char **text, uint64_t *length)
{
    BufferStream *bs = reinterpret_cast<BufferStream *>(io);
    uint64_t n = bs->size - bs->pos;
    char *copy = static_cast<char *>(korv_internal_malloc(static_cast<size_t>(n) + 1));
    if (copy) {
        if (n)
            memcpy(copy, bs->data + bs->pos, static_cast<size_t>(n));
        copy[n] = '\0';
    }
    bs->size = bs->pos = 0;
    *text = copy;
    *length = copy ? n : 0;
    return copy != nullptr;
}

void range_stream_init(RangeStream *rs, const void *data, uint64_t size)
{
    memset(rs, 0, sizeof *rs);
    rs->io.close = range_close;
    rs->io.read = range_read;
    rs->io.write = range_write;
    rs->io.flush = buffer_flush;
    rs->io.seek = buffer_seek;
    rs->io.set_owned = no_owned;
    rs->data = static_cast<const unsigned char *>(data);
    rs->size = data ? size : 0;
}

} // namespace kvcm
