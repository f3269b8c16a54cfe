/*
 * Header documents of the "info", "xml" and "text" formats. Each names its
 * format, version and byte order; "info" adds the size of one table entry
 * ("Encoding"/"bytes/entry") and "text" its character set
 * ("Encoding"/"charset", kept among the parameters).
 */
#include "header/fmt_entries.h"

using namespace korv::hdr;

namespace {

struct DocFormat {
    const char *format;
    uint32_t kind;
};

const DocFormat kInfo = {"info", KORV_KIND_INFO};
const DocFormat kXml = {"xml", KORV_KIND_XML};
const DocFormat kText = {"text", KORV_KIND_TEXT};

uint32_t create(const DocFormat &fmt, KorvGenericHeader **out)
{
    return format_create(fmt.kind, out);
}

uint32_t to_header(const DocFormat &fmt, KorvCMNode *tree, KorvGenericHeader **out)
{
    if (!tree || !out)
        return 0;
    FormatHeader *f = format_from_tree(fmt.kind, tree);
    if (!f)
        return 0;
    read_architecture(f);
    KorvGenericHeader *h = &f->h;
    if (fmt.kind == KORV_KIND_INFO)
        get_uint(h->params, "Encoding", "bytes/entry", &h->bytesPerLine[0]);
    static const char *const kOwned[][2] = {{"ID", "format"},
                                            {"ID", "version"},
                                            {"ID", "architecture"},
                                            {"Encoding", "bytes/entry"}};
    drop_owned(h, kOwned);
    *out = h;
    return 1;
}

uint32_t from_header(const DocFormat &fmt, KorvGenericHeader *h, KorvCMNode **tree)
{
    if (!h || !tree)
        return 0;
    KorvCMNode *t = *tree;
    t = KVHdrSetHeaderParam(t, "ID", "format", fmt.format);
    t = KVHdrSetHeaderParam(t, "ID", "version", "1.0");
    t = write_architecture(t, h);
    if (fmt.kind == KORV_KIND_INFO) {
        int32_t entry = static_cast<int32_t>(h->bytesPerLine[0]);
        t = KVHdrSetHeaderInts(t, "Encoding", "bytes/entry", &entry, 1, 1);
    }
    *tree = add_end(t);
    return 1;
}

} // namespace

uint32_t korv_info_create(KorvGenericHeader **header) { return create(kInfo, header); }
uint32_t korv_info_to_header(KorvCMNode *tree, KorvGenericHeader **header)
{
    return to_header(kInfo, tree, header);
}
uint32_t korv_info_from_header(KorvGenericHeader *header, KorvCMNode **tree)
{
    return from_header(kInfo, header, tree);
}

uint32_t korv_xml_create(KorvGenericHeader **header) { return create(kXml, header); }
uint32_t korv_xml_to_header(KorvCMNode *tree, KorvGenericHeader **header)
{
    return to_header(kXml, tree, header);
}
uint32_t korv_xml_from_header(KorvGenericHeader *header, KorvCMNode **tree)
{
    return from_header(kXml, header, tree);
}

uint32_t korv_text_create(KorvGenericHeader **header) { return create(kText, header); }
uint32_t korv_text_to_header(KorvCMNode *tree, KorvGenericHeader **header)
{
    return to_header(kText, tree, header);
}
uint32_t korv_text_from_header(KorvGenericHeader *header, KorvCMNode **tree)
{
    return from_header(kText, header, tree);
}
