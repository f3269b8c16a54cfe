/*
 * Reading a binary header back into a new generic header. Every record is
 * checked against what is left of the area that encloses it before any of
 * its bytes are read, so a damaged block is refused, never overrun.
 */
#include "args/binhdr.h"

namespace {

using namespace kvbinhdr;

/* One level of the nested records: sections, parameters, values. */
enum Level { kSections, kParameters, kValues };

struct Reader {
    bool swap;
    bool in_place;

    /* A node whose text is n bytes at text, followed there by a NUL. */
    KorvCMNode *node(uint32_t kind, const unsigned char *text, uint64_t n) const
    {
        auto *node = static_cast<KorvCMNode *>(korv_internal_calloc(1, sizeof(KorvCMNode)));
        if (!node)
            return nullptr;
        if (in_place) {
            node->text = const_cast<char *>(reinterpret_cast<const char *>(text));
            node->borrowed = 1;
        } else {
            node->text = static_cast<char *>(korv_internal_malloc(static_cast<size_t>(n) + 1));
            if (!node->text) {
                korv_internal_free(node);
                return nullptr;
            }
            if (n)
                memcpy(node->text, text, static_cast<size_t>(n));
            node->text[n] = '\0';
        }
        node->length = n;
        node->kind = kind;
        return node;
    }

    static uint32_t value_kind(const unsigned char *text, uint64_t n, bool binary)
    {
        if (binary)
            return KORV_CMK_DATA;
        for (uint64_t i = 0; i < n; i++)
            if (strchr("<>[]:", text[i]) && text[i] != '\0')
                return KORV_CMK_STRING;
        return KORV_CMK_PLAIN;
    }

    /* One value record at the front of area; its size in *used. */
    KorvCMNode *value(const unsigned char *area, uint64_t left, uint64_t *used) const
    {
        uint32_t word = get32(area, swap);
        bool binary = (word & kReadBinaryFlag) != 0;
        uint64_t n = binary ? (word & ~kReadBinaryFlag) : word;
        *used = value_record(n);
        if (*used > left || area[4 + n] != '\0')
            return nullptr;
        return node(value_kind(area + 4, n, binary), area + 4, n);
    }

    /* A section or parameter record whose body (after its size word) is
     * body bytes at area; its own records follow the padded name. */
    KorvCMNode *named(const unsigned char *area, uint64_t body, Level level) const
    {
        if (body < 1)
            return nullptr;
        uint64_t n = area[0];
        uint64_t skip = padded_name(n);
        if (skip > body || area[1 + n] != '\0')
            return nullptr;
        KorvCMNode *named = node(level == kSections ? KORV_CMK_SECTION : KORV_CMK_LABEL, area + 1, n);
        if (!named)
            return nullptr;
        Level inner = level == kSections ? kParameters : kValues;
        if (!list(area + skip, body - skip, inner, &named->child)) {
            KorvFreeUserCMData(named);
            return nullptr;
        }
        return named;
    }

    /* Reads the records filling size bytes at area into *head. */
    bool list(const unsigned char *area, uint64_t size, Level level, KorvCMNode **head) const
    {
        KorvCMNode **link = head;
        uint64_t pos = 0;
        while (pos < size) {
            uint64_t left = size - pos;
            if (left < 4)
                return false;
            KorvCMNode *node;
            uint64_t used;
            if (level == kValues) {
                node = value(area + pos, left, &used);
            } else {
                uint64_t body = get32(area + pos, swap);
                used = body + 4;
                node = used > left ? nullptr : named(area + pos + 4, body, level);
            }
            if (!node)
                return false;
            *link = node;
            link = &node->next;
            pos += used;
        }
        return true;
    }
};

bool is_order(unsigned char byte)
{
    return byte == kLittle || byte == kBig;
}

void read_head(const unsigned char *b, bool swap, KorvGenericHeader *h)
{
    h->endian = b[3] == kLittle ? KORV_ENDIAN_LITTLE : KORV_ENDIAN_BIG;
    h->kind = get32(b + kOffKind, swap);
    h->dimensions = get32(b + kOffDimensions, swap);
    uint32_t *sizes[kMaxSizes] = {&h->pixels, &h->scanlines, &h->blobs};
    uint32_t d = h->dimensions < kMaxSizes ? h->dimensions : kMaxSizes;
    for (uint32_t i = 0; i < d; i++)
        *sizes[i] = get32(b + kOffSizes + 4 * i, swap);
    for (uint32_t i = 0; i < 3; i++)
        h->imageParts[i] = get32(b + kOffImageParts + 4 * i, swap);
    uint32_t n = stored_separations(h);
    for (uint32_t i = 0; i < n; i++) {
        h->bitsPerSample[i] = get32(b + kOffBits + 4 * i, swap);
        h->bytesPerLine[i] = get32(b + kOffBytesPerLine + 4 * i, swap);
    }
    h->interleave = get32(b + kOffInterleave, swap);
    h->alignment = get32(b + kOffAlignment, swap);
    h->minimumChunk = get32(b + kOffMinimum, swap);
    h->preferredChunk = get32(b + kOffPreferred, swap);
}

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/* The colour space comes out of the tree; the first compressor word (up to
 * a blank or "(") names the compression, and no word means uncompressed. */
void apply_parameters(KorvGenericHeader *h)
{
    if (KorvGetUserCMData(h->params, nullptr, "Photometry", "name")) {
        h->colorSpace = KorvStr2Clr(KorvGetParam(h->params, nullptr, "Photometry", "name"));
        h->params = KorvDeleteUserCMData(h->params, nullptr, "Photometry", "name");
    }
    const char *text = KorvGetParam(h->params, nullptr, "Compression", "compressors");
    if (!text)
        return;
    while (is_blank(*text))
        text++;
    size_t n = 0;
    while (text[n] && !is_blank(text[n]) && text[n] != '(')
        n++;
    if (n == 0)
        return;
    char word[32];
    if (n >= sizeof word) {
        h->compressed = 0xFFFFFFFFu; /* longer than any method's name */
        return;
    }
    memcpy(word, text, n);
    word[n] = '\0';
    h->compressed = static_cast<uint32_t>(KorvStr2Comp(word));
}

} // namespace

/* With in_place the tree's texts point into the block: it must outlive
 * the header and stay unchanged. */
extern "C" KORV_API KorvGenericHeader *KorvBinHdrToHdr(const void *block, uint32_t limit,
                                                       uint32_t in_place)
{
    const auto *b = static_cast<const unsigned char *>(block);
    if (!b || (limit != 0 && limit < kHeadSize))
        return nullptr;
    if (b[0] != 'B' || b[1] != 'H' || !is_order(b[2]) || !is_order(b[3]))
        return nullptr;
    bool swap = swap_for(b[2]);
    uint32_t area = get32(b + kOffParamSize, swap);
    if (limit != 0 && kHeadSize + static_cast<uint64_t>(area) > limit)
        return nullptr;

    auto *h = static_cast<KorvGenericHeader *>(korv_internal_calloc(1, sizeof(KorvGenericHeader)));
    if (!h)
        return nullptr;
    KorvInitGenericHeader(h);
    read_head(b, swap, h);
    Reader reader{swap, in_place != 0};
    if (!reader.list(b + kHeadSize, area, kSections, &h->params)) {
        h->free(h);
        return nullptr;
    }
    apply_parameters(h);
    return h;
}
