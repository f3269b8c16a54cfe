/*
 * Byte chunks with a size frame, shared by the "info" and "xml" formats:
 * a 32-bit byte count in the writer's byte order, then the bytes. The
 * chunk's scan-line word counts the table entries it holds (info) and is 0
 * for XML text.
 */
#include "header/fmt_entries.h"

#include <string.h>

using namespace korv::hdr;

uint32_t korv_framed_emit_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                uint32_t flag)
{
    if (!header || !io || !chunk || (chunk->size && !chunk->data))
        return 0;
    uint32_t size = chunk->size;
    if ((header->endian == KORV_ENDIAN_LITTLE || header->endian == KORV_ENDIAN_BIG) &&
        header->endian != KorvIdentifyEndian())
        KorvSwabLong(&size);
    if (KorvIOWriteBytes(io, &size, sizeof size) != sizeof size)
        return static_cast<uint32_t>(-1);
    if (chunk->size && KorvIOWriteBytes(io, chunk->data, chunk->size) != chunk->size)
        return static_cast<uint32_t>(-1);
    return 1;
}

uint32_t korv_framed_load_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                uint32_t count)
{
    if (!chunk)
        return 0;
    memset(chunk, 0, sizeof *chunk);
    FormatHeader *f = as_format_header(header);
    if (!f || !io)
        return 0;
    uint32_t size;
    uint64_t got = KorvIOReadBytes(io, &size, sizeof size);
    if (got == 0) {
        chunk->flags = 1;
        return 1;
    }
    if (got != sizeof size)
        return 0;
    if (f->swap)
        KorvSwabLong(&size);
    if (!read_exact(io, f->buffer, size))
        return 0;
    chunk->size = size;
    chunk->data = f->buffer.data;
    uint32_t entry = header->kind == KORV_KIND_INFO ? header->bytesPerLine[0] : 0;
    chunk->aux = entry ? size / entry : 0;
    return 1;
}
