// The pixelstream format: its document, text pixels of every width, short
// and cut data, standard input, and failing buffers and streams.
#include "header/format_test_util.h"
#include "core/alloc_testing.h"

#include <cstdio>
#include <vector>

namespace {

const std::string kDoc = "[ID]\nformat: pixelstream\nversion: 1.0-ascii\n"
                         "[Encoding]\nimageParts: 3 0 0\nbits/sample: 8\n[End]\n\f\n";

struct Pixels : ::testing::Test {
    KVHdrManager m = manager_of("pixelstream", "1.0-ascii");
    KorvGenericHeader *h = nullptr;
    void TearDown() override { free_header(h); }

    // Reads the document, then returns the stream left at its pixels.
    KorvIO *open(const std::string &pixels, const std::string &doc = kDoc)
    {
        KorvIO *io = stream_of(doc + pixels);
        EXPECT_EQ(KVHdrRead_Header(io, &m, &h), 1u);
        return io;
    }
    KorvChunk load(KorvIO *io, uint32_t count, uint32_t expect = 1)
    {
        KorvChunk c{};
        EXPECT_EQ(KVHdrToChunkLines(&m, h, io, &c, count), expect);
        return c;
    }
};

TEST_F(Pixels, DocumentNamesPartsWidthAndPixelBytes)
{
    ASSERT_EQ(KVHdrCreateHeader(&m, &h), 1u);
    EXPECT_EQ(h->kind + h->interleave, 2u);
    h->imageParts[0] = 3;
    h->imageParts[2] = 1;
    h->bitsPerSample[0] = 16;
    h->colorSpace = 6;
    EXPECT_EQ(document_of(h, m), "[ID]\nformat: pixelstream\nversion: 1.0-ascii\n"
                                 "\n[Encoding]\nimageParts: 3 0 1\nbits/sample: 16\n"
                                 "bytes/sl: 8\n\n[Photometry]\nname: cmykLinear\n\n[End]\f\n");
    free_header(h);
    h = nullptr;
    // More samples per pixel than a header has separations.
    std::string wide = kDoc;
    wide.replace(wide.find("3 0 0"), 5, "30 30 0");
    KorvIO *io = stream_of(wide);
    EXPECT_NE(KVHdrRead_Header(io, &m, &h), 1u);
    EXPECT_EQ(h, nullptr);
    io->close(io);
}

TEST_F(Pixels, LoadsRequestedPixelsAndFlagsAShortChunk)
{
    KorvIO *io = open("1 2 3\n4 5 6\n");
    EXPECT_EQ(h->bytesPerLine[0], 3u);
    KorvChunk c = load(io, 2);
    EXPECT_EQ(c.aux + c.size + c.flags, 8u);
    EXPECT_EQ(std::vector<unsigned char>(c.data, c.data + 6),
              (std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(load(io, 0).flags, 1u); // nothing left
    io->close(io);

    struct Case {
        const char *text;
        uint32_t count, result, pixels, flags;
        const char *rest;
    } cases[] = {
        {"1 2 3\n4 5 6\n", 3, 1, 2, 1, ""},
        {"7 8 9\n10 11 12\n", 0, 1, 1, 0, "10 11 12\n"}, // a count of 0 is one pixel
        {"1 2 3 4 5 6 7", 5, 0xFFFFFFFFu, 0, 0, ""},        // a pixel cut short
        {"7 x 8 9\n", 1, 0xFFFFFFFFu, 0, 0, "9\n"},         // a word takes a sample's turn
        {"1 2 3\n4 5 6\n", 0xFFFFFFFFu, 1, 2, 1, ""},       // memory only for what arrives
    };
    for (const Case &k : cases) {
        io = stream_of(k.text);
        korv_testing_fail_alloc(0);
        c = load(io, k.count, k.result);
        EXPECT_LE(korv_testing_alloc_count(), 1u);
        EXPECT_EQ(c.aux, k.pixels) << k.text;
        EXPECT_EQ(c.size, 3 * k.pixels);
        EXPECT_EQ(c.flags, k.flags);
        EXPECT_EQ(rest_of(io), k.rest);
        io->close(io);
    }
}

TEST_F(Pixels, FailedBufferAllocationFailsTheLoad)
{
    KorvIO *io = open("1 2 3\n");
    korv_testing_fail_alloc(1);
    KorvChunk c = load(io, 1, 0);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(c.aux + c.flags, 0u);
    EXPECT_EQ(c.data, nullptr);
    io->close(io);
}

TEST_F(Pixels, EveryWidthRoundTripsThroughAFile)
{
    std::string file = scratch_file("pixelstream_widths.txt");
    for (uint32_t bits : {8u, 16u, 32u, 64u}) {
        ASSERT_EQ(KVHdrCreateHeader(&m, &h), 1u);
        h->imageParts[0] = 2;
        h->bitsPerSample[0] = bits;
        std::vector<unsigned char> data(5 * 2 * bits / 8);
        for (size_t i = 0; i < data.size(); i++) // floats of 2.0 for the real widths
            data[i] = static_cast<unsigned char>(bits >= 32 ? (i % 4 == 3 ? 0x40 : 0) : i * 37);
        KorvChunk out = chunk_of(data, 5);
        KorvIO *io = KorvIO_FileName(file.c_str(), "w");
        ASSERT_EQ(KVHdrWrite_Header(h, &m, io), 1u);
        ASSERT_EQ(KVHdrFromChunk(&m, h, io, &out), 1u);
        io->close(io);
        free_header(h);

        io = KorvIO_FileName(file.c_str(), "r");
        ASSERT_EQ(KVHdrRead_Header(io, &m, &h), 1u);
        KorvChunk in = load(io, 5);
        EXPECT_EQ(in.aux + in.flags, 5u);
        EXPECT_EQ(std::vector<unsigned char>(in.data, in.data + in.size), data) << bits;
        io->close(io);
        free_header(h);
        h = nullptr;
    }
    std::remove(file.c_str());
}

TEST_F(Pixels, EmitWritesOneLinePerPixelOrNothing)
{
    ASSERT_EQ(KVHdrCreateHeader(&m, &h), 1u);
    h->imageParts[0] = 2;
    h->bitsPerSample[0] = 32;
    float values[] = {0.5f, -1.0f, 1e10f, 3.0f};
    KorvChunk c{};
    c.data = reinterpret_cast<unsigned char *>(values);
    c.size = sizeof values;
    c.aux = 2;
    KorvIO *io = KorvIO_Mem(0);
    EXPECT_EQ(KVHdrFromChunk(&m, h, io, &c), 1u);
    c.aux = 0;
    EXPECT_EQ(KVHdrFromChunk(&m, h, io, &c), 1u);
    c.aux = 1;
    c.reserved = 1;
    EXPECT_EQ(KVHdrFromChunk(&m, h, io, &c), 1u);
    c.reserved = 0;
    c.aux = 3; // more pixels than the chunk holds
    EXPECT_EQ(KVHdrFromChunk(&m, h, io, &c), 0u);
    h->bitsPerSample[0] = 12; // no such width: lines without values
    c.aux = 2;
    EXPECT_EQ(KVHdrFromChunk(&m, h, io, &c), 0u);
    EXPECT_EQ(contents(io), " 0.5 -1\n 1e+10 3\n\n\n");
    io->close(io);
    h->bitsPerSample[0] = 32;
    BrokenIO broken;
    EXPECT_EQ(KVHdrFromChunk(&m, h, &broken, &c), 0xFFFFFFFFu);
}

TEST_F(Pixels, UseStdinReadsStandardInputWhateverStreamIsGiven)
{
    std::string file = scratch_file("pixelstream_stdin.txt");
    FILE *f = std::fopen(file.c_str(), "wb");
    std::fputs("9 8 7\n", f);
    std::fclose(f);
    ASSERT_NE(std::freopen(file.c_str(), "rb", stdin), nullptr);
    std::string doc = kDoc;
    KorvIO *io = open("1 2 3\n", doc.insert(doc.find("[End]"), "useStdin: True\n"));
    EXPECT_FALSE(KVHdrCheckHeaderParam(h->params, "Encoding", "useStdin"));
    KorvGenericHeader *copy = h->copy(h);
    EXPECT_EQ(load(io, 1).data[0], 9);
    EXPECT_EQ(rest_of(io), "1 2 3\n");
    KorvChunk c{};
    ASSERT_EQ(KVHdrToChunk(&m, copy, io, &c), 1u); // the copy reads stdin too
    EXPECT_EQ(c.flags, 1u);
    free_header(copy);
    io->close(io);
    std::fclose(stdin);
    std::remove(file.c_str());
}

} // namespace
