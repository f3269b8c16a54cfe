// Byte geometry: separation sizes, boundary padding, interleaved and
// aligned lines, and a header's chunk sizes.
#include <kvsup.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using V = std::vector<uint32_t>;

// The entries written, followed by the returned total.
V calc(uint32_t interleave, uint32_t alignment, V bits, uint32_t pixels)
{
    V out(bits.size(), 0xEEEEEEEEu);
    out.push_back(KorvCalcAlignedInterleaveBytesArray(
        interleave, out.data(), alignment, static_cast<uint32_t>(bits.size()), bits.data(), pixels));
    return out;
}

TEST(Geometry, SeparationLines)
{
    EXPECT_EQ(KorvCalcBytesPerSep(1, 10), 2u);
    EXPECT_EQ(KorvCalcBytesPerSep(12, 3), 6u);
    EXPECT_EQ(KorvCalcBytesPerSep(24, 1), 4u);
    // Padding goes to the separation before; the line end pads for bits[0].
    EXPECT_EQ(calc(0, 0, {8, 16, 8}, 3), (V{4, 6, 3, 13}));
    EXPECT_EQ(calc(0, 0, {16, 8}, 3), (V{6, 4, 10}));
    EXPECT_EQ(calc(0, 0, {8, 32}, 1), (V{4, 4, 8}));
    EXPECT_EQ(calc(0, 0, {32, 8}, 1), (V{4, 4, 8}));
}

TEST(Geometry, InterleavedAndAlignedLines)
{
    EXPECT_EQ(calc(1, 0, {8, 8, 8}, 10), (V{30, 0, 0, 30}));
    EXPECT_EQ(calc(1, 0, {1, 16, 16}, 3), (V{2, 0, 0, 2}));  // all at bits[0]
    EXPECT_EQ(calc(2, 0, {12, 8}, 3), (V{5, 0, 5}));
    EXPECT_EQ(calc(0, 4, {8, 8, 8}, 5), (V{8, 8, 8, 24}));
    EXPECT_EQ(calc(0, 2, {12}, 3), (V{6, 6}));  // no word rounding: 5 bytes, aligned
    EXPECT_EQ(calc(1, 16, {8, 8, 8}, 10), (V{32, 0, 0, 32}));
    // Unknown interleave and unusable arguments: 0, nothing written.
    EXPECT_EQ(calc(3, 0, {8, 8}, 4), (V{0xEEEEEEEEu, 0xEEEEEEEEu, 0}));
    EXPECT_EQ(calc(0, 0, {}, 4), (V{0}));
    uint32_t out[1], bits[1] = {8};
    EXPECT_EQ(KorvCalcBytesArray(nullptr, 1, bits, 4), 0u);
    EXPECT_EQ(KorvCalcAlignedBytesArray(out, 4, 1, nullptr, 4), 0u);
}

KorvGenericHeader raster(uint32_t interleave, uint32_t count, uint32_t pixels)
{
    KorvGenericHeader h{};
    h.kind = KORV_KIND_PIXELS;
    h.interleave = interleave;
    h.imageParts[0] = count;
    for (uint32_t i = 0; i < count; i++)
        h.bitsPerSample[i] = i == 1 ? 16 : 8;
    h.pixels = pixels;
    h.scanlines = 100;
    return h;
}

TEST(Geometry, HeaderChunkSizes)
{
    KorvGenericHeader h = raster(0, 3, 3);
    EXPECT_EQ(KorvHeaderFillInBytes(&h), 13u);
    EXPECT_EQ(h.minimumChunk, 13u);
    EXPECT_EQ(h.preferredChunk, 32u * 13u);
    h.preferredChunk = 100;  // at least a line: kept
    KorvHeaderFillInBytes(&h);
    EXPECT_EQ(h.preferredChunk, 100u);

    h = raster(2, 3, 10);  // frame interleave needs a whole plane
    KorvHeaderFillInBytes(&h);
    EXPECT_EQ(h.minimumChunk, 1000u);
    EXPECT_EQ(h.preferredChunk, 1000u);
    h.kind = KORV_KIND_FRAMES;
    h.frame = 3;
    h.offset = 7;
    EXPECT_EQ(KorvHeaderGetMinimumBytes(&h), (100u + 6u) * 10u + 7u);

    KorvGenericHeader c{};
    c.compressed = 1;
    EXPECT_EQ(KorvHeaderGetTotalBytes(&c), 1u);
    EXPECT_EQ(KorvHeaderGetMinimumBytes(&c), 1u);
    EXPECT_EQ(KorvHeaderGetPreferredBytes(&c), 32768u);
    c.kind = KORV_KIND_INFO;
    c.bytesPerLine[0] = 24;
    EXPECT_EQ(KorvHeaderGetTotalBytes(&c), 24u);
    c = KorvGenericHeader{};
    c.interleave = KORV_INTERLEAVE_COMPRESSION;
    EXPECT_EQ(KorvHeaderGetTotalBytes(&c), 0u);
}

TEST(Geometry, SeparationsBeyondTheArraysAreNotRead)
{
    KorvGenericHeader h = raster(0, 36, 1);
    h.bitsPerSample[1] = 8;
    h.imageParts[0] = h.imageParts[1] = h.imageParts[2] = 12;
    EXPECT_EQ(KorvHeaderFillInBytes(&h), 36u);
    h.imageParts[2] = 0xFFFFFFF0u;  // the sum would wrap; 36 are used
    EXPECT_EQ(KorvHeaderFillInBytes(&h), 36u);
    EXPECT_EQ(KorvHeaderGetTotalBytes(&h), 36u);
}

} // namespace
