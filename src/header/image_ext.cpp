/*
 * Raster header documents: the "image-ext" format, whose layout the
 * "internal" and "pixr" formats share. The document carries the raster
 * size, the sample layout, the colour space and the writer's byte order.
 */
#include "header/fmt_entries.h"

#include <string.h>

namespace korv::hdr {

namespace {

// Numbers are written as signed text; the bits of large values survive.
int32_t as_int(uint32_t v) { return static_cast<int32_t>(v); }

// Reads up to max integers of one parameter into out; the number read.
uint32_t get_uints(KorvCMNode *tree, const char *section, const char *name, uint32_t *out,
                   uint32_t max)
{
    int32_t values[KORV_MAX_SEPARATIONS];
    uint32_t n = max;
    if (!KVHdrGetHeaderInts(tree, section, name, values, &n))
        return 0;
    if (n > max)
        n = max;
    for (uint32_t i = 0; i < n; i++)
        out[i] = static_cast<uint32_t>(values[i]);
    return n;
}

KorvCMNode *set_uints(KorvCMNode *tree, const char *section, const char *name,
                      const uint32_t *values, uint32_t count)
{
    int32_t v[KORV_MAX_SEPARATIONS];
    for (uint32_t i = 0; i < count; i++)
        v[i] = as_int(values[i]);
    return KVHdrSetHeaderInts(tree, section, name, v, count, count);
}

KorvCMNode *set_uint(KorvCMNode *tree, const char *section, const char *name, uint32_t value)
{
    return set_uints(tree, section, name, &value, 1);
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// The first word of "Compression"/"compressors" as a compression code: the
// word ends at a blank, at "(" or at the end of the text. No value or an
// empty word is 0 (uncompressed); an unknown word stays non-zero.
uint32_t read_compression(KorvCMNode *tree)
{
    const char *text = KVHdrGetHeaderParam(tree, "Compression", "compressors");
    if (!text)
        return 0;
    while (is_blank(*text))
        text++;
    size_t n = 0;
    while (text[n] && !is_blank(text[n]) && text[n] != '(' && text[n] != '\n' &&
           text[n] != '\r')
        n++;
    if (n == 0)
        return 0;
    char word[64];
    if (n >= sizeof word)
        return static_cast<uint32_t>(-1); // longer than any method's name
    memcpy(word, text, n);
    word[n] = 0;
    return static_cast<uint32_t>(KorvStr2Comp(word));
}

// Parameters this family owns: read into the record, never left in params.
const char *const kOwned[][2] = {
    {"ID", "architecture"},       {"ID", "format"},
    {"ID", "version"},            {"ID", "binary"},
    {"Raster", "pixels"},         {"Raster", "scanlines"},
    {"Raster", "blobs"},          {"Encoding", "name"},
    {"Encoding", "imageParts"},   {"Encoding", "bits/sample"},
    {"Encoding", "bytes/sl"},     {"Encoding", "maskBits/sample"},
    {"Encoding", "maskBytes/sl"}, {"Encoding", "interleave"},
    {"Encoding", "alignment"},    {"Encoding", "minimumChunk"},
    {"Encoding", "preferredChunk"},
};

// Removes every label of that name, repeated ones included: the record
// holds the value now, and a stale copy must not be written back.
void drop_all(KorvGenericHeader *h, const char *section, const char *name)
{
    while (KVHdrCheckHeaderParam(h->params, section, name))
        h->params = KVHdrDeleteHeaderField(h->params, section, name);
}

} // namespace

uint32_t raster_create(const RasterFormat &fmt, KorvGenericHeader **out)
{
    return format_create(fmt.kind, out);
}

uint32_t raster_to_header(const RasterFormat &fmt, KorvCMNode *tree, KorvGenericHeader **out)
{
    if (!tree || !out)
        return 0;
    FormatHeader *f = format_from_tree(fmt.kind, tree);
    if (!f)
        return 0;
    KorvGenericHeader *h = &f->h;
    KorvCMNode *p = h->params;

    if (fmt.defaultEndian >= 0 && !KVHdrCheckHeaderParam(p, "ID", "architecture")) {
        if (static_cast<uint32_t>(fmt.defaultEndian) != KorvIdentifyEndian())
            f->swap = 1;
    } else {
        read_architecture(f);
    }

    get_uint(p, "Raster", "pixels", &h->pixels);
    if (get_uint(p, "Raster", "scanlines", &h->scanlines))
        h->dimensions = 2;
    if (get_uint(p, "Raster", "blobs", &h->blobs))
        h->dimensions = 3;
    if (fmt.frames)
        get_uint(p, "Raster", "offset", &h->offset);

    get_uints(p, "Encoding", "imageParts", h->imageParts, 3);
    get_uints(p, "Encoding", "bits/sample", h->bitsPerSample, KORV_MAX_SEPARATIONS);
    f->sepsRead = get_uints(p, "Encoding", "bytes/sl", h->bytesPerLine, KORV_MAX_SEPARATIONS);
    h->interleave =
        static_cast<uint32_t>(KorvStr2Interleave(KVHdrGetHeaderParam(p, "Encoding", "interleave")));
    get_uint(p, "Encoding", "alignment", &h->alignment);
    get_uint(p, "Encoding", "minimumChunk", &h->minimumChunk);
    get_uint(p, "Encoding", "preferredChunk", &h->preferredChunk);

    read_photometry(h);
    h->compressed = read_compression(h->params);

    for (const auto &owned : kOwned)
        drop_all(h, owned[0], owned[1]);
    if (fmt.frames)
        drop_all(h, "Raster", "offset");
    *out = h;
    return 1;
}

uint32_t raster_from_header(const RasterFormat &fmt, KorvGenericHeader *h, KorvCMNode **tree)
{
    if (!h || !tree)
        return 0;
    static const unsigned char kZeros[4] = {0, 0, 0, 0};
    KorvCMNode *t = *tree;
    t = KVHdrSetHeaderParam(t, "ID", "format", fmt.format);
    t = KVHdrDeleteHeaderField(t, "ID", "binary");
    t = KVHdrSetHeaderData(t, "ID", "binary", kZeros, sizeof kZeros);
    t = KVHdrSetHeaderParam(t, "ID", "version", fmt.version);
    t = write_architecture(t, h);

    t = set_uint(t, "Raster", "pixels", h->pixels);
    if (h->dimensions > 1 && h->scanlines)
        t = set_uint(t, "Raster", "scanlines", h->scanlines);
    if (h->dimensions > 2 && h->blobs)
        t = set_uint(t, "Raster", "blobs", h->blobs);
    if (fmt.frames && h->offset)
        t = set_uint(t, "Raster", "offset", h->offset);

    t = set_uints(t, "Encoding", "imageParts", h->imageParts, 3);
    // One value for the interleaves that keep one line size, else one per
    // separation (at least one, at most what the record holds).
    uint32_t n = 1;
    if (h->interleave != KORV_INTERLEAVE_PIXEL && h->interleave != KORV_INTERLEAVE_FRAME) {
        uint64_t seps = static_cast<uint64_t>(h->imageParts[0]) + h->imageParts[1] +
                        h->imageParts[2];
        n = seps < 1 ? 1 : seps > KORV_MAX_SEPARATIONS ? KORV_MAX_SEPARATIONS
                                                       : static_cast<uint32_t>(seps);
    }
    t = set_uints(t, "Encoding", "bytes/sl", h->bytesPerLine, n);
    t = set_uints(t, "Encoding", "bits/sample", h->bitsPerSample, n);
    t = KVHdrSetHeaderParam(t, "Encoding", "interleave", KorvInterleave2Str(h->interleave));
    if (h->alignment)
        t = set_uint(t, "Encoding", "alignment", h->alignment);
    if (h->minimumChunk)
        t = set_uint(t, "Encoding", "minimumChunk", h->minimumChunk);
    if (h->preferredChunk)
        t = set_uint(t, "Encoding", "preferredChunk", h->preferredChunk);

    t = write_photometry(t, h);
    *tree = add_end(t);
    return 1;
}

} // namespace korv::hdr

using namespace korv::hdr;

namespace {
const RasterFormat kImageExt = {"image-ext", "1.0", KORV_KIND_PIXELS, 0, -1};
} // namespace

uint32_t korv_imgext_create(KorvGenericHeader **header)
{
    return raster_create(kImageExt, header);
}

uint32_t korv_imgext_to_header(KorvCMNode *tree, KorvGenericHeader **header)
{
    return raster_to_header(kImageExt, tree, header);
}

uint32_t korv_imgext_from_header(KorvGenericHeader *header, KorvCMNode **tree)
{
    return raster_from_header(kImageExt, header, tree);
}
