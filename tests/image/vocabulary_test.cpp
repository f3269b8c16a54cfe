// Vocabularies, byte order, architecture and windows.
#include <kvsup.h>

#include <gtest/gtest.h>

namespace {

TEST(Vocabulary, WordsToCodes)
{
    EXPECT_EQ(KorvStr2Orient("lrtb"), 0);
    EXPECT_EQ(KorvStr2Orient(nullptr), 0);
    EXPECT_EQ(KorvStr2Orient("TBX"), -1);  // whole words only
    EXPECT_EQ(KorvStr2ScanDir(nullptr), 0);
    EXPECT_EQ(KorvStr2ScanDir("TB"), -1);
    EXPECT_EQ(KorvStr2Interleave("Pixel"), 1);
    EXPECT_EQ(KorvStr2Interleave("banana"), 0);  // no invalid interleave
    EXPECT_EQ(KorvStr2Comp("HEX"), 14);
    EXPECT_EQ(KorvStr2Comp("jbig1"), 19);
    EXPECT_EQ(KorvStr2Comp("zip"), -1);
    EXPECT_EQ(KorvStr2Endian("Big"), 1);
    EXPECT_EQ(KorvStr2Endian("type2"), -1);
    EXPECT_EQ(KorvStr2Endian(nullptr), -1);
}

TEST(Vocabulary, CodesToWordsRoundTrip)
{
    for (uint32_t code = 0; code < 8; code++)
        EXPECT_EQ(KorvStr2ScanDir(KorvScanDir2Str(code)), static_cast<int32_t>(code));
    for (uint32_t code = 0; code < 20; code++)
        EXPECT_EQ(KorvStr2Comp(KorvComp2Str(code)), static_cast<int32_t>(code));
    EXPECT_STREQ(KorvOrient2Str(0), "TB");
    EXPECT_STREQ(KorvOrient2Str(2), "unknown");
    EXPECT_STREQ(KorvInterleave2Str(4), "scanline");
    EXPECT_STREQ(KorvComp2Str(20), "unknown");
    EXPECT_STREQ(KorvEndian2Str(0), "type 2");
    EXPECT_STREQ(KorvEndian2Str(2), "unknown");

    uint32_t arch = 9, variant = 9;
    EXPECT_EQ(KorvIdentifyArch(&arch, &variant), 4u);
    EXPECT_EQ(arch + variant, 0u);
    EXPECT_EQ(KorvIdentifyEndian(), 0u);
}

void expect_window(const KorvWindow &w, int32_t x, int32_t y, uint32_t width, uint32_t height)
{
    EXPECT_EQ(w.x, x);
    EXPECT_EQ(w.y, y);
    EXPECT_EQ(w.width, width);
    EXPECT_EQ(w.height, height);
}

TEST(Windows, FractionalToPixelRoundsOriginAndEdgeDifferently)
{
    KorvWindow w{};
    KorvFWindow f{0.25, 0.25, 0.5, 0.5};
    ASSERT_EQ(KorvFWinToWin(10, 10, &f, &w), 1u);
    expect_window(w, 2, 2, 6, 6);  // 2.5 + 0.4999 gives 2; 7.5 + 0.5 gives 8
    f = {-0.06, 0.0, 0.5, 1.0};     // -0.6 - 0.4999 gives -1
    ASSERT_EQ(KorvFWinToWin(10, 20, &f, &w), 1u);
    expect_window(w, -1, 0, 5, 20);
    f = {0, 0, -0.1, 1};
    EXPECT_EQ(KorvFWinToWin(10, 10, &f, &w), 0u);
    f = {1e30, -1e30, 1e30, 0};  // saturates instead of overflowing
    EXPECT_EQ(KorvFWinToWin(10, 10, &f, &w), 1u);
    EXPECT_EQ(w.x, INT32_MAX);
    EXPECT_EQ(w.y, INT32_MIN);

    KorvFWindow back{};
    w = {5, -10, 50, 20};
    ASSERT_EQ(KorvWinToFWin(100, 40, &w, &back), 1u);
    EXPECT_DOUBLE_EQ(back.y, -0.25);
    EXPECT_DOUBLE_EQ(back.width, 0.5);
}

TEST(Windows, Crop)
{
    KorvWindow w{-10, 10, 30, 100};
    EXPECT_EQ(KorvCropWin(100, 50, &w), 2u);
    expect_window(w, 0, 10, 20, 40);
    w = {1, 2, 99, 48};
    EXPECT_EQ(KorvCropWin(100, 50, &w), 1u);
    expect_window(w, 1, 2, 99, 48);
    w = {150, -80, 10, 20};  // wholly outside: empty at the nearest edges
    EXPECT_EQ(KorvCropWin(100, 50, &w), 2u);
    expect_window(w, 100, 0, 0, 0);
    w = {10, 0, 0xFFFFFFF0u, 5};  // the right edge wraps below x
    EXPECT_EQ(KorvCropWin(100, 50, &w), 2u);
    expect_window(w, 10, 0, 0, 5);
    EXPECT_EQ(KorvCropWin(-5, 50, &w), 0u);
    EXPECT_EQ(KorvCropWin(100, 50, nullptr), 0u);
    expect_window(w, 10, 0, 0, 5);
}

} // namespace
