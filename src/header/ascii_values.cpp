/*
 * Interleaved groups of ASCII values: a cursor walks packed values, each
 * field of a group taking the bytes of its width (8, 16, 32 or 64 bits).
 */
#include "header/fmt_entries.h"

using namespace korv::hdr;

extern "C" KORV_API int32_t _KVHdrReadAsciiValues(KorvIO *io, const uint32_t *widths,
                                                  uint32_t groups, uint32_t fields,
                                                  unsigned char **cursor, uint32_t *counter)
{
    if (!io || !widths || !cursor || (!*cursor && groups && fields))
        return 0;
    for (uint32_t g = 0; g < groups; g++) {
        for (uint32_t f = 0; f < fields; f++) {
            uint32_t size = width_bytes(widths[f]);
            if (!size)
                return 0;
            if (get_value(io, widths[f], *cursor) != 0)
                return -1;
            *cursor += size;
            if (counter)
                ++*counter;
        }
    }
    return 1;
}

extern "C" KORV_API int32_t _KVHdrWriteAsciiValues(KorvIO *io, const uint32_t *widths,
                                                   uint32_t groups, uint32_t fields,
                                                   const unsigned char **cursor,
                                                   uint32_t newline)
{
    if (!io || !widths || !cursor || (!*cursor && groups && fields))
        return 0;
    TextOut out(io);
    for (uint32_t g = 0; g < groups; g++) {
        for (uint32_t f = 0; f < fields; f++) {
            uint32_t size = width_bytes(widths[f]);
            if (!size) {
                // What was written before the bad field still goes out.
                return out.flush() ? 0 : -1;
            }
            put_value(out, widths[f], *cursor);
            *cursor += size;
            if (newline)
                out.newline();
        }
        if (!newline)
            out.newline();
        if (out.failed)
            return -1;
    }
    return out.flush() ? 1 : -1;
}
