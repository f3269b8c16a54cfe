/*
 * Value chunks of 8, 16, 32 and 64-bit values as ASCII text: loading n
 * values into a chunk's value block, and emitting a chunk as one line.
 */
#include "header/fmt_entries.h"

using namespace korv::hdr;

namespace {

template <uint32_t Width>
uint32_t load(KorvIO *io, KVHdrValueChunk *chunk, uint32_t n)
{
    constexpr size_t size = Width / 8;
    if (!io || !chunk || n == 0)
        return 0;
    if (!chunk->values) {
        chunk->values = korv_internal_calloc(n, size);
        if (!chunk->values)
            return 0;
    }
    chunk->loaded = 1;
    chunk->count = n;
    chunk->end = 0;
    auto *p = static_cast<unsigned char *>(chunk->values);
    for (uint32_t i = 0; i < n; i++) {
        int32_t r = get_value(io, Width, p + i * size);
        if (r == -1 && i == 0) {
            // Nothing at all is left: the chunk is an end marker. A chunk
            // of one value is then complete; a longer one fails below.
            chunk->loaded = 0;
            chunk->count = 0;
            chunk->end = 1;
            continue;
        }
        if (r != 0)
            return 0;
    }
    return 1;
}

template <uint32_t Width>
uint32_t emit(KorvIO *io, KVHdrValueChunk *chunk, uint32_t flag)
{
    if (!io || !chunk || !chunk->values || !flag)
        return 0;
    const auto *p = static_cast<const unsigned char *>(chunk->values);
    return put_lines(io, Width, p, 1, chunk->count) ? 1 : 0;
}

} // namespace

extern "C" {

KORV_API uint32_t KVHdrLoadChunk_Ascii_8(KorvIO *io, KVHdrValueChunk *chunk, uint32_t n)
{
    return load<8>(io, chunk, n);
}
KORV_API uint32_t KVHdrLoadChunk_Ascii_16(KorvIO *io, KVHdrValueChunk *chunk, uint32_t n)
{
    return load<16>(io, chunk, n);
}
KORV_API uint32_t KVHdrLoadChunk_Ascii_32(KorvIO *io, KVHdrValueChunk *chunk, uint32_t n)
{
    return load<32>(io, chunk, n);
}
KORV_API uint32_t KVHdrLoadChunk_Ascii_64(KorvIO *io, KVHdrValueChunk *chunk, uint32_t n)
{
    return load<64>(io, chunk, n);
}
KORV_API uint32_t KVHdrEmitChunk_Ascii_8(KorvIO *io, KVHdrValueChunk *chunk, uint32_t flag)
{
    return emit<8>(io, chunk, flag);
}
KORV_API uint32_t KVHdrEmitChunk_Ascii_16(KorvIO *io, KVHdrValueChunk *chunk, uint32_t flag)
{
    return emit<16>(io, chunk, flag);
}
KORV_API uint32_t KVHdrEmitChunk_Ascii_32(KorvIO *io, KVHdrValueChunk *chunk, uint32_t flag)
{
    return emit<32>(io, chunk, flag);
}
KORV_API uint32_t KVHdrEmitChunk_Ascii_64(KorvIO *io, KVHdrValueChunk *chunk, uint32_t flag)
{
    return emit<64>(io, chunk, flag);
}

} // extern "C"
