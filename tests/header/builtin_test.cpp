// The built-in formats whose documents and chunks are the library's own:
// "internal", "pixr", "info", "xml", "text" and "spectral".
#include "header/format_test_util.h"

#include <vector>

namespace {

// Writes a header made by the format with `fill` and one chunk, then reads
// both back through the manager the document names.
struct Trip {
    KorvIO *io = KorvIO_Mem(0);
    KVHdrManager m{}, found{};
    KorvGenericHeader *h = nullptr, *back = nullptr;
    Trip(const char *format, const char *version) : m(manager_of(format, version))
    {
        EXPECT_EQ(KVHdrCreateHeader(&m, &h), 1u);
    }
    ~Trip()
    {
        free_header(back);
        free_header(h);
        io->close(io);
    }
    void write(KorvChunk chunk)
    {
        ASSERT_EQ(KVHdrWrite_Header(h, &m, io), 1u);
        ASSERT_EQ(KVHdrFromChunk(&m, h, io, &chunk), 1u);
        io->seek(io, 0, 0);
        ASSERT_EQ(KVHdrRead_Header(io, &found, &back), 1u);
    }
    KorvChunk load(uint32_t count, uint32_t expect = 1)
    {
        KorvChunk c{};
        EXPECT_EQ(KVHdrToChunkLines(&found, back, io, &c, count), expect);
        return c;
    }
    static std::string bytes(const KorvChunk &c)
    {
        return std::string(reinterpret_cast<char *>(c.data), c.size);
    }
};

TEST(Builtin, InternalAndPixrCarryTheRasterFields)
{
    Trip t("pixr", "1.0");
    EXPECT_EQ(t.h->kind, 12u);
    t.h->dimensions = 3;
    t.h->scanlines = 2;
    t.h->frame = 3;
    t.h->offset = 16;
    t.write(chunk_of(std::string("ab"), 1));
    EXPECT_EQ(t.back->kind, 12u);
    EXPECT_EQ(t.back->frame + t.back->offset + t.back->dimensions, 22u);
    EXPECT_EQ(Trip::bytes(t.load(0)), "ab");

    // A 2.0 document predates "architecture": its chunks are big-endian.
    std::string doc = "[ID]\nformat: internal\nversion: 2.0\n[Encoding]\nimageParts: 1 0 0\n"
                      "bits/sample: 16\nbytes/sl: 2\ninterleave: pixel\n[End]\n\f\n";
    KorvIO *io = stream_of(doc + std::string("\0\0\0\x02\0\0\0\x01\0\0\0\0\0\0\0\0\x01\x02", 18));
    KVHdrManager found{};
    KorvGenericHeader *g = nullptr;
    ASSERT_EQ(KVHdrRead_Header(io, &found, &g), 1u);
    EXPECT_EQ(g->kind, 0u);
    KorvChunk c{};
    ASSERT_EQ(KVHdrToChunk(&found, g, io, &c), 1u);
    uint16_t v;
    memcpy(&v, c.data, 2);
    EXPECT_EQ(v, 0x0102);
    EXPECT_NE(document_of(g, found).find("version: 2.1\n"), std::string::npos);
    free_header(g);
    io->close(io);
}

TEST(Builtin, InfoXmlAndTextCarryBytes)
{
    Trip info("info", "1.0");
    info.h->bytesPerLine[0] = 8;
    info.h->endian = KORV_ENDIAN_BIG;
    EXPECT_EQ(document_of(info.h, info.m), "[ID]\nformat: info\nversion: 1.0\narchitecture: type 1\n"
                                           "\n[Encoding]\nbytes/entry: 8\n\n[End]\f\n");
    std::string table(24, 'e');
    info.write(chunk_of(table));
    KorvChunk c = info.load(0);
    EXPECT_EQ(Trip::bytes(c), table);
    EXPECT_EQ(c.aux, 3u); // entries
    EXPECT_EQ(info.load(0).flags, 1u);

    // A framed chunk cut anywhere fails.
    Trip xml("xml", "1.0");
    KorvIO *io = KorvIO_Mem(0);
    std::string xmlText = "<a>b</a>";
    c = chunk_of(xmlText);
    ASSERT_EQ(KVHdrFromChunk(&xml.m, xml.h, io, &c), 1u);
    std::string bytes = contents(io);
    io->close(io);
    for (size_t cut = 1; cut < bytes.size(); cut++) {
        io = stream_of(bytes.substr(0, cut));
        EXPECT_EQ(KVHdrToChunk(&xml.m, xml.h, io, &c), 0u) << cut;
        io->close(io);
    }

    Trip text("text", "1.0");
    text.write(chunk_of(std::string("hello")));
    EXPECT_EQ(text.back->kind, 13u);
    c = text.load(4);
    EXPECT_EQ(Trip::bytes(c) + char('0' + c.flags), "hell0");
    c = text.load(4);
    EXPECT_EQ(Trip::bytes(c) + char('0' + c.flags), "o1");
}

TEST(Builtin, SpectralMeasurementsAsTextAndAsFloats)
{
    float m[] = {1, 2.5f, 3, 4, 5, -6};
    std::string bytes(reinterpret_cast<char *>(m), sizeof m);
    for (const char *version : {"1.0-ascii", "1.0-binary"}) {
        Trip t("spectral", version);
        EXPECT_EQ(t.h->kind, 9u);
        t.h->imageParts[0] = 3;
        t.h->endian = KorvIdentifyEndian() ^ 1;
        t.write(chunk_of(bytes, 2));
        EXPECT_EQ(t.back->imageParts[0], 3u);
        EXPECT_EQ(t.back->colorSpace, 116u);
        KorvChunk c = t.load(3);
        EXPECT_EQ(Trip::bytes(c), bytes) << version;
        EXPECT_EQ(c.aux + c.flags, 3u);
    }
    Trip t("spectral", "1.0-ascii");
    t.h->imageParts[0] = 3;
    KorvIO *io = KorvIO_Mem(0);
    KorvChunk c = chunk_of(bytes, 2);
    ASSERT_EQ(KVHdrFromChunk(&t.m, t.h, io, &c), 1u);
    EXPECT_EQ(contents(io), " 1 2.5 3\n 4 5 -6\n");
    io->close(io);
    io = stream_of(" 1 2.5 3\n 4 5");
    EXPECT_EQ(KVHdrToChunkLines(&t.m, t.h, io, &c, 2), 0xFFFFFFFFu); // a cut measurement
    io->close(io);
}

} // namespace
