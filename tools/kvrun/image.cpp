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

Status check_spec(const ImageSpec &spec, const char *what)
{
    if (spec.width == 0 || spec.height == 0)
        return fail(kExitData, "%s: empty image (%u x %u)", what, spec.width, spec.height);
    if (spec.channels < 1 || spec.channels > 4)
        return fail(kExitData, "%s: %u samples per pixel (1 to 4 are handled)", what,
                    spec.channels);
    if (spec.bits != 8 && spec.bits != 16)
        return fail(kExitData, "%s: %u bits per sample (8 or 16 are handled)", what, spec.bits);
    if (spec.line_bytes() > 0x7fffffffu)
        return fail(kExitData, "%s: scan lines of %llu bytes are too long", what,
                    static_cast<unsigned long long>(spec.line_bytes()));
    return Status{};
}

KorvGenericHeader *make_header(const ImageSpec &spec)
{
    KorvGenericHeader **headers = nullptr;
    if (!KorvAllocHeaders(&headers, 1, static_cast<int32_t>(sizeof(KorvGenericHeader))))
        return nullptr;
    KorvGenericHeader *h = headers[0];
    korv_internal_free(headers);
    h->kind = KORV_KIND_PIXELS;
    h->dimensions = 2;
    h->pixels = spec.width;
    h->scanlines = spec.height;
    h->imageParts[0] = spec.channels;
    for (uint32_t i = 0; i < spec.channels; i++)
        h->bitsPerSample[i] = spec.bits;
    h->interleave = KORV_INTERLEAVE_PIXEL;
    h->endian = KorvIdentifyEndian();
    h->colorSpace = spec.colorSpace ? spec.colorSpace : KorvGetDefaultColor(spec.channels);
    KorvHeaderFillInBytes(h);
    return h;
}

Status spec_from_header(const KorvGenericHeader *h, const char *who, ImageSpec &spec)
{
    if (!h)
        return fail(kExitData, "%s: no output image", who);
    spec = ImageSpec{};
    spec.channels = h->imageParts[0] + h->imageParts[1] + h->imageParts[2];
    spec.width = h->pixels;
    spec.height = h->dimensions >= 2 ? h->scanlines : 1;
    spec.bits = spec.channels ? h->bitsPerSample[0] : 0;
    spec.colorSpace = h->colorSpace;
    Status st = check_spec(spec, who);
    if (!st.ok())
        return st;
    // Pixel-interleaved headers may give the width once, for every sample.
    for (uint32_t i = 1; i < spec.channels; i++)
        if (h->bitsPerSample[i] != spec.bits && h->bitsPerSample[i] != 0)
            return fail(kExitData, "%s: samples of different widths are not handled", who);
    if (spec.channels > 1 && h->interleave != KORV_INTERLEAVE_PIXEL)
        return fail(kExitData, "%s: %s interleave is not handled (pixel interleave only)", who,
                    KorvInterleave2Str(h->interleave));
    if (h->compressed)
        return fail(kExitData, "%s: compressed data is not handled", who);
    if (h->bytesPerLine[0] != 0 && h->bytesPerLine[0] != spec.line_bytes())
        return fail(kExitData, "%s: scan lines of %u bytes, expected %llu", who,
                    h->bytesPerLine[0], static_cast<unsigned long long>(spec.line_bytes()));
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
