/*
 * The record behind the headers of the framed and raster formats, and the
 * reusable chunk buffer they read into.
 */
#include "header/fmt_entries.h"

#include <string.h>

namespace korv::hdr {

namespace {

// The first growth step of a buffer that is filled from a stream: a frame
// cannot make the buffer larger than this before its bytes arrive.
constexpr uint64_t kFirstStep = 64 * 1024;

} // namespace

bool reserve(ByteBuffer &buf, uint64_t size)
{
    if (size <= buf.capacity)
        return true;
    if (size > SIZE_MAX)
        return false;
    void *grown = korv_internal_realloc(buf.data, static_cast<size_t>(size));
    if (!grown)
        return false;
    buf.data = static_cast<unsigned char *>(grown);
    buf.capacity = size;
    return true;
}

void release(ByteBuffer &buf)
{
    korv_internal_free(buf.data);
    buf.data = nullptr;
    buf.capacity = 0;
}

bool read_exact(KorvIO *io, ByteBuffer &buf, uint64_t size)
{
    return read_some(io, buf, size) == static_cast<int64_t>(size);
}

int64_t read_some(KorvIO *io, ByteBuffer &buf, uint64_t size)
{
    uint64_t filled = 0;
    while (filled < size) {
        if (buf.capacity <= filled) {
            // Double what has arrived, at least the first step, at most size.
            uint64_t want = filled < kFirstStep ? kFirstStep : filled * 2;
            if (want > size)
                want = size;
            if (!reserve(buf, want))
                return -1;
        }
        uint64_t room = (buf.capacity < size ? buf.capacity : size) - filled;
        uint64_t got = KorvIOReadBytes(io, buf.data + filled, room);
        if (static_cast<int64_t>(got) < 0 || got > room)
            return -1;
        filled += got;
        if (got < room)
            break; // the stream ended
    }
    return static_cast<int64_t>(filled);
}

FormatHeader *new_format_header(uint32_t kind)
{
    auto *f = static_cast<FormatHeader *>(korv_internal_calloc(1, sizeof(FormatHeader)));
    if (!f)
        return nullptr;
    f->h.copy = format_header_copy;
    f->h.free = format_header_free;
    f->h.kind = kind;
    f->h.dimensions = 1;
    f->h.pixels = 1;
    f->h.endian = KorvIdentifyEndian();
    return f;
}

FormatHeader *as_format_header(KorvGenericHeader *h)
{
    if (!h || h->free != format_header_free)
        return nullptr;
    return reinterpret_cast<FormatHeader *>(h);
}

// A copy keeps the byte-order state of the original but none of its data:
// chunks loaded through the original stay the original's.
KorvGenericHeader *format_header_copy(KorvGenericHeader *h)
{
    FormatHeader *from = as_format_header(h);
    if (!from)
        return KorvGenericHeaderCopy(h);
    FormatHeader *f = new_format_header(h->kind);
    if (!f)
        return nullptr;
    memcpy(&f->h, h, sizeof f->h);
    f->h.params = nullptr;
    f->swap = from->swap;
    f->sepsRead = from->sepsRead;
    if (!take_params(&f->h, h->params)) {
        format_header_free(&f->h);
        return nullptr;
    }
    return &f->h;
}

void format_header_free(KorvGenericHeader *h)
{
    FormatHeader *f = as_format_header(h);
    if (!f)
        return;
    release(f->buffer);
    KorvFreeUserCMData(h->params);
    korv_internal_free(f);
}

bool take_params(KorvGenericHeader *h, KorvCMNode *tree)
{
    h->params = nullptr;
    if (!tree)
        return true;
    h->params = KorvUserCMDupData(tree);
    return h->params != nullptr;
}

uint32_t format_create(uint32_t kind, KorvGenericHeader **out)
{
    if (!out)
        return 0;
    FormatHeader *f = new_format_header(kind);
    if (!f)
        return 0;
    *out = &f->h;
    return 1;
}

FormatHeader *format_from_tree(uint32_t kind, KorvCMNode *tree)
{
    FormatHeader *f = new_format_header(kind);
    if (f && !take_params(&f->h, tree)) {
        format_header_free(&f->h);
        return nullptr;
    }
    return f;
}

} // namespace korv::hdr
