/*
 * The pieces the binary chunk formats share: starting a load, a frame of
 * 32-bit words in the writer's byte order with the bytes it counts, and the
 * writing of such a frame.
 */
#include "header/fmt_entries.h"

#include <string.h>

namespace korv::hdr {

FormatHeader *begin_load(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk)
{
    if (!chunk)
        return nullptr;
    memset(chunk, 0, sizeof *chunk);
    FormatHeader *f = as_format_header(header);
    return f && io ? f : nullptr;
}

FrameRead read_frame(FormatHeader *f, KorvIO *io, KorvChunk *chunk, uint32_t *frame,
                     uint32_t words)
{
    uint64_t want = static_cast<uint64_t>(words) * sizeof *frame;
    uint64_t got = KorvIOReadBytes(io, frame, want);
    if (got == 0) {
        chunk->flags = 1;
        return FrameRead::End;
    }
    if (got != want)
        return FrameRead::Failed;
    if (f->swap)
        KorvSwabLongArray(frame, words);
    return read_exact(io, f->buffer, frame[0]) ? FrameRead::Read : FrameRead::Failed;
}

bool can_emit(const KorvGenericHeader *header, const KorvIO *io, const KorvChunk *chunk)
{
    return header && io && chunk && (!chunk->size || chunk->data);
}

bool writes_swapped(const KorvGenericHeader *h)
{
    return (h->endian == KORV_ENDIAN_LITTLE || h->endian == KORV_ENDIAN_BIG) &&
           h->endian != KorvIdentifyEndian();
}

uint32_t write_frame(const KorvGenericHeader *header, KorvIO *io, const KorvChunk *chunk,
                     uint32_t *frame, uint32_t words)
{
    if (words) {
        uint64_t n = static_cast<uint64_t>(words) * sizeof *frame;
        if (writes_swapped(header))
            KorvSwabLongArray(frame, words);
        if (KorvIOWriteBytes(io, frame, n) != n)
            return static_cast<uint32_t>(-1);
    }
    if (chunk->size && KorvIOWriteBytes(io, chunk->data, chunk->size) != chunk->size)
        return static_cast<uint32_t>(-1);
    return 1;
}

} // namespace korv::hdr
