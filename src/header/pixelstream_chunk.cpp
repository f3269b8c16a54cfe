/*
 * Pixelstream chunks: each pixel one line of sample tokens. Loading reads
 * the requested number of pixels into the header's buffer; emitting writes
 * a chunk's pixels.
 */
#include "header/fmt_entries.h"
#include "header/pixelstream_record.h"

#include <string.h>

using namespace korv::hdr;

namespace {

// The buffer's first size: room for this many bytes of pixels (at least
// one pixel), so a large request allocates only as its pixels arrive.
constexpr uint64_t kFirstBytes = 64 * 1024;

// Grows the buffer towards count pixels, doubling; false when it cannot.
bool grow(PixelHeader *p, uint32_t count)
{
    uint64_t next = p->capacity ? static_cast<uint64_t>(p->capacity) * 2
                                : (kFirstBytes / p->pixelBytes ? kFirstBytes / p->pixelBytes : 1);
    if (next > count)
        next = count;
    void *grown = korv_internal_realloc(p->buffer, static_cast<size_t>(next * p->pixelBytes));
    if (!grown)
        return false;
    p->buffer = static_cast<unsigned char *>(grown);
    p->capacity = static_cast<uint32_t>(next);
    return true;
}

} // namespace

uint32_t korv_pixelstream_load_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                     uint32_t count)
{
    if (!chunk)
        return 0;
    memset(chunk, 0, sizeof *chunk);
    PixelHeader *p = as_pixel_header(header);
    uint32_t samples, bytes;
    if (!p || !layout_of(header, &samples, &bytes) || samples == 0)
        return 0;
    KorvIO *in = p->input ? p->input : io;
    uint32_t width = header->bitsPerSample[0];
    uint32_t size = width_bytes(width);
    if (!in || !size)
        return 0;
    if (count == 0)
        count = 1;
    if (static_cast<uint64_t>(count) * bytes > 0xFFFFFFFFu)
        count = 0xFFFFFFFFu / bytes; // the most a chunk's size can count

    uint64_t wanted = static_cast<uint64_t>(count) * samples;
    uint64_t got = 0;
    for (uint64_t attempt = 0; attempt < wanted; attempt++) {
        if (got == static_cast<uint64_t>(p->capacity) * samples && !grow(p, count))
            return 0; // out of memory is a failure, not an end of data
        int32_t r = get_value(in, width, p->buffer + got * size);
        if (r == -1)
            break;
        if (r == 0)
            got++; // a token that is not a number is skipped
    }
    if (got % samples)
        return static_cast<uint32_t>(-1); // a pixel cut short
    uint32_t pixels = static_cast<uint32_t>(got / samples);
    chunk->data = p->buffer;
    chunk->reserved = 0;
    chunk->aux = pixels;
    chunk->size = pixels * bytes;
    chunk->flags = pixels < count ? 1 : 0;
    return 1;
}

uint32_t korv_pixelstream_emit_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                     uint32_t flag)
{
    if (!header || !io || !chunk)
        return 0;
    uint32_t samples, bytes;
    if (!layout_of(header, &samples, &bytes))
        return 0;
    if (chunk->reserved != 0 || static_cast<int32_t>(chunk->aux) <= 0)
        return 1;
    uint32_t width = header->bitsPerSample[0];
    uint32_t size = width_bytes(width);
    // The chunk must hold the pixels it claims.
    if (size && (!chunk->data ||
                 static_cast<uint64_t>(chunk->aux) * samples * size > chunk->size))
        return 0;
    bool written = put_lines(io, width, chunk->data, chunk->aux, samples);
    if (!size)
        return 0;
    return written ? 1 : static_cast<uint32_t>(-1);
}
