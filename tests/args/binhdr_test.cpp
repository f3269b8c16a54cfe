// Binary headers: the head at its offsets in both byte orders, the
// parameter area with its padding, the colour-space and compression
// parameters, and refusal of damaged blocks.
#include "core/alloc_testing.h"

#include <kvsup.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using Block = std::vector<unsigned char>;
constexpr size_t kHead = KORV_BINHDR_HEAD_SIZE;

KorvGenericHeader *fresh()
{
    auto *h = static_cast<KorvGenericHeader *>(korv_internal_calloc(1, sizeof(KorvGenericHeader)));
    KorvInitGenericHeader(h);
    return h;
}

struct Hdr {  // owns a header, made fresh by default
    KorvGenericHeader *h;
    explicit Hdr(KorvGenericHeader *p = fresh()) : h(p) {}
    ~Hdr() { if (h) h->free(h); }
    KorvGenericHeader *operator->() { return h; }
};

uint32_t le32(const Block &b, size_t at)
{
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<uint32_t>(b[at + 3]) << 24;
}

uint32_t be32(const Block &b, size_t at)
{
    return static_cast<uint32_t>(b[at]) << 24 | b[at + 1] << 16 | b[at + 2] << 8 | b[at + 3];
}

Block write(KorvGenericHeader *h, uint32_t order)
{
    int32_t most = KorvBinHdrFromHdr(h, order, nullptr, 0);
    Block b(static_cast<size_t>(most > 0 ? most : 0), 0xCC);
    void *p = b.data();
    int32_t n = KorvBinHdrFromHdr(h, order, &p, static_cast<uint32_t>(b.size()));
    EXPECT_LE(n, most);
    b.resize(static_cast<size_t>(n > 0 ? n : 0));
    return b;
}

KorvGenericHeader *read(const Block &b, uint32_t in_place = 0)
{
    return KorvBinHdrToHdr(b.data(), static_cast<uint32_t>(b.size()), in_place);
}

TEST(BinHdr, HeadFieldsInBothByteOrders)
{
    Hdr h;
    h->kind = KORV_KIND_PIXELS;
    h->dimensions = 2;
    h->pixels = 640;
    h->scanlines = 480;
    h->blobs = 99;  // beyond the dimensions: not stored
    h->imageParts[0] = 3;
    h->imageParts[2] = 1;
    h->bitsPerSample[0] = h->bitsPerSample[1] = h->bitsPerSample[2] = 8;
    h->bitsPerSample[3] = 32;
    h->alignment = 4;
    h->endian = KORV_ENDIAN_BIG;
    KorvHeaderFillInBytes(h.h);
    for (uint32_t order : {0u, 1u}) {
        Block b = write(h.h, order);
        ASSERT_EQ(b.size(), kHead);
        auto get = order ? be32 : le32;
        EXPECT_EQ(std::string(b.begin(), b.begin() + 4), order ? "BHBB" : "BHLB");
        EXPECT_EQ(get(b, 16), 480u);
        EXPECT_EQ(get(b, 20), 0u);
        EXPECT_EQ(get(b, 148), 1u);
        EXPECT_EQ(get(b, 152 + 12), 32u);
        EXPECT_EQ(get(b, 280), 640u);
        EXPECT_EQ(get(b, 408 + 8) + get(b, 408 + 12), 2u);  // format 2 for 32 bits only
        EXPECT_EQ(get(b, 548), h->preferredChunk);

        Hdr back(read(b));
        ASSERT_NE(back.h, nullptr);
        EXPECT_EQ(back->endian, KORV_ENDIAN_BIG);
        EXPECT_EQ(back->scanlines + back->blobs, 480u);
        EXPECT_EQ(back->bytesPerLine[3], h->bytesPerLine[3]);
        EXPECT_EQ(back->minimumChunk, h->minimumChunk);
    }
}

TEST(BinHdr, SeparationsStored)
{
    Hdr h;
    h->endian = 0xFFFFFFFFu;  // unset: the machine's order
    h->kind = KORV_KIND_INFO;
    h->imageParts[0] = 5;     // a table stores exactly one entry
    h->bitsPerSample[1] = 8;
    h->bytesPerLine[0] = 24;
    Block b = write(h.h, 0);
    EXPECT_EQ(b[3], 'L');
    EXPECT_EQ(le32(b, 280), 24u);
    EXPECT_EQ(le32(b, 156), 0u);

    // More separations than the head has room for: the first 32 go out.
    h->kind = KORV_KIND_PIXELS;
    h->imageParts[0] = 36;
    for (uint32_t i = 0; i < 36; i++)
        h->bitsPerSample[i] = i + 1;
    b = write(h.h, 0);
    EXPECT_EQ(le32(b, 152 + 31 * 4), 32u);
    EXPECT_EQ(le32(b, 280), 24u);  // not overwritten by a 33rd bits entry
    Hdr back(read(b));
    ASSERT_NE(back.h, nullptr);
    EXPECT_EQ(back->bitsPerSample[32], 0u);
}

TEST(BinHdr, ParameterAreaLayoutAndKinds)
{
    Hdr h;
    h->params = KorvSetParam(nullptr, nullptr, "Sec", "ab", "xyz", 3);
    h->params = KorvSetString(h->params, nullptr, "Sec", "abcd", "<x>");
    Block b = write(h.h, 0);
    // Section "Sec": size, 8 bytes of name; "ab": 4 + 4 + value 8;
    // "abcd": 4 + 8 (the NUL needs a second word) + value 8.
    ASSERT_EQ(b.size(), kHead + 12 + 16 + 20);
    EXPECT_EQ(le32(b, 552), 48u);
    EXPECT_EQ(le32(b, kHead), 44u);
    EXPECT_STREQ(reinterpret_cast<char *>(&b[kHead + 5]), "Sec");
    EXPECT_EQ(le32(b, kHead + 12), 12u);
    EXPECT_EQ(le32(b, kHead + 28), 16u);

    for (uint32_t in_place : {0u, 1u}) {
        Hdr back(read(b, in_place));
        ASSERT_NE(back.h, nullptr);
        KorvCMNode *v = KorvGetUserCMData(back->params, nullptr, "Sec", "abcd");
        ASSERT_NE(v, nullptr);
        EXPECT_EQ(v->child->kind, KORV_CMK_STRING);  // holds a bracket
        EXPECT_STREQ(v->child->text, "<x>");
        EXPECT_EQ(v->borrowed, in_place);
        Hdr copy(back->copy(back.h));  // a copy owns its texts
        EXPECT_STREQ(KorvGetParam(copy->params, nullptr, "Sec", "ab"), "xyz");
    }
}

TEST(BinHdr, ColourSpaceTravelsAsPhotometryName)
{
    Hdr h;
    h->colorSpace = 111;
    Hdr back(read(write(h.h, 1)));
    ASSERT_NE(back.h, nullptr);
    EXPECT_EQ(back->colorSpace, 111u);
    KorvCMNode *section = KorvGetUserCMData(back->params, nullptr, "Photometry", nullptr);
    ASSERT_NE(section, nullptr);  // the parameter is taken out, the section stays
    EXPECT_EQ(section->child, nullptr);

    // A Photometry section without a name gets one; an existing name wins.
    h->params = KorvSetParam(nullptr, nullptr, "photometry", "gamma", "2.2", 3);
    Block kept_alive = write(h.h, 0);  // read in place: the block outlives the header
    Hdr added(read(kept_alive, 1));
    ASSERT_NE(added.h, nullptr);
    EXPECT_EQ(added->colorSpace, 111u);
    EXPECT_STREQ(KorvGetParam(added->params, nullptr, "Photometry", "gamma"), "2.2");
    h->params = KorvSetParam(h->params, nullptr, "photometry", "NAME", "cmyk", 4);
    Hdr kept(read(write(h.h, 0)));
    ASSERT_NE(kept.h, nullptr);
    EXPECT_EQ(kept->colorSpace, 6u);

    h->colorSpace = 0;  // nothing added; an object is not written either
    KorvFreeUserCMData(h->params);
    h->params = KorvSetParam(nullptr, "Obj", "S", "p", "v", 1);
    EXPECT_EQ(KorvBinHdrFromHdr(h.h, 0, nullptr, 0), KORV_BINHDR_HEAD_SIZE);
}

TEST(BinHdr, CompressorsSetCompressed)
{
    const struct { const char *text; uint32_t compressed; } cases[] = {
        {"  deflate(level 9) lzw", 6}, {"uncompressed", 0}, {"HEX", 14},
        {"zip", 0xFFFFFFFFu}, {"\"   \"", 0},
    };
    for (const auto &c : cases) {
        Hdr h;
        h->params = KorvSetParam(nullptr, nullptr, "Compression", "compressors", c.text,
                                 strlen(c.text));
        Hdr back(read(write(h.h, 0)));
        ASSERT_NE(back.h, nullptr) << c.text;
        EXPECT_EQ(back->compressed, c.compressed) << c.text;
    }
}

TEST(BinHdr, DamagedBlocksAreRefused)
{
    Hdr h;
    h->params = KorvSetParam(nullptr, nullptr, "S", "p", "value", 5);
    const Block good = write(h.h, 0);
    const uint32_t size = static_cast<uint32_t>(good.size());
    auto refused = [](Block b, uint32_t limit) { return !Hdr(KorvBinHdrToHdr(b.data(), limit, 0)).h; };
    auto with = [&](size_t at, unsigned char byte) { Block b = good; b[at] = byte; return b; };
    EXPECT_FALSE(refused(good, size));
    EXPECT_TRUE(refused(good, size - 1));  // area beyond the limit
    EXPECT_TRUE(refused(with(1, 'X'), size));
    EXPECT_TRUE(refused(with(2, 'l'), size));
    EXPECT_TRUE(refused(with(3, 'x'), size));
    EXPECT_TRUE(refused(with(kHead, good[kHead] + 1), 0));  // section past the area
    EXPECT_TRUE(refused(with(kHead + 16, 9), 0));           // value past its parameter
    EXPECT_TRUE(refused(with(kHead + 6, 'x'), 0));          // name without its NUL
    Block longer = good;                                    // no room for a size word
    longer.resize(size + 2, 0);
    longer[552] = static_cast<unsigned char>(longer[552] + 2);
    EXPECT_TRUE(refused(longer, 0));
    EXPECT_EQ(KorvBinHdrToHdr(nullptr, 0, 0), nullptr);
    for (unsigned long i = 1; i <= 7; i++) {  // each allocation of the read
        korv_testing_fail_alloc(i);
        EXPECT_TRUE(refused(good, 0)) << i;
        korv_testing_fail_alloc(0);
    }
}

TEST(BinHdr, BinaryValuesAreWrittenWithAFlagTheReaderRefuses)
{
    Hdr h;
    const unsigned char data[3] = {1, 0, 2};
    h->params = KorvSetData(nullptr, nullptr, "S", "blob", data, 3);
    Block b = write(h.h, 0);
    EXPECT_EQ(le32(b, kHead + 20), 0x08000003u);
    EXPECT_EQ(read(b), nullptr);
    b[kHead + 23] = 0x80;  // the reader's own mark for binary data
    Hdr back(read(b));
    ASSERT_NE(back.h, nullptr);
    void *got = nullptr;
    uint64_t length = 0;
    ASSERT_EQ(KorvGetData(back->params, nullptr, "S", "blob", &got, &length), 1u);
    ASSERT_EQ(length, 3u);
    EXPECT_EQ(memcmp(got, data, 3), 0);
}

TEST(BinHdr, WriterLimits)
{
    Hdr h;
    h->colorSpace = 2;
    int32_t most = KorvBinHdrFromHdr(h.h, 0, nullptr, 0);
    Block small(static_cast<size_t>(most) - 1);
    void *p = small.data();
    EXPECT_EQ(KorvBinHdrFromHdr(h.h, 0, &p, static_cast<uint32_t>(small.size())), -1);
    void *mine = nullptr;
    EXPECT_GT(KorvBinHdrFromHdr(h.h, 1, &mine, 0), KORV_BINHDR_HEAD_SIZE);
    korv_internal_free(mine);
    mine = nullptr;
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvBinHdrFromHdr(h.h, 0, &mine, 0), 0);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(mine, nullptr);

    std::string name(300, 'n');  // names are cut to 255 bytes
    h->params = KorvSetParam(nullptr, nullptr, "S", name.c_str(), "v", 1);
    Hdr back(read(write(h.h, 0)));
    ASSERT_NE(back.h, nullptr);
    EXPECT_STREQ(KorvGetParam(back->params, nullptr, "S", name.substr(0, 255).c_str()), "v");
    KorvFreeUserCMData(h->params);

    char none[1] = {0};  // a value too long for its length word
    KorvCMNode v{none, 0x08000000u, 1, KORV_CMK_PLAIN, nullptr, nullptr};
    KorvCMNode p1{const_cast<char *>("p"), 1, 1, KORV_CMK_LABEL, &v, nullptr};
    KorvCMNode s1{const_cast<char *>("S"), 1, 1, KORV_CMK_SECTION, &p1, nullptr};
    h->params = &s1;
    EXPECT_EQ(KorvBinHdrFromHdr(h.h, 0, nullptr, 0), -1);
    h->params = nullptr;
}

} // namespace
