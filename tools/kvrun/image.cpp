#include "image.h"

#include <cstring>

namespace kvrun {

uint32_t strip_lines(uint64_t line_bytes)
{
    const uint64_t target = 1u << 20;
    if (line_bytes == 0 || line_bytes >= target)
        return 1;
    return static_cast<uint32_t>(target / line_bytes);
}

Status check_shape(const ImageShape &shape, const char *what)
{
    if (shape.width == 0 || shape.height == 0)
        return fail(kExitData, "%s: empty image (%u x %u)", what, shape.width, shape.height);
    if (shape.channels < 1 || shape.channels > 4)
        return fail(kExitData, "%s: %u samples per pixel (1 to 4 are handled)", what,
                    shape.channels);
    if (shape.bits != 8 && shape.bits != 16)
        return fail(kExitData, "%s: %u bits per sample (8 or 16 are handled)", what, shape.bits);
    if (shape.line_bytes() > 0x7fffffffu)
        return fail(kExitData, "%s: scan lines of %llu bytes are too long", what,
                    static_cast<unsigned long long>(shape.line_bytes()));
    return Status{};
}

KorvGenericHeader *make_header(const ImageShape &shape)
{
    KorvGenericHeader **headers = nullptr;
    if (!KorvAllocHeaders(&headers, 1, static_cast<int32_t>(sizeof(KorvGenericHeader))))
        return nullptr;
    KorvGenericHeader *h = headers[0];
    korv_internal_free(headers);
    h->kind = KORV_KIND_PIXELS;
    h->dimensions = 2;
    h->pixels = shape.width;
    h->scanlines = shape.height;
    h->imageParts[0] = shape.channels;
    for (uint32_t i = 0; i < shape.channels; i++)
        h->bitsPerSample[i] = shape.bits;
    h->interleave = KORV_INTERLEAVE_PIXEL;
    h->endian = KorvIdentifyEndian();
    h->colorSpace = shape.colorSpace ? shape.colorSpace : KorvGetDefaultColor(shape.channels);
    KorvHeaderFillInBytes(h);
    return h;
}

Status shape_from_header(const KorvGenericHeader *h, const char *who, ImageShape &shape)
{
    if (!h)
        return fail(kExitData, "%s: no output image", who);
    shape = ImageShape{};
    shape.channels = h->imageParts[0] + h->imageParts[1] + h->imageParts[2];
    shape.width = h->pixels;
    shape.height = h->dimensions >= 2 ? h->scanlines : 1;
    shape.bits = shape.channels ? h->bitsPerSample[0] : 0;
    shape.colorSpace = h->colorSpace;
    Status st = check_shape(shape, who);
    if (!st.ok())
        return st;
    // Pixel-interleaved headers may give the width once, for every sample.
    for (uint32_t i = 1; i < shape.channels; i++)
        if (h->bitsPerSample[i] != shape.bits && h->bitsPerSample[i] != 0)
            return fail(kExitData, "%s: samples of different widths are not handled", who);
    if (shape.channels > 1 && h->interleave != KORV_INTERLEAVE_PIXEL)
        return fail(kExitData, "%s: %s interleave is not handled (pixel interleave only)", who,
                    KorvInterleave2Str(h->interleave));
    if (h->compressed)
        return fail(kExitData, "%s: compressed data is not handled", who);
    if (h->bytesPerLine[0] != 0 && h->bytesPerLine[0] != shape.line_bytes())
        return fail(kExitData, "%s: scan lines of %u bytes, expected %llu", who,
                    h->bytesPerLine[0], static_cast<unsigned long long>(shape.line_bytes()));
    return Status{};
}

bool machine_is_little_endian()
{
    const uint16_t one = 1;
    unsigned char b;
    memcpy(&b, &one, 1);
    return b == 1;
}

void swap16(unsigned char *data, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        unsigned char t = data[2 * i];
        data[2 * i] = data[2 * i + 1];
        data[2 * i + 1] = t;
    }
}

} // namespace kvrun
