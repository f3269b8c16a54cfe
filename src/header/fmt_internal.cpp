/*
 * The "internal" format: an unspecified raster described with the fields of
 * the raster documents. Version 2.0 documents were written before the byte
 * order was recorded and always by big-endian writers, so a 2.0 document
 * without "architecture" is read as big-endian; both versions are written
 * as 2.1.
 */
#include "header/fmt_entries.h"

using namespace korv::hdr;

namespace {
const RasterFormat kInternal21 = {"internal", "2.1", KORV_KIND_RASTER, 0, -1};
const RasterFormat kInternal20 = {"internal", "2.0", KORV_KIND_RASTER, 0,
                                  static_cast<int32_t>(KORV_ENDIAN_BIG)};
} // namespace

uint32_t korv_internal_create(KorvGenericHeader **header)
{
    return raster_create(kInternal21, header);
}

uint32_t korv_internal21_to_header(KorvCMNode *tree, KorvGenericHeader **header)
{
    return raster_to_header(kInternal21, tree, header);
}

uint32_t korv_internal20_to_header(KorvCMNode *tree, KorvGenericHeader **header)
{
    return raster_to_header(kInternal20, tree, header);
}

uint32_t korv_internal_from_header(KorvGenericHeader *header, KorvCMNode **tree)
{
    return raster_from_header(kInternal21, header, tree);
}
