/*
 * The "spectral" formats: measurements of a fixed number of bands, each a
 * 32-bit float. The document names the band count ("Encoding"/"bands") and
 * the writer's byte order. Version "1.0-ascii" carries each measurement as
 * one text line of values; "1.0-binary" carries the floats as they stand,
 * in the writer's byte order, with no framing. A chunk's scan-line word
 * counts its measurements.
 */
#include "header/fmt_entries.h"

#include <string.h>

using namespace korv::hdr;

namespace {

constexpr uint32_t kFloat = 4;

KorvCMNode *write_document(KorvGenericHeader *h, KorvCMNode *t, const char *version)
{
    t = KVHdrSetHeaderParam(t, "ID", "format", "spectral");
    t = KVHdrSetHeaderParam(t, "ID", "version", version);
    t = write_architecture(t, h);
    int32_t bands = static_cast<int32_t>(h->imageParts[0]);
    t = KVHdrSetHeaderInts(t, "Encoding", "bands", &bands, 1, 1);
    t = write_photometry(t, h);
    return add_end(t);
}

// Bytes of one measurement; 0 when the header has no bands.
uint32_t measurement_bytes(const KorvGenericHeader *h)
{
    uint64_t n = static_cast<uint64_t>(h->imageParts[0]) * kFloat;
    return n > 0xFFFFFFFFu ? 0 : static_cast<uint32_t>(n);
}

// The most measurements one chunk can count in its 32-bit size.
uint32_t limit_count(uint32_t count, uint32_t bytes)
{
    if (count == 0)
        count = 1;
    if (static_cast<uint64_t>(count) * bytes > 0xFFFFFFFFu)
        count = 0xFFFFFFFFu / bytes;
    return count;
}

// Checks an emit: the bytes of one measurement; 0 when the chunk holds no
// measurements (nothing to write); -1 for bad arguments, a header without
// bands or a chunk shorter than the measurements it claims.
int64_t emit_bytes(const KorvGenericHeader *header, const KorvIO *io, const KorvChunk *chunk)
{
    if (!header || !io || !chunk)
        return -1;
    uint32_t bytes = measurement_bytes(header);
    if (chunk->aux == 0)
        return 0;
    if (!bytes || !chunk->data || static_cast<uint64_t>(chunk->aux) * bytes > chunk->size)
        return -1;
    return bytes;
}

void finish(KorvChunk *chunk, const FormatHeader *f, uint32_t measurements, uint32_t bytes,
            uint32_t count)
{
    chunk->data = f->buffer.data;
    chunk->aux = measurements;
    chunk->size = measurements * bytes;
    chunk->flags = measurements < count ? 1 : 0;
}

} // namespace

uint32_t korv_bands_create(KorvGenericHeader **header)
{
    if (!header)
        return 0;
    FormatHeader *f = new_format_header(KORV_KIND_SPECTRAL);
    if (!f)
        return 0;
    f->h.colorSpace = 116; // "Spectral"
    f->h.bitsPerSample[0] = 32;
    *header = &f->h;
    return 1;
}

uint32_t korv_bands_to_header(KorvCMNode *tree, KorvGenericHeader **header)
{
    KorvGenericHeader *h = nullptr;
    if (!tree || !korv_bands_create(&h))
        return 0;
    FormatHeader *f = as_format_header(h);
    if (!take_params(h, tree)) {
        h->free(h);
        return 0;
    }
    read_architecture(f);
    get_uint(h->params, "Encoding", "bands", &h->imageParts[0]);
    h->bytesPerLine[0] = measurement_bytes(h);
    read_photometry(h);
    static const char *const kOwned[][2] = {{"ID", "format"},
                                            {"ID", "version"},
                                            {"ID", "architecture"},
                                            {"Encoding", "bands"}};
    drop_owned(h, kOwned);
    *header = h;
    return 1;
}

uint32_t korv_bands_ascii_from_header(KorvGenericHeader *header, KorvCMNode **tree)
{
    if (!header || !tree)
        return 0;
    *tree = write_document(header, *tree, "1.0-ascii");
    return 1;
}

uint32_t korv_bands_binary_from_header(KorvGenericHeader *header, KorvCMNode **tree)
{
    if (!header || !tree)
        return 0;
    *tree = write_document(header, *tree, "1.0-binary");
    return 1;
}

// Reads up to count measurements of text; the end of data before a
// measurement ends the chunk, inside one it is a cut measurement (-1). The
// buffer grows as values arrive, whatever the band count claims.
uint32_t korv_bands_ascii_load_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                        uint32_t count)
{
    FormatHeader *f = begin_load(header, io, chunk);
    uint32_t bytes = f ? measurement_bytes(header) : 0;
    if (!bytes)
        return 0;
    count = limit_count(count, bytes);
    const uint64_t total = static_cast<uint64_t>(count) * bytes;
    uint64_t filled = 0;
    while (filled < total) {
        if (filled + kFloat > f->buffer.capacity) {
            uint64_t want = f->buffer.capacity < 4096 ? 4096 : f->buffer.capacity * 2;
            if (!reserve(f->buffer, want < total ? want : total))
                return 0;
        }
        int32_t r = get_value(io, 32, f->buffer.data + filled);
        if (r == -1 && filled % bytes == 0)
            break;
        if (r == -1)
            return static_cast<uint32_t>(-1);
        if (r != 0)
            return 0;
        filled += kFloat;
    }
    finish(chunk, f, static_cast<uint32_t>(filled / bytes), bytes, count);
    return 1;
}

uint32_t korv_bands_ascii_emit_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                        uint32_t flag)
{
    int64_t bytes = emit_bytes(header, io, chunk);
    if (bytes <= 0)
        return bytes == 0 ? 1 : 0;
    bool written = put_lines(io, 32, chunk->data, chunk->aux, header->imageParts[0]);
    return written ? 1 : static_cast<uint32_t>(-1);
}

uint32_t korv_bands_binary_load_chunk(KorvGenericHeader *header, KorvIO *io,
                                         KorvChunk *chunk, uint32_t count)
{
    FormatHeader *f = begin_load(header, io, chunk);
    uint32_t bytes = f ? measurement_bytes(header) : 0;
    if (!bytes)
        return 0;
    count = limit_count(count, bytes);
    int64_t got = read_some(io, f->buffer, static_cast<uint64_t>(count) * bytes);
    if (got < 0)
        return 0;
    if (got % bytes)
        return static_cast<uint32_t>(-1);
    uint32_t m = static_cast<uint32_t>(got / bytes);
    if (f->swap)
        KorvSwabLongArray(f->buffer.data, static_cast<uint32_t>(got / kFloat));
    finish(chunk, f, m, bytes, count);
    return 1;
}

uint32_t korv_bands_binary_emit_chunk(KorvGenericHeader *header, KorvIO *io,
                                         KorvChunk *chunk, uint32_t flag)
{
    int64_t bytes = emit_bytes(header, io, chunk);
    if (bytes <= 0)
        return bytes == 0 ? 1 : 0;
    uint64_t total = static_cast<uint64_t>(chunk->aux) * static_cast<uint64_t>(bytes);
    if (!writes_swapped(header))
        return KorvIOWriteBytes(io, chunk->data, total) == total ? 1 : static_cast<uint32_t>(-1);
    // The caller's floats stay as they are: turn them around piece by piece.
    unsigned char piece[4096];
    for (uint64_t done = 0; done < total;) {
        uint64_t n = total - done < sizeof piece ? total - done : sizeof piece;
        memcpy(piece, chunk->data + done, static_cast<size_t>(n));
        KorvSwabLongArray(piece, static_cast<uint32_t>(n / kFloat));
        if (KorvIOWriteBytes(io, piece, n) != n)
            return static_cast<uint32_t>(-1);
        done += n;
    }
    return 1;
}
