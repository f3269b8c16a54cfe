/*
 * The record behind a pixelstream header: the common header, then the
 * pixel layout it computed, its reusable pixel buffer and the standard
 * input stream a document may ask for.
 */
#ifndef KVSUP_HEADER_PIXELSTREAM_RECORD_H
#define KVSUP_HEADER_PIXELSTREAM_RECORD_H

#include "kvsup.h"

namespace korv::hdr {

struct PixelHeader {
    KorvGenericHeader h;
    uint32_t computed;    // samples and pixelBytes hold the layout
    uint32_t samples;     // samples per pixel
    uint32_t pixelBytes;  // bytes of one pixel
    uint32_t capacity;    // pixels the buffer holds
    unsigned char *buffer;
    KorvIO *input;        // standard input, when the document asked for it
};

// The record behind h, or null when h is not a pixelstream header.
PixelHeader *as_pixel_header(KorvGenericHeader *h);

// Samples and bytes of one pixel of any header, from its part counts and
// its first sample width; false when the counts describe more separations
// than a header holds or a pixel of more than 4 GiB.
bool pixel_layout(const KorvGenericHeader *h, uint32_t *samples, uint32_t *bytes);

// The layout of h, computed once for a pixelstream header.
bool layout_of(KorvGenericHeader *h, uint32_t *samples, uint32_t *bytes);

} // namespace korv::hdr

#endif
