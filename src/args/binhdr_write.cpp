/*
 * Writing a generic header as a binary header. The parameter tree goes out
 * as sections holding parameters holding values; the colour space travels
 * as the parameter "name" of section "Photometry".
 *
 * Only the tree's shape that headers use is written: top-level sections,
 * their labels and the labels' values. Nodes of other kinds at those places
 * are left out. Names longer than 255 bytes are cut to 255 (the length is
 * one byte).
 */
#include "args/binhdr.h"

namespace {

using namespace kvbinhdr;

constexpr char kPhotometry[] = "Photometry";
constexpr char kName[] = "name";
constexpr uint64_t kMaxNameLength = 255;
/* Value lengths must stay clear of the flag bits of the length word. */
constexpr uint64_t kMaxValueLength = kWriteBinaryFlag - 1;

uint64_t name_length(const KorvCMNode *node)
{
    uint64_t n = node->text ? node->length : 0;
    return n > kMaxNameLength ? kMaxNameLength : n;
}

uint64_t value_length(const KorvCMNode *node)
{
    return node->text ? node->length : 0;
}

bool is_value(const KorvCMNode *node)
{
    return node->kind == KORV_CMK_PLAIN || node->kind == KORV_CMK_STRING ||
           node->kind == KORV_CMK_DATA;
}

bool ascii_ci_equal(const KorvCMNode *node, const char *name)
{
    size_t n = strlen(name);
    if (!node->text || node->length != n)
        return false;
    for (size_t i = 0; i < n; i++) {
        char a = node->text[i], b = name[i];
        if (a >= 'A' && a <= 'Z')
            a = static_cast<char>(a + 32);
        if (b >= 'A' && b <= 'Z')
            b = static_cast<char>(b + 32);
        if (a != b)
            return false;
    }
    return true;
}

/* The size of the parameter area at most, or false when a value is too
 * long to be represented. */
bool area_size(const KorvGenericHeader *header, uint64_t *size)
{
    uint64_t total = 0;
    for (const KorvCMNode *s = header->params; s; s = s->next) {
        if (s->kind != KORV_CMK_SECTION)
            continue;
        total += 4 + padded_name(name_length(s));
        for (const KorvCMNode *p = s->child; p; p = p->next) {
            if (p->kind != KORV_CMK_LABEL)
                continue;
            total += 4 + padded_name(name_length(p));
            for (const KorvCMNode *v = p->child; v; v = v->next) {
                if (!is_value(v))
                    continue;
                if (value_length(v) > kMaxValueLength)
                    return false;
                total += value_record(value_length(v));
            }
        }
    }
    /* Room for a "Photometry" section or parameter that may be added. */
    if (header->colorSpace != 0)
        total += ((strlen(KorvClr2Str(header->colorSpace)) + 8) & ~static_cast<uint64_t>(3)) + 32;
    *size = total;
    return true;
}

/* Appends records to a zero-filled area sized by area_size. */
struct Writer {
    unsigned char *base;
    size_t pos = 0;
    bool swap;

    /* Writes the size word (filled in by close) and the padded name;
     * returns the position of the size word. */
    size_t open(const char *name, uint64_t n)
    {
        size_t at = pos;
        base[pos + 4] = static_cast<unsigned char>(n);
        if (n)
            memcpy(base + pos + 5, name, static_cast<size_t>(n));
        pos += 4 + static_cast<size_t>(padded_name(n));
        return at;
    }

    void close(size_t at)
    {
        put32(base + at, static_cast<uint32_t>(pos - at - 4), swap);
    }

    void value(const char *text, uint64_t length, bool binary)
    {
        uint32_t word = static_cast<uint32_t>(length) | (binary ? kWriteBinaryFlag : 0);
        put32(base + pos, word, swap);
        if (length)
            memcpy(base + pos + 4, text, static_cast<size_t>(length));
        pos += static_cast<size_t>(value_record(length));
    }

    void color_parameter(uint32_t code)
    {
        const char *text = KorvClr2Str(code);
        size_t at = open(kName, strlen(kName));
        value(text, strlen(text), false);
        close(at);
    }
};

/* Writes the parameter area; returns its size. */
size_t write_area(const KorvGenericHeader *header, unsigned char *area, bool swap)
{
    Writer w{area, 0, swap};
    bool photometry_seen = false;
    for (const KorvCMNode *s = header->params; s; s = s->next) {
        if (s->kind != KORV_CMK_SECTION)
            continue;
        /* Only the first "Photometry" section is the one readers look in. */
        bool photometry = !photometry_seen && ascii_ci_equal(s, kPhotometry);
        bool has_name = false;
        photometry_seen = photometry_seen || photometry;
        size_t section = w.open(s->text, name_length(s));
        for (const KorvCMNode *p = s->child; p; p = p->next) {
            if (p->kind != KORV_CMK_LABEL)
                continue;
            has_name = has_name || (photometry && ascii_ci_equal(p, kName));
            size_t parameter = w.open(p->text, name_length(p));
            for (const KorvCMNode *v = p->child; v; v = v->next)
                if (is_value(v))
                    w.value(v->text, value_length(v), v->kind == KORV_CMK_DATA);
            w.close(parameter);
        }
        /* An existing name is left as it is. */
        if (photometry && !has_name && header->colorSpace != 0)
            w.color_parameter(header->colorSpace);
        w.close(section);
    }
    if (!photometry_seen && header->colorSpace != 0) {
        size_t section = w.open(kPhotometry, strlen(kPhotometry));
        w.color_parameter(header->colorSpace);
        w.close(section);
    }
    return w.pos;
}

void write_head(const KorvGenericHeader *header, unsigned char *b, unsigned char order)
{
    bool swap = swap_for(order);
    uint32_t endian = header->endian == 0xFFFFFFFFu ? KorvIdentifyEndian() : header->endian;
    b[0] = 'B';
    b[1] = 'H';
    b[2] = order;
    b[3] = endian == KORV_ENDIAN_LITTLE ? kLittle : kBig;
    put32(b + kOffKind, header->kind, swap);
    put32(b + kOffDimensions, header->dimensions, swap);
    const uint32_t sizes[kMaxSizes] = {header->pixels, header->scanlines, header->blobs};
    uint32_t d = header->dimensions < kMaxSizes ? header->dimensions : kMaxSizes;
    for (uint32_t i = 0; i < d; i++)
        put32(b + kOffSizes + 4 * i, sizes[i], swap);
    for (uint32_t i = 0; i < 3; i++)
        put32(b + kOffImageParts + 4 * i, header->imageParts[i], swap);
    uint32_t n = stored_separations(header);
    for (uint32_t i = 0; i < n; i++) {
        put32(b + kOffBits + 4 * i, header->bitsPerSample[i], swap);
        put32(b + kOffBytesPerLine + 4 * i, header->bytesPerLine[i], swap);
        put32(b + kOffSampleFormat + 4 * i, header->bitsPerSample[i] == 32 ? 2 : 0, swap);
    }
    put32(b + kOffInterleave, header->interleave, swap);
    put32(b + kOffAlignment, header->alignment, swap);
    put32(b + kOffMinimum, header->minimumChunk, swap);
    put32(b + kOffPreferred, header->preferredChunk, swap);
}

} // namespace

namespace kvbinhdr {

uint32_t stored_separations(const KorvGenericHeader *header)
{
    if (header->kind == KORV_KIND_INFO)
        return 1;
    uint64_t sum = static_cast<uint64_t>(header->imageParts[0]) + header->imageParts[1] +
                   header->imageParts[2];
    return sum > kMaxSeparations ? kMaxSeparations : static_cast<uint32_t>(sum);
}

} // namespace kvbinhdr

/* The capacity is checked against the size needed at most (with room for
 * an added colour-space parameter), so a block sized by a NULL call always
 * suffices. A header whose block would not fit the 32-bit signed result,
 * or holds a value too long for its length word, gives -1. */
extern "C" KORV_API int32_t KorvBinHdrFromHdr(const KorvGenericHeader *header, uint32_t order,
                                              void **block, uint32_t capacity)
{
    if (!header)
        return 0;
    uint64_t area;
    if (!area_size(header, &area) || area > static_cast<uint64_t>(INT32_MAX) - kHeadSize)
        return -1;
    size_t size = kHeadSize + static_cast<size_t>(area);
    if (!block)
        return static_cast<int32_t>(size);
    unsigned char *b;
    if (*block) {
        if (capacity < size)
            return -1;
        b = static_cast<unsigned char *>(*block);
    } else {
        b = static_cast<unsigned char *>(korv_internal_malloc(size));
        if (!b)
            return 0;
        *block = b;
    }
    memset(b, 0, size);
    unsigned char order_byte = order == 0 ? kLittle : kBig;
    write_head(header, b, order_byte);
    size_t written = write_area(header, b + kHeadSize, swap_for(order_byte));
    put32(b + kOffParamSize, static_cast<uint32_t>(written), swap_for(order_byte));
    return static_cast<int32_t>(kHeadSize + written);
}
