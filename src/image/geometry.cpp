/*
 * Byte geometry of scan lines: the bytes one separation's line takes, the
 * padding that lets every separation start on the boundary of its own
 * sample size, interleaved and aligned variants, and the chunk sizes a
 * header derives from them. All arithmetic is unsigned 32-bit and wraps
 * like the fields it fills.
 */
#include "image/image_private.h"

namespace {

/* Whole bytes up to 8 bits, whole 16-bit words up to 16, else 32-bit words. */
uint32_t bytes_per_sep(uint32_t bits, uint32_t pixels)
{
    uint32_t n = bits * pixels;
    if (bits <= 8)
        return (n + 7) / 8;
    if (bits <= 16)
        return 2 * ((n + 15) / 16);
    return 4 * ((n + 31) / 32);
}

/* Bytes to add to total so that a sample of the given depth starts on its
 * own boundary. */
uint32_t boundary_pad(uint32_t bits, uint32_t total)
{
    if (bits > 8 && bits <= 16)
        return total & 1u;
    if (bits > 16)
        return (4u - (total & 3u)) & 3u;
    return 0;
}

uint32_t align_up(uint32_t x, uint32_t alignment)
{
    return (x + alignment - 1) & ~(alignment - 1);
}

/* Interleave 1 packs every sample of a pixel together at the first
 * separation's depth; interleave 2 keeps one plane per separation. Only
 * the first entry carries bytes. */
uint32_t interleaved_bytes(uint32_t interleave, uint32_t count, const uint32_t *bits,
                           uint32_t pixels)
{
    if (interleave == KORV_INTERLEAVE_PIXEL)
        return (bits[0] * count * pixels + 7) / 8;
    return (bits[0] * pixels + 7) / 8;
}

uint32_t first_only(uint32_t *out, uint32_t count, uint32_t bytes)
{
    out[0] = bytes;
    for (uint32_t i = 1; i < count; i++)
        out[i] = 0;
    return bytes;
}

bool usable(const uint32_t *out, uint32_t count, const uint32_t *bits)
{
    return out && bits && count > 0;
}

} // namespace

namespace kvimage {

uint32_t parts_sum(const KorvGenericHeader *header, uint32_t room)
{
    uint64_t sum = static_cast<uint64_t>(header->imageParts[0]) + header->imageParts[1] +
                   header->imageParts[2];
    return sum > room ? room : static_cast<uint32_t>(sum);
}

} // namespace kvimage

extern "C" KORV_API uint32_t KorvCalcBytesPerSep(uint32_t bits, uint32_t pixels)
{
    return bytes_per_sep(bits, pixels);
}

/* The padding that brings a separation onto its boundary is charged to the
 * separation before it; the end of the line is padded for the first
 * separation of the next line. */
extern "C" KORV_API uint32_t KorvCalcBytesArray(uint32_t *out, uint32_t count,
                                                const uint32_t *bits, uint32_t pixels)
{
    if (!usable(out, count, bits))
        return 0;
    for (uint32_t i = 0; i < count; i++)
        out[i] = bytes_per_sep(bits[i], pixels);
    uint32_t total = 0;
    for (uint32_t i = 0; i < count; i++) {
        uint32_t pad = boundary_pad(bits[i], total);
        if (pad) { /* never at i == 0: the total starts at 0 */
            out[i - 1] += pad;
            total += pad;
        }
        total += out[i];
    }
    uint32_t pad = boundary_pad(bits[0], total);
    out[count - 1] += pad;
    return total + pad;
}

extern "C" KORV_API uint32_t KorvCalcInterleaveBytesArray(uint32_t interleave, uint32_t *out,
                                                          uint32_t count, const uint32_t *bits,
                                                          uint32_t pixels)
{
    if (!usable(out, count, bits))
        return 0;
    switch (interleave) {
    case KORV_INTERLEAVE_SCANLINE:
        return KorvCalcBytesArray(out, count, bits, pixels);
    case KORV_INTERLEAVE_PIXEL:
    case KORV_INTERLEAVE_FRAME:
        return first_only(out, count, interleaved_bytes(interleave, count, bits, pixels));
    default:
        return 0;
    }
}

/* With an alignment each separation is whole bytes rounded up to it: no
 * word rounding and no end padding. */
extern "C" KORV_API uint32_t KorvCalcAlignedBytesArray(uint32_t *out, uint32_t alignment,
                                                       uint32_t count, const uint32_t *bits,
                                                       uint32_t pixels)
{
    if (!usable(out, count, bits))
        return 0;
    if (alignment == 0)
        return KorvCalcBytesArray(out, count, bits, pixels);
    uint32_t total = 0;
    for (uint32_t i = 0; i < count; i++) {
        out[i] = align_up((bits[i] * pixels + 7) / 8, alignment);
        total += out[i];
    }
    return total;
}

extern "C" KORV_API uint32_t KorvCalcAlignedInterleaveBytesArray(uint32_t interleave, uint32_t *out,
                                                                 uint32_t alignment, uint32_t count,
                                                                 const uint32_t *bits,
                                                                 uint32_t pixels)
{
    if (!usable(out, count, bits))
        return 0;
    switch (interleave) {
    case KORV_INTERLEAVE_SCANLINE:
        return KorvCalcAlignedBytesArray(out, alignment, count, bits, pixels);
    case KORV_INTERLEAVE_PIXEL:
    case KORV_INTERLEAVE_FRAME:
        if (alignment == 0)
            return KorvCalcInterleaveBytesArray(interleave, out, count, bits, pixels);
        return first_only(out, count,
                          align_up(interleaved_bytes(interleave, count, bits, pixels), alignment));
    default:
        return 0;
    }
}

/* A stream of bytes with no fixed line (compressed data, text) counts one
 * byte per line. */
extern "C" KORV_API uint32_t KorvHeaderGetTotalBytes(const KorvGenericHeader *header)
{
    if (!header)
        return 0;
    if (header->kind == KORV_KIND_INFO)
        return header->bytesPerLine[0];
    if (header->compressed || header->kind == KORV_KIND_TEXT || header->kind == KORV_KIND_XML)
        return 1;
    if (header->interleave == KORV_INTERLEAVE_PIXEL || header->interleave == KORV_INTERLEAVE_FRAME)
        return header->bytesPerLine[0];
    if (header->interleave != KORV_INTERLEAVE_SCANLINE)
        return 0;
    uint32_t n = kvimage::parts_sum(header, KORV_MAX_SEPARATIONS);
    uint32_t total = 0;
    for (uint32_t i = 0; i < n; i++)
        total += header->bytesPerLine[i];
    return total;
}

namespace {

/* The whole plane that frame interleave needs before anything can be
 * consumed; false when the header has no such plane. */
bool plane_bytes(const KorvGenericHeader *header, uint32_t total, uint32_t *bytes)
{
    if (header->interleave != KORV_INTERLEAVE_FRAME || total == 1)
        return false;
    switch (header->kind) {
    case KORV_KIND_FRAMES:
        *bytes = (header->scanlines + 2 * header->frame) * total + header->offset;
        return true;
    case KORV_KIND_RASTER:
    case KORV_KIND_PIXELS:
        *bytes = header->scanlines * total;
        return true;
    default:
        return false;
    }
}

} // namespace

extern "C" KORV_API uint32_t KorvHeaderGetMinimumBytes(const KorvGenericHeader *header)
{
    if (!header)
        return 0;
    uint32_t total = KorvHeaderGetTotalBytes(header);
    uint32_t plane;
    return plane_bytes(header, total, &plane) ? plane : total;
}

extern "C" KORV_API uint32_t KorvHeaderGetPreferredBytes(const KorvGenericHeader *header)
{
    if (!header)
        return 0;
    uint32_t total = KorvHeaderGetTotalBytes(header);
    uint32_t plane;
    if (plane_bytes(header, total, &plane))
        return plane;
    if (header->preferredChunk >= total)
        return header->preferredChunk;
    return total == 1 ? 32u * 1024u : 32u * total;
}

/* The preferred size is computed after the minimum and still sees the
 * preferred size the header had before. */
extern "C" KORV_API uint32_t KorvHeaderFillInBytes(KorvGenericHeader *header)
{
    if (!header)
        return 0;
    uint32_t total = KorvCalcAlignedInterleaveBytesArray(
        header->interleave, header->bytesPerLine, header->alignment,
        kvimage::parts_sum(header, KORV_MAX_SEPARATIONS), header->bitsPerSample, header->pixels);
    header->minimumChunk = KorvHeaderGetMinimumBytes(header);
    header->preferredChunk = KorvHeaderGetPreferredBytes(header);
    return total;
}
