/*
 * Text chunks: the bytes that follow a "text" header, as they stand. A load
 * takes up to the requested number of bytes (4096 for a count of 0) and
 * flags the end of data when fewer arrive; an emit writes the bytes.
 */
#include "header/fmt_entries.h"

using namespace korv::hdr;

namespace {
constexpr uint32_t kDefaultBytes = 4096;
} // namespace

uint32_t korv_text_load_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                              uint32_t count)
{
    FormatHeader *f = begin_load(header, io, chunk);
    if (!f)
        return 0;
    if (count == 0)
        count = kDefaultBytes;
    int64_t got = read_some(io, f->buffer, count);
    if (got < 0)
        return 0;
    chunk->data = f->buffer.data;
    chunk->size = static_cast<uint32_t>(got);
    chunk->flags = static_cast<uint64_t>(got) < count ? 1 : 0;
    return 1;
}

uint32_t korv_text_emit_chunk(KorvGenericHeader *header, KorvIO *io, KorvChunk *chunk,
                              uint32_t flag)
{
    if (!can_emit(header, io, chunk))
        return 0;
    return write_frame(header, io, chunk, nullptr, 0);
}
