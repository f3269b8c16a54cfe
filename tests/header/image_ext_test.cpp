// The image-ext format: its document, its framed chunks in both byte
// orders, and bad or cut input.
#include "header/format_test_util.h"
#include "core/alloc_testing.h"

#include <cstdio>
#include <vector>

namespace {

const uint32_t kOther = KorvIdentifyEndian() == 0 ? 1 : 0;

struct ImageExt : ::testing::Test {
    KVHdrManager m = manager_of("image-ext", "1.0");
    KorvGenericHeader *h = nullptr;
    void SetUp() override { ASSERT_EQ(KVHdrCreateHeader(&m, &h), 1u); }
    void TearDown() override { free_header(h); }

    // A raster of `pixels` x `lines` with the given separations' bits.
    void shape(uint32_t pixels, uint32_t lines, std::vector<uint32_t> bits, uint32_t interleave)
    {
        h->pixels = pixels;
        h->scanlines = lines;
        h->dimensions = 2;
        h->imageParts[0] = static_cast<uint32_t>(bits.size());
        for (size_t i = 0; i < bits.size(); i++)
            h->bitsPerSample[i] = bits[i];
        h->interleave = interleave;
        KorvHeaderFillInBytes(h);
    }
};

TEST_F(ImageExt, WritesItsDocumentAfterTheHeadersOwnParameters)
{
    shape(3, 0, {8, 16, 8}, KORV_INTERLEAVE_SCANLINE); // no scanlines label for 0 lines
    h->endian = KORV_ENDIAN_BIG;
    h->alignment = 0;
    KorvHeaderSetUnits(h, "cm");
    EXPECT_EQ(document_of(h, m),
              "[ID]\n"
              "format: image-ext\n"
              "binary: \"<<<<Base64Data:AAAAAA==>>>>\"\n"
              "version: 1.0\n"
              "architecture: type 1\n"
              "\n[Origin]\n"
              "units: \"cm\"\n"
              "\n[Raster]\n"
              "pixels: 3\n"
              "\n[Encoding]\n"
              "imageParts: 3 0 0\n"
              "bytes/sl: 4 6 3\n"
              "bits/sample: 8 16 8\n"
              "interleave: scanline\n"
              "minimumChunk: 13\n"
              "preferredChunk: 416\n"
              "\n[Photometry]\n"
              "name: unknown\n"
              "\n[End]\f\n");
}

TEST_F(ImageExt, ReadsEveryLabelAndKeepsOnlyForeignOnes)
{
    KorvGenericHeader *g = header_from("[ID]\nformat: image-ext\nversion: 1.0\n"
                                       "architecture: big\n"
                                       "[Raster]\npixels: 10\nscanlines: 4\npixels: 99\n"
                                       "[Encoding]\nimageParts: 1 2\nbits/sample: 16 16 16\n"
                                       "bytes/sl: 20 20 20\ninterleave: frame\nalignment: 4\n"
                                       "maskBits/sample: 1\n"
                                       "[Photometry]\nname: sRGB\n"
                                       "[Compression]\ncompressors:   jpeg(q=5) deflate\n"
                                       "[Vendor]\nnote: kept\n[End]\n\f\n");
    ASSERT_NE(g, nullptr);
    EXPECT_EQ(g->endian, KorvIdentifyEndian()); // samples arrive turned around
    EXPECT_EQ(g->pixels, 10u);                   // the first of repeated labels
    EXPECT_EQ(g->scanlines + g->dimensions, 6u);
    EXPECT_EQ(g->imageParts[1] + g->bitsPerSample[2] + g->bytesPerLine[2], 38u);
    EXPECT_EQ(g->interleave + g->alignment, 6u);
    EXPECT_EQ(g->colorSpace, 111u);
    EXPECT_EQ(g->compressed, 1u); // jpeg
    EXPECT_FALSE(KVHdrCheckHeaderParam(g->params, "Raster", "pixels"));
    EXPECT_FALSE(KVHdrCheckHeaderParam(g->params, "Encoding", "maskBits/sample"));
    EXPECT_FALSE(KVHdrCheckHeaderParam(g->params, "Photometry", "name"));
    // Written back, the foreign sections survive and nothing is doubled.
    std::string doc = document_of(g, m);
    EXPECT_NE(doc.find("[Vendor]\nnote: kept\n"), std::string::npos);
    EXPECT_NE(doc.find("compressors: "), std::string::npos);
    EXPECT_EQ(doc.find("99"), std::string::npos);
    EXPECT_NE(doc.find("architecture: type 2\n"), std::string::npos);
    free_header(g);

    // Missing labels leave the defaults; an unknown byte order is the machine's.
    g = header_from("[ID]\nformat: image-ext\nversion: 1.0\narchitecture: middle\n"
                    "[Raster]\nblobs: 5\n[Photometry]\nname: teal\n"
                    "[Compression]\ncompressors: zip\n[End]\n\f\n");
    ASSERT_NE(g, nullptr);
    EXPECT_EQ(g->pixels + g->dimensions + g->blobs + g->interleave + g->colorSpace, 9u);
    EXPECT_EQ(g->compressed, 0xFFFFFFFFu); // compressed, by an unknown method
    // An unknown colour space keeps its own name when written again.
    EXPECT_NE(document_of(g, m).find("name: teal\n"), std::string::npos);
    g->colorSpace = 2;
    EXPECT_NE(document_of(g, m).find("name: rgbLinear\n"), std::string::npos);
    free_header(g);
}

TEST_F(ImageExt, ChunksRoundTripThroughEveryKindOfStream)
{
    shape(4, 3, {8, 8, 8}, KORV_INTERLEAVE_PIXEL);
    std::vector<unsigned char> a(24, 7), b(12, 9);
    a[5] = 200;
    KorvChunk first = chunk_of(a, 2, 0x20 | 0x04), last = chunk_of(b, 1, 1);
    first.reserved = 77;
    std::string file = scratch_file("image_ext_chunks.bin");
    KorvSmartBuffer *sb = KorvSBInit(1, 256);
    for (int kind = 0; kind < 3; kind++) {
        KorvIO *io = kind == 0 ? KorvIO_Mem(0)
                     : kind == 1 ? KorvIO_FileName(file.c_str(), "w") : KorvIO_SB(sb);
        ASSERT_EQ(KVHdrWrite_Header(h, &m, io), 1u);
        ASSERT_EQ(KVHdrFromChunk(&m, h, io, &first), 1u);
        ASSERT_EQ(KVHdrFromChunk(&m, h, io, &last), 1u);
        if (kind == 0)
            io->seek(io, 0, 0);
        if (kind == 1) {
            io->close(io);
            io = KorvIO_FileName(file.c_str(), "r");
        }
        KVHdrManager found{};
        KorvGenericHeader *g = nullptr;
        ASSERT_EQ(KVHdrRead_Header(io, &found, &g), 1u);
        KorvChunk c{};
        ASSERT_EQ(KVHdrToChunk(&found, g, io, &c), 1u);
        EXPECT_EQ(c.aux + c.reserved, 79u);
        EXPECT_EQ(c.flags, 0x20u); // only the end bit and bit 32 travel
        EXPECT_EQ(std::vector<unsigned char>(c.data, c.data + c.size), a);
        ASSERT_EQ(KVHdrToChunk(&found, g, io, &c), 1u);
        EXPECT_EQ(c.flags + c.size, 13u);
        ASSERT_EQ(KVHdrToChunk(&found, g, io, &c), 1u); // clean end
        EXPECT_EQ(c.flags + c.size, 1u);
        free_header(g);
        io->close(io);
    }
    KorvSBFree(sb);
    std::remove(file.c_str());
}

TEST_F(ImageExt, SamplesWrittenInTheOtherOrderLoadInTheMachinesOrder)
{
    struct Case {
        std::vector<uint32_t> bits;
        uint32_t interleave;
    } cases[] = {{{8}, 1},    {{16}, 1},    {{8, 8, 8}, 1},    {{16, 16, 16}, 1},
                 {{8, 8, 8, 8}, 1}, {{16, 16, 16, 16}, 1}, {{16, 16, 16}, 0}, {{8, 16, 8}, 0}};
    for (const Case &k : cases) {
        shape(3, 2, k.bits, k.interleave);
        h->endian = kOther;
        // Each line holds every separation's samples in the declared order,
        // 8-bit ones counting 1, 2, ... and 16-bit ones 0x0102, 0x0304, ...
        std::vector<unsigned char> data, expect;
        size_t seps = k.interleave == 1 ? 1 : k.bits.size();
        unsigned char next = 1;
        for (int line = 0; line < 2; line++)
            for (size_t s = 0; s < seps; s++) {
                size_t start = data.size();
                for (size_t i = 0; i < (k.interleave == 1 ? 3 * k.bits.size() : 3); i++) {
                    if (k.bits[s] == 8) {
                        data.push_back(next);
                        expect.push_back(next++);
                        continue;
                    }
                    uint16_t v = static_cast<uint16_t>(next << 8 | (next + 1));
                    unsigned char mine[2], big[2] = {next, static_cast<unsigned char>(next + 1)};
                    memcpy(mine, &v, 2);
                    next += 2;
                    data.push_back(kOther == 1 ? big[0] : big[1]);
                    data.push_back(kOther == 1 ? big[1] : big[0]);
                    expect.insert(expect.end(), mine, mine + 2);
                }
                data.resize(start + h->bytesPerLine[s]); // line padding
                expect.resize(data.size());
            }
        KorvIO *io = KorvIO_Mem(0);
        KorvChunk out = chunk_of(data, 2), in{};
        ASSERT_EQ(KVHdrWrite_Header(h, &m, io), 1u);
        ASSERT_EQ(KVHdrFromChunk(&m, h, io, &out), 1u);
        io->seek(io, 0, 0);
        KVHdrManager found{};
        KorvGenericHeader *g = nullptr;
        ASSERT_EQ(KVHdrRead_Header(io, &found, &g), 1u);
        ASSERT_EQ(KVHdrToChunk(&found, g, io, &in), 1u);
        EXPECT_EQ(std::vector<unsigned char>(in.data, in.data + in.size), expect)
            << k.bits.size() << " separations of " << k.bits[0] << " interleave " << k.interleave;
        free_header(g);
        io->close(io);
    }
}

TEST_F(ImageExt, CutOrOversizedFramesFailWithoutAHugeBuffer)
{
    shape(2, 1, {8}, 1);
    std::vector<unsigned char> data = {1, 2, 3, 4, 5, 6, 7, 8};
    KorvChunk c = chunk_of(data, 1), empty{};
    KorvIO *io = KorvIO_Mem(0);
    ASSERT_EQ(KVHdrFromChunk(&m, h, io, &empty), 1u); // a chunk of no bytes is its frame
    ASSERT_EQ(KVHdrFromChunk(&m, h, io, &c), 1u);
    std::string bytes = contents(io).substr(16);
    io->close(io);
    ASSERT_EQ(bytes.size(), 24u);
    for (size_t cut = 0; cut < bytes.size(); cut++) {
        KorvIO *in = stream_of(bytes.substr(0, cut));
        KorvChunk got{};
        EXPECT_EQ(KVHdrToChunk(&m, h, in, &got), cut == 0 ? 1u : 0u) << cut;
        EXPECT_EQ(got.flags, cut == 0 ? 1u : 0u);
        in->close(in);
    }
    // A frame claiming 4 GiB on a stream of a few bytes.
    bytes = std::string("\xff\xff\xff\xff\x01\0\0\0\0\0\0\0\0\0\0\0", 16) + "0123456789";
    KorvIO *in = stream_of(bytes);
    KorvChunk got{};
    EXPECT_EQ(KVHdrToChunk(&m, h, in, &got), 0u);
    in->close(in);

    BrokenIO broken;
    EXPECT_EQ(KVHdrFromChunk(&m, h, &broken, &c), 0xFFFFFFFFu);
}

TEST_F(ImageExt, CopiesAndFailedAllocations)
{
    shape(2, 1, {16}, 1);
    h->endian = kOther;
    std::vector<unsigned char> data = {1, 2, 3, 4};
    KorvChunk c = chunk_of(data, 1), got{};
    KorvIO *io = KorvIO_Mem(0);
    ASSERT_EQ(KVHdrWrite_Header(h, &m, io), 1u);
    ASSERT_EQ(KVHdrFromChunk(&m, h, io, &c), 1u);
    io->seek(io, 0, 0);
    KorvCMNode *tree = nullptr;
    ASSERT_EQ(KVHdrRead(io, &tree), 1u);
    for (unsigned long n = 1;; n++) { // every allocation of the reading fails once
        KorvGenericHeader *g = nullptr;
        korv_testing_fail_alloc(n);
        uint32_t r = KVHdrToHeader(&m, tree, &g);
        korv_testing_fail_alloc(0);
        if (r != 1) {
            EXPECT_EQ(g, nullptr) << n;
            ASSERT_LT(n, 100u);
            continue;
        }
        // The format's copy turns samples around as the original would; a
        // plain generic copy carries the entries but not that state.
        KorvGenericHeader *copy = g->copy(g), *plain = KorvGenericHeaderCopy(g);
        ASSERT_EQ(KVHdrToChunk(&m, copy, io, &got), 1u);
        EXPECT_EQ(got.data[0], KorvIdentifyEndian() == 0 ? 2 : 1);
        EXPECT_EQ(KVHdrToChunk(&m, plain, io, &got), 0u);
        free_header(plain);
        free_header(copy);
        free_header(g);
        break;
    }
    KVHdrFree(tree);
    io->close(io);
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KVHdrCreateHeader(&m, &h), 0u);
    korv_testing_fail_alloc(0);
}

} // namespace
