#include <gtest/gtest.h>
#include <math.h>
#include <string.h>
#include <string>
#include <kvsup.h>

namespace {

KorvArgWord W(const void *p)
{
    return reinterpret_cast<KorvArgWord>(p);
}

} // namespace

TEST(ParseArgs, WindowsAndIntegersReadAcross)
{
    int32_t win[4] = {1, 2, 3, 4};
    int32_t a = 5, b = 6, c = 7;
    KorvArgWord list[] = {W("size:wi"), W(win), KORV_ARG_NULL,
                          W("x:iiii"), W(&a), W(&b), W(&c), W(&a), KORV_ARG_NULL,
                          W("three:iii"), W(&a), W(&b), W(&c), KORV_ARG_NULL, KORV_ARG_END};
    int32_t i[4] = {0}, w[4] = {0}, found = -1;
    ASSERT_EQ(KorvParseArgs(list, W("size:iiii"), W(&found), W(&i[0]), W(&i[1]), W(&i[2]), W(&i[3]),
                            W("X:wi"), W(nullptr), W(w), KORV_ARG_END),
              1u);
    EXPECT_EQ(found, 1);
    EXPECT_EQ(i[3], 4);
    EXPECT_EQ(w[0], 5);
    EXPECT_EQ(w[3], 5);
    EXPECT_EQ(KorvParseArgs(list, W("three:wi"), W(nullptr), W(w), KORV_ARG_END), 0u);
    // An absent argument is not an error: found is 0 and the destination
    // keeps its value.
    int32_t keep = 99;
    ASSERT_EQ(KorvParseArgs(list, W("missing:i"), W(&found), W(&keep), KORV_ARG_END), 1u);
    EXPECT_EQ(found, 0);
    EXPECT_EQ(keep, 99);
    // A scalar asked of an argument whose values are used up fails.
    EXPECT_EQ(KorvParseArgs(list, W("three:iiii"), W(nullptr), W(&i[0]), W(&i[1]), W(&i[2]),
                            W(&i[3]), KORV_ARG_END),
              0u);
    EXPECT_EQ(KorvParseArgs(list, W("nocolon"), W(nullptr), KORV_ARG_END), 0u);
    EXPECT_EQ(KorvParseArgs(list, W("x:q"), W(nullptr), W(&keep), KORV_ARG_END), 0u);
    EXPECT_EQ(KorvParseArgs(list, W("x:uz"), W(nullptr), W(&keep), KORV_ARG_END), 0u);
    EXPECT_EQ(KorvParseArgs(list, W("x:px"), W(nullptr), W(&keep), KORV_ARG_END), 0u);
    EXPECT_EQ(KorvParseArgs(list, KORV_ARG_END), 1u);
}

TEST(ParseArgs, ConversionsBetweenKinds)
{
    double pos = 2.9, neg = -2.9;
    int32_t flag = 5;
    KorvArgWord list[] = {W("f1:s"), W("false"), KORV_ARG_NULL,
                          W("f2:s"), W("no"), KORV_ARG_NULL,
                          W("f3:s"), W(""), KORV_ARG_NULL,
                          W("hex:s"), W("0x1F"), KORV_ARG_NULL,
                          W("oct:s"), W("017"), KORV_ARG_NULL,
                          W("bad:s"), W("abc"), KORV_ARG_NULL,
                          W("h:v"), W(&pos), KORV_ARG_NULL,
                          W("p:f"), W(&pos), KORV_ARG_NULL,
                          W("n:f"), W(&neg), KORV_ARG_NULL,
                          W("b:b"), W(&flag), KORV_ARG_NULL,
                          KORV_ARG_END};
    int32_t b1, b2, b3, hex, oct, hv, p, n, bb, bi;
    ASSERT_EQ(KorvParseArgs(list, W("f1:b"), W(nullptr), W(&b1), W("f2:b"), W(nullptr), W(&b2),
                            W("f3:b"), W(nullptr), W(&b3), W("hex:i"), W(nullptr), W(&hex),
                            W("oct:i"), W(nullptr), W(&oct), W("h:i"), W(nullptr), W(&hv),
                            W("p:i"), W(nullptr), W(&p), W("n:i"), W(nullptr), W(&n),
                            W("b:b"), W(nullptr), W(&bb), W("b:i"), W(nullptr), W(&bi),
                            KORV_ARG_END),
              1u);
    EXPECT_EQ(b1, 0);
    EXPECT_EQ(b2, 1);
    EXPECT_EQ(b3, 1);
    EXPECT_EQ(hex, 31);
    EXPECT_EQ(oct, 15);
    EXPECT_EQ(hv, 0);
    EXPECT_EQ(p, 2);
    EXPECT_EQ(n, -2);
    EXPECT_EQ(bb, 5); // a stored boolean is not reduced to 0 or 1
    EXPECT_EQ(bi, 5);
    int32_t bad = 0;
    EXPECT_EQ(KorvParseArgs(list, W("bad:i"), W(nullptr), W(&bad), KORV_ARG_END), 0u);

    char *t = nullptr, *bt = nullptr;
    double d = 0;
    void *addr = nullptr;
    ASSERT_EQ(KorvParseArgs(list, W("h:s"), W(nullptr), W(&t), W("b:s"), W(nullptr), W(&bt),
                            W("oct:d"), W(nullptr), W(&d), W("h:v"), W(nullptr), W(&addr),
                            KORV_ARG_END),
              1u);
    char want[64];
    KorvSPrintf(want, "%p", static_cast<void *>(&pos));
    EXPECT_STREQ(t, want);
    EXPECT_STREQ(bt, "TRUE");
    EXPECT_EQ(d, 17.0);
    EXPECT_EQ(addr, &pos);
    korv_internal_free(t);
    korv_internal_free(bt);
}

TEST(ParseArgs, StrictUrls)
{
    KorvArgWord strict = 32;
    KorvArgWord list[] = {W("korvsec:i"), strict, KORV_ARG_NULL,
                          W("src:s"), W("http://a"), KORV_ARG_NULL,
                          W("url:ur"), W("http://b"), KORV_ARG_NULL, KORV_ARG_END};
    char *t = nullptr;
    EXPECT_EQ(KorvParseArgs(list, W("src:ur"), W(nullptr), W(&t), KORV_ARG_END), 0u);
    EXPECT_EQ(t, nullptr);
    ASSERT_EQ(KorvParseArgs(list, W("url:ur"), W(nullptr), W(&t), KORV_ARG_END), 1u);
    EXPECT_STREQ(t, "http://b");
    korv_internal_free(t);
    ASSERT_EQ(KorvParseArgs(list, W("url:s"), W(nullptr), W(&t), KORV_ARG_END), 1u);
    korv_internal_free(t);
    EXPECT_EQ(KorvParseArgs(list, W("url:uw"), W(nullptr), W(&t), KORV_ARG_END), 0u);
    // Without the flag every URL mode reads as a plain text.
    list[1] = 0;
    ASSERT_EQ(KorvParseArgs(list, W("src:ur"), W(nullptr), W(&t), KORV_ARG_END), 1u);
    EXPECT_STREQ(t, "http://a");
    korv_internal_free(t);
}

TEST(ParseArgs, Arrays)
{
    int32_t three[3] = {7, 8, 9};
    int32_t n3 = 3;
    int32_t a = 1, b = 2;
    KorvArgWord list[] = {W("list:#i"), KORV_ARG_FIXED, W(&n3), W(three), KORV_ARG_NULL,
                          W("two:ii"), W(&a), W(&b), KORV_ARG_NULL,
                          W("none:"), KORV_ARG_NULL, KORV_ARG_END};
    int32_t count = -1;
    char **texts = nullptr;
    ASSERT_EQ(KorvParseArgs(list, W("list:#s"), W(nullptr), W(&count), W(&texts), KORV_ARG_END), 1u);
    ASSERT_EQ(count, 3);
    EXPECT_STREQ(texts[0], "7");
    EXPECT_STREQ(texts[2], "9");
    EXPECT_EQ(texts[3], nullptr);
    for (int i = 0; i < 3; i++)
        korv_internal_free(texts[i]);
    korv_internal_free(texts);

    // The rest of an entry after a scalar fills the array.
    int32_t first = 0, *ints = nullptr;
    ASSERT_EQ(KorvParseArgs(list, W("two:i#i"), W(nullptr), W(&first), W(&count), W(&ints),
                            KORV_ARG_END),
              1u);
    EXPECT_EQ(first, 1);
    ASSERT_EQ(count, 1);
    EXPECT_EQ(ints[0], 2);
    korv_internal_free(ints);

    // No values: no integer array, but an empty text array.
    ints = reinterpret_cast<int32_t *>(&a);
    EXPECT_EQ(KorvParseArgs(list, W("none:#i"), W(nullptr), W(&count), W(&ints), KORV_ARG_END), 0u);
    EXPECT_EQ(ints, nullptr);
    ASSERT_EQ(KorvParseArgs(list, W("none:#s"), W(nullptr), W(&count), W(&texts), KORV_ARG_END), 1u);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(texts[0], nullptr);
    korv_internal_free(texts);

    // Windows from a fixed array of integers must come in fours.
    int32_t *wins = nullptr;
    EXPECT_EQ(KorvParseArgs(list, W("list:#wi"), W(nullptr), W(&count), W(&wins), KORV_ARG_END), 0u);
    korv_internal_free(wins);
}
