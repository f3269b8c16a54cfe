// ASCII value chunks: token reading and writing, chunk loads and emits,
// and interleaved groups of mixed widths.
#include "header/format_test_util.h"
#include "core/alloc_testing.h"

namespace {

struct Chunk : KVHdrValueChunk {
    Chunk() : KVHdrValueChunk{} {}
    ~Chunk() { korv_internal_free(values); }
    template <typename T> T at(size_t i) const { return static_cast<const T *>(values)[i]; }
};

std::string emitted(uint32_t (*emit)(KorvIO *, KVHdrValueChunk *, uint32_t), void *values,
                    uint32_t count)
{
    KVHdrValueChunk c{0, 1, count, values};
    KorvIO *io = KorvIO_Mem(0);
    EXPECT_EQ(emit(io, &c, 1), 1u);
    std::string s = contents(io);
    io->close(io);
    return s;
}

TEST(AsciiChunk, LoadsTokensTruncatedToTheirWidth)
{
    KorvIO *io = stream_of("1 2\t3\n300 70000 -1 +7 rest");
    Chunk a, b, c;
    EXPECT_EQ(KVHdrLoadChunk_Ascii_8(io, &a, 3), 1u);
    EXPECT_EQ(a.loaded + a.count + a.end, 4u);
    EXPECT_EQ(a.at<uint8_t>(2), 3);
    EXPECT_EQ(KVHdrLoadChunk_Ascii_8(io, &b, 1), 1u);
    EXPECT_EQ(b.at<uint8_t>(0), 44);
    EXPECT_EQ(KVHdrLoadChunk_Ascii_16(io, &c, 3), 1u);
    EXPECT_EQ(c.at<uint16_t>(0), 70000 & 0xFFFF);
    EXPECT_EQ(c.at<uint16_t>(1), 0xFFFF);
    EXPECT_EQ(c.at<uint16_t>(2), 7);
    // Only a token and the byte that ends it are taken from the stream.
    EXPECT_EQ(rest_of(io), "rest");
    io->close(io);

    // Over 32 characters an integer token is cut and its rest read on.
    io = stream_of(std::string(32, '0') + "5 x");
    uint32_t v = 1;
    float f = 1;
    EXPECT_EQ(_KVHdrReadAsciiInt(io, &v), 0);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(_KVHdrReadAsciiInt(io, &v), 0);
    EXPECT_EQ(v, 5u);
    EXPECT_EQ(_KVHdrReadAsciiFloat(io, &f), 1); // not a number
    EXPECT_EQ(_KVHdrReadAsciiFloat(io, &f), -1);
    io->close(io);
}

TEST(AsciiChunk, EndOfDataMarksTheChunkAndFailsLongerLoads)
{
    for (const char *text : {"", "\x04 7", "  \n"}) {
        KorvIO *io = stream_of(text);
        Chunk one;
        EXPECT_EQ(KVHdrLoadChunk_Ascii_16(io, &one, 1), 1u) << text;
        EXPECT_EQ(one.end, 1u);
        EXPECT_EQ(one.loaded + one.count, 0u);
        io->close(io);
    }
    struct Case {
        const char *text;
        uint32_t end;
    } cases[] = {{"", 1}, {"1 2", 0}, {"5\xff", 0}, {"5 six", 0}};
    for (const Case &k : cases) {
        KorvIO *io = stream_of(k.text);
        Chunk three;
        EXPECT_EQ(KVHdrLoadChunk_Ascii_32(io, &three, 3), 0u) << k.text;
        EXPECT_EQ(three.end, k.end);
        io->close(io);
    }
    KorvIO *io = stream_of("1 2");
    Chunk c;
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KVHdrLoadChunk_Ascii_8(io, &c, 2), 0u);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(c.values, nullptr);
    io->close(io);
}

TEST(AsciiChunk, EmitsOneLineWithALeadingBlankPerValue)
{
    float reals[] = {0.5f, 1e10f};
    EXPECT_EQ(emitted(KVHdrEmitChunk_Ascii_32, reals, 2), " 0.5 1e+10\n");
    float complex[] = {1.5f, -2.0f};
    EXPECT_EQ(emitted(KVHdrEmitChunk_Ascii_64, complex, 1), " 1.5 -2\n");
    uint8_t bytes[] = {0, 255, 7};
    EXPECT_EQ(emitted(KVHdrEmitChunk_Ascii_8, bytes, 3), " 0 255 7\n");
    uint16_t words[] = {65535};
    EXPECT_EQ(emitted(KVHdrEmitChunk_Ascii_16, words, 1), " 65535\n");

    KorvIO *io = KorvIO_Mem(0);
    KVHdrValueChunk c{0, 1, 1, words}, empty{0, 1, 1, nullptr};
    EXPECT_EQ(KVHdrEmitChunk_Ascii_16(io, &c, 0), 0u); // emit flag clear
    EXPECT_EQ(KVHdrEmitChunk_Ascii_16(io, &empty, 1), 0u);
    EXPECT_EQ(contents(io), "");
    io->close(io);
    BrokenIO broken;
    EXPECT_EQ(KVHdrEmitChunk_Ascii_16(&broken, &c, 1), 0u);
}

TEST(AsciiValues, ReadsGroupsOfMixedWidths)
{
    const uint32_t widths[] = {8, 16, 32, 64}, bad[] = {12, 8};
    KorvIO *io = stream_of("1 2 0.5 1 -1\n3 4 1.5 2 -2\n9 9");
    unsigned char buf[40] = {};
    unsigned char *cursor = buf;
    uint32_t counter = 0;
    EXPECT_EQ(_KVHdrReadAsciiValues(io, widths, 2, 4, &cursor, &counter), 1);
    EXPECT_EQ(counter, 8u);
    EXPECT_EQ(cursor, buf + 30);
    float f;
    memcpy(&f, buf + 15 + 11, 4);
    EXPECT_EQ(f, -2.0f);
    // The third group ends after two values.
    EXPECT_EQ(_KVHdrReadAsciiValues(io, widths, 1, 4, &cursor, &counter), -1);
    EXPECT_EQ(counter, 10u);
    EXPECT_EQ(_KVHdrReadAsciiValues(io, bad, 1, 2, &cursor, &counter), 0);
    io->close(io);
}

TEST(AsciiValues, WritesOneLinePerGroupOrPerValue)
{
    const uint32_t widths[] = {8, 16}, bad[] = {8, 24};
    unsigned char data[6] = {1, 0, 0, 3, 4, 0};
    uint16_t w = 515;
    memcpy(data + 1, &w, 2);
    KorvIO *io = KorvIO_Mem(0);
    const unsigned char *cursor = data;
    EXPECT_EQ(_KVHdrWriteAsciiValues(io, widths, 2, 2, &cursor, 0), 1);
    EXPECT_EQ(cursor, data + 6);
    cursor = data;
    EXPECT_EQ(_KVHdrWriteAsciiValues(io, widths, 1, 2, &cursor, 1), 1);
    EXPECT_EQ(_KVHdrWriteAsciiValues(io, widths, 0, 2, &cursor, 1), 1);
    EXPECT_EQ(contents(io), " 1 515\n 3 4\n 1\n 515\n");
    cursor = data;
    EXPECT_EQ(_KVHdrWriteAsciiValues(io, bad, 1, 2, &cursor, 0), 0);
    io->close(io);
    BrokenIO broken;
    cursor = data;
    EXPECT_EQ(_KVHdrWriteAsciiValues(&broken, widths, 1, 2, &cursor, 0), -1);
}

} // namespace
