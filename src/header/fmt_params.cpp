/*
 * Parameters that several header formats read and write the same way: the
 * byte order, the colour space, single integers and the closing section.
 */
#include "header/fmt_entries.h"

namespace korv::hdr {

bool get_uint(KorvCMNode *tree, const char *section, const char *name, uint32_t *value)
{
    int32_t v = 0;
    uint32_t n = 1;
    if (!KVHdrGetHeaderInts(tree, section, name, &v, &n) || n < 1)
        return false;
    *value = static_cast<uint32_t>(v);
    return true;
}

void read_architecture(FormatHeader *f)
{
    uint32_t machine = KorvIdentifyEndian();
    int32_t order = KorvStr2Endian(KVHdrGetHeaderParam(f->h.params, "ID", "architecture"));
    if ((order == 0 || order == 1) && static_cast<uint32_t>(order) != machine)
        f->swap = 1;
    f->h.endian = machine;
}

KorvCMNode *write_architecture(KorvCMNode *tree, const KorvGenericHeader *h)
{
    uint32_t order = h->endian == 0xFFFFFFFFu ? KorvIdentifyEndian() : h->endian;
    return KVHdrSetHeaderParam(tree, "ID", "architecture", KorvEndian2Str(order));
}

void read_photometry(KorvGenericHeader *h)
{
    uint32_t code = KorvStr2Clr(KVHdrGetHeaderParam(h->params, "Photometry", "name"));
    if (code) {
        h->colorSpace = code;
        h->params = KVHdrDeleteHeaderField(h->params, "Photometry", "name");
    }
}

KorvCMNode *write_photometry(KorvCMNode *tree, const KorvGenericHeader *h)
{
    if (h->colorSpace == 0 && KVHdrCheckHeaderParam(tree, "Photometry", "name"))
        return tree;
    return KVHdrSetHeaderParam(tree, "Photometry", "name", KorvClr2Str(h->colorSpace));
}

KorvCMNode *add_end(KorvCMNode *tree)
{
    KorvCMNode *last = nullptr;
    return KorvMergeUserCMData(tree, nullptr, "End", nullptr, &last);
}

} // namespace korv::hdr
