/*
 * Binary chunks of the raster formats: a frame of four 32-bit words (size,
 * scan lines, a reserved word, flags) in the writer's byte order, then the
 * bytes. Samples that arrive in the other byte order are turned around.
 */
#include "header/fmt_entries.h"

using namespace korv::hdr;

namespace {

// Only the end-of-data bit and bit 32 travel with a chunk.
constexpr uint32_t kFrameFlags = 33;

// Turns each separation's samples of a loaded chunk into the machine's
// order, line by line, never past the chunk's bytes.
void swap_samples(const FormatHeader *f, KorvChunk *chunk)
{
    const KorvGenericHeader &h = f->h;
    uint32_t seps = h.interleave == KORV_INTERLEAVE_PIXEL ? 1 : f->sepsRead;
    if (seps > KORV_MAX_SEPARATIONS)
        seps = KORV_MAX_SEPARATIONS;
    uint64_t line = 0;
    for (uint32_t s = 0; s < seps; s++)
        line += h.bytesPerLine[s];
    if (line == 0 || !chunk->data)
        return;
    unsigned char *p = chunk->data;
    const unsigned char *end = p + chunk->size;
    for (uint32_t l = 0; l < chunk->aux && p < end; l++) {
        for (uint32_t s = 0; s < seps && p < end; s++) {
            uint64_t n = h.bytesPerLine[s];
            if (n > static_cast<uint64_t>(end - p))
                n = static_cast<uint64_t>(end - p);
            uint32_t bits = h.bitsPerSample[s];
            if (bits > 16)
                KorvSwabLongArray(p, static_cast<uint32_t>(n / 4));
            else if (bits > 8)
                KorvSwabShortArray(p, static_cast<uint32_t>(n / 2));
            p += n;
        }
    }
}

} // namespace

uint32_t korv_imgext_emit_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                uint32_t flag)
{
    if (!can_emit(header, io, chunk))
        return 0;
    uint32_t frame[4] = {chunk->size, chunk->aux, chunk->reserved,
                         static_cast<uint32_t>(chunk->flags & kFrameFlags)};
    return write_frame(header, io, chunk, frame, 4);
}

uint32_t korv_imgext_load_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                uint32_t count)
{
    FormatHeader *f = begin_load(header, io, chunk);
    if (!f)
        return 0;
    uint32_t frame[4];
    FrameRead r = read_frame(f, io, chunk, frame, 4);
    if (r != FrameRead::Read)
        return r == FrameRead::End ? 1 : 0;
    chunk->size = frame[0];
    chunk->aux = frame[1];
    chunk->reserved = frame[2];
    chunk->flags = frame[3] & kFrameFlags;
    chunk->data = f->buffer.data;
    if (f->swap)
        swap_samples(f, chunk);
    return 1;
}
