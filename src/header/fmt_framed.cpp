/*
 * Byte chunks with a size frame, shared by the "info" and "xml" formats:
 * a 32-bit byte count in the writer's byte order, then the bytes. The
 * chunk's scan-line word counts the table entries it holds (info) and is 0
 * for XML text.
 */
#include "header/fmt_entries.h"

using namespace korv::hdr;

uint32_t korv_framed_emit_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                uint32_t flag)
{
    if (!can_emit(header, io, chunk))
        return 0;
    uint32_t size = chunk->size;
    return write_frame(header, io, chunk, &size, 1);
}

uint32_t korv_framed_load_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                                uint32_t count)
{
    FormatHeader *f = begin_load(header, io, chunk);
    if (!f)
        return 0;
    uint32_t size;
    FrameRead r = read_frame(f, io, chunk, &size, 1);
    if (r != FrameRead::Read)
        return r == FrameRead::End ? 1 : 0;
    chunk->size = size;
    chunk->data = f->buffer.data;
    uint32_t entry = header->kind == KORV_KIND_INFO ? header->bytesPerLine[0] : 0;
    chunk->aux = entry ? size / entry : 0;
    return 1;
}
