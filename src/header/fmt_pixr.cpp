/*
 * The "pixr" format: a raster with frames and parts. Its document is the
 * raster document with the frame count in "Raster"/"blobs" and the byte
 * offset of the first frame in "Raster"/"offset"; its chunks are the
 * raster chunks.
 */
#include "header/fmt_entries.h"

using namespace korv::hdr;

namespace {
const RasterFormat kPixr = {"pixr", "1.0", KORV_KIND_FRAMES, 1, -1};
} // namespace

uint32_t korv_pixr_create(KorvGenericHeader **header)
{
    return raster_create(kPixr, header);
}

uint32_t korv_pixr_to_header(KorvCMNode *tree, KorvGenericHeader **header)
{
    return raster_to_header(kPixr, tree, header);
}

uint32_t korv_pixr_from_header(KorvGenericHeader *header, KorvCMNode **tree)
{
    return raster_from_header(kPixr, header, tree);
}
