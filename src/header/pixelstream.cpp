/*
 * Pixelstream header documents: a plain stream of pixels as text lines,
 * described by its part counts, one sample width and its colour space.
 */
#include "header/fmt_entries.h"
#include "header/pixelstream_record.h"

#include <stdio.h>
#include <string.h>

namespace korv::hdr {

namespace {

KorvGenericHeader *pixel_copy(KorvGenericHeader *h);
void pixel_free(KorvGenericHeader *h);

PixelHeader *new_pixel_header()
{
    auto *p = static_cast<PixelHeader *>(korv_internal_calloc(1, sizeof(PixelHeader)));
    if (!p)
        return nullptr;
    p->h.copy = pixel_copy;
    p->h.free = pixel_free;
    p->h.kind = KORV_KIND_RAW;
    p->h.dimensions = 1;
    p->h.pixels = 1;
    p->h.interleave = KORV_INTERLEAVE_PIXEL;
    p->h.endian = KorvIdentifyEndian();
    return p;
}

bool open_stdin(PixelHeader *p)
{
    p->input = KorvIO_FP(stdin);
    return p->input != nullptr;
}

// A copy reads from standard input too when the original does, through a
// stream of its own; it starts with no buffer.
KorvGenericHeader *pixel_copy(KorvGenericHeader *h)
{
    PixelHeader *from = as_pixel_header(h);
    if (!from)
        return KorvGenericHeaderCopy(h);
    PixelHeader *p = new_pixel_header();
    if (!p)
        return nullptr;
    memcpy(&p->h, h, sizeof p->h);
    p->computed = from->computed;
    p->samples = from->samples;
    p->pixelBytes = from->pixelBytes;
    if (!take_params(&p->h, h->params) || (from->input && !open_stdin(p))) {
        pixel_free(&p->h);
        return nullptr;
    }
    return &p->h;
}

void pixel_free(KorvGenericHeader *h)
{
    PixelHeader *p = as_pixel_header(h);
    if (!p)
        return;
    if (p->input)
        p->input->close(p->input); // the stream does not own standard input
    korv_internal_free(p->buffer);
    KorvFreeUserCMData(h->params);
    korv_internal_free(p);
}

bool truthy(const char *text)
{
    return text && (*text == 't' || *text == 'T' || *text == '1');
}

} // namespace

PixelHeader *as_pixel_header(KorvGenericHeader *h)
{
    if (!h || h->free != pixel_free)
        return nullptr;
    return reinterpret_cast<PixelHeader *>(h);
}

bool pixel_layout(const KorvGenericHeader *h, uint32_t *samples, uint32_t *bytes)
{
    uint64_t s = static_cast<uint64_t>(h->imageParts[0]) + h->imageParts[1] + h->imageParts[2];
    if (s > KORV_MAX_SEPARATIONS)
        return false;
    uint64_t b = (s * h->bitsPerSample[0] + 7) / 8;
    if (b > 0xFFFFFFFFu)
        return false;
    *samples = static_cast<uint32_t>(s);
    *bytes = static_cast<uint32_t>(b);
    return true;
}

bool layout_of(KorvGenericHeader *h, uint32_t *samples, uint32_t *bytes)
{
    PixelHeader *p = as_pixel_header(h);
    if (p && p->computed) {
        *samples = p->samples;
        *bytes = p->pixelBytes;
        return true;
    }
    if (!pixel_layout(h, samples, bytes))
        return false;
    if (p) {
        p->samples = *samples;
        p->pixelBytes = *bytes;
        p->computed = 1;
    }
    return true;
}

} // namespace korv::hdr

using namespace korv::hdr;

uint32_t korv_pixelstream_create(KorvGenericHeader **header)
{
    if (!header)
        return 0;
    PixelHeader *p = new_pixel_header();
    if (!p)
        return 0;
    *header = &p->h;
    return 1;
}

uint32_t korv_pixelstream_to_header(KorvCMNode *tree, KorvGenericHeader **header)
{
    if (!tree || !header)
        return 0;
    PixelHeader *p = new_pixel_header();
    if (!p)
        return 0;
    KorvGenericHeader *h = &p->h;
    if (!take_params(h, tree) ||
        (truthy(KVHdrGetHeaderParam(h->params, "Encoding", "useStdin")) && !open_stdin(p))) {
        h->free(h);
        return 0;
    }
    int32_t v[KORV_MAX_SEPARATIONS];
    uint32_t n = 3;
    if (KVHdrGetHeaderInts(h->params, "Encoding", "imageParts", v, &n))
        for (uint32_t i = 0; i < n && i < 3; i++)
            h->imageParts[i] = static_cast<uint32_t>(v[i]);
    n = KORV_MAX_SEPARATIONS;
    if (KVHdrGetHeaderInts(h->params, "Encoding", "bits/sample", v, &n) && n > 0)
        h->bitsPerSample[0] = static_cast<uint32_t>(v[0]);
    if (!pixel_layout(h, &p->samples, &p->pixelBytes)) {
        h->free(h);
        return 0;
    }
    h->bytesPerLine[0] = p->pixelBytes;
    read_photometry(h);
    p->computed = 1;
    h->params = KVHdrDeleteHeaderField(h->params, "Encoding", "useStdin");
    h->params = KVHdrDeleteHeaderField(h->params, "Encoding", "imageParts");
    h->params = KVHdrDeleteHeaderField(h->params, "Encoding", "bits/sample");
    *header = h;
    return 1;
}

uint32_t korv_pixelstream_from_header(KorvGenericHeader *header, KorvCMNode **tree)
{
    if (!header || !tree)
        return 0;
    uint32_t samples = 0, bytes = 0;
    if (!layout_of(header, &samples, &bytes))
        bytes = header->bytesPerLine[0];
    KorvCMNode *t = *tree;
    t = KVHdrSetHeaderParam(t, "ID", "format", "pixelstream");
    t = KVHdrSetHeaderParam(t, "ID", "version", "1.0-ascii");
    int32_t parts[3];
    for (int i = 0; i < 3; i++)
        parts[i] = static_cast<int32_t>(header->imageParts[i]);
    t = KVHdrSetHeaderInts(t, "Encoding", "imageParts", parts, 3, 3);
    int32_t bits = static_cast<int32_t>(header->bitsPerSample[0]);
    t = KVHdrSetHeaderInts(t, "Encoding", "bits/sample", &bits, 1, 1);
    int32_t line = static_cast<int32_t>(bytes);
    t = KVHdrSetHeaderInts(t, "Encoding", "bytes/sl", &line, 1, 1);
    t = write_photometry(t, header);
    *tree = add_end(t);
    return 1;
}
