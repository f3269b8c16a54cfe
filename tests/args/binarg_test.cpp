#include <gtest/gtest.h>
#include <string.h>
#include <kvsup.h>

namespace {

KorvArgWord W(const void *p)
{
    return reinterpret_cast<KorvArgWord>(p);
}

template <typename T>
T element(const KorvBinArgDesc &d, int i)
{
    T v;
    memcpy(&v, static_cast<const unsigned char *>(d.data) + i * sizeof(T), sizeof v);
    return v;
}

} // namespace

TEST(BinArgs, DescriptorLayout)
{
    EXPECT_EQ(sizeof(KorvBinArgDesc), 24u);
    EXPECT_EQ(offsetof(KorvBinArgDesc, kind), 8u);
    EXPECT_EQ(offsetof(KorvBinArgDesc, count), 12u);
    EXPECT_EQ(offsetof(KorvBinArgDesc, data), 16u);
}

TEST(BinArgs, PackEveryKind)
{
    int32_t win[4] = {1, 2, 3, 4};
    int32_t a = 5, b = 6, flag = 1;
    double d[4] = {0.5, 1.5, 2.5, 3.5};
    int32_t fixed[3] = {7, 8, 9};
    int32_t n3 = 3;
    KorvArgWord list[] = {W("size:wi"), W(win), KORV_ARG_NULL,
                          W("two:ii"), W(&a), W(&b), KORV_ARG_NULL,
                          W("on:"), KORV_ARG_NULL,
                          W("name:s"), W("text"), KORV_ARG_NULL,
                          W("area:wf"), W(d), KORV_ARG_NULL,
                          W("fx:#i"), KORV_ARG_FIXED, W(&n3), W(fixed), KORV_ARG_NULL,
                          W("va:#b"), W(&flag), W(&a), KORV_ARG_NULL, KORV_ARG_NULL,
                          W("url:um"), W("http://x"), KORV_ARG_NULL,
                          KORV_ARG_END};
    KorvBinArgDesc *block = reinterpret_cast<KorvBinArgDesc *>(1);
    ASSERT_EQ(KorvBinArgFromArgs(list, &block), 8);
    ASSERT_NE(block, nullptr);
    // Integer windows keep components 0, 1, 2 and then 0 again.
    EXPECT_EQ(block[0].kind, 0u);
    EXPECT_EQ(block[0].count, 4);
    EXPECT_EQ(element<int32_t>(block[0], 3), 1);
    EXPECT_EQ(element<int32_t>(block[0], 2), 3);
    EXPECT_EQ(block[1].count, 2);
    EXPECT_EQ(element<int32_t>(block[1], 1), 6);
    // A flag: one boolean holding 1.
    EXPECT_EQ(block[2].kind, 5u);
    EXPECT_EQ(block[2].count, 1);
    EXPECT_EQ(element<int32_t>(block[2], 0), 1);
    EXPECT_EQ(block[3].kind, 1u);
    EXPECT_STREQ(element<const char *>(block[3], 0), "text");
    EXPECT_EQ(block[4].kind, 3u);
    EXPECT_EQ(block[4].count, 4);
    EXPECT_EQ(element<double>(block[4], 3), 3.5);
    EXPECT_EQ(block[5].count, 3);
    EXPECT_EQ(element<int32_t>(block[5], 2), 9);
    EXPECT_EQ(block[6].kind, 5u);
    EXPECT_EQ(block[6].count, 2);
    EXPECT_EQ(element<int32_t>(block[6], 1), 5);
    EXPECT_EQ(block[7].kind, 1u);
    // The data follow the descriptors, each run on an eight-byte boundary.
    auto *base = reinterpret_cast<unsigned char *>(block);
    EXPECT_EQ(static_cast<unsigned char *>(block[0].data), base + 8 * 24);
    for (int k = 0; k < 8; k++)
        EXPECT_EQ((static_cast<unsigned char *>(block[k].data) - base) % 8, 0) << k;
    EXPECT_STREQ(block[0].name, "size:wi");

    // Back into a list: values point into the block.
    KorvArgWord *back = KorvBinArgToArgs(8, block, 4);
    ASSERT_NE(back, nullptr);
    EXPECT_STREQ(reinterpret_cast<const char *>(back[0]), "size:wi");
    EXPECT_EQ(back[1], W(block[0].data));
    EXPECT_EQ(back[2], KORV_ARG_NULL);
    EXPECT_STREQ(reinterpret_cast<const char *>(back[7]), "on:");
    EXPECT_EQ(back[8], KORV_ARG_NULL);
    KorvAppendArgs(back, W("input:h"), W(&a), KORV_ARG_NULL, KORV_ARG_END);
    korv_internal_free(back);
    korv_internal_free(block);
}

TEST(BinArgs, RefusedLists)
{
    KorvBinArgDesc *block = nullptr;
    double d = 1;
    int32_t i = 1;
    KorvArgWord empty[] = {KORV_ARG_END};
    ASSERT_EQ(KorvBinArgFromArgs(empty, &block), 0);
    korv_internal_free(block);
    KorvArgWord real_d[] = {W("n:d"), W(&d), KORV_ARG_NULL, KORV_ARG_END};
    EXPECT_EQ(KorvBinArgFromArgs(real_d, &block), -1);
    EXPECT_EQ(block, nullptr);
    KorvArgWord no_colon[] = {W("n"), KORV_ARG_NULL, KORV_ARG_END};
    EXPECT_EQ(KorvBinArgFromArgs(no_colon, &block), -1);
    KorvArgWord no_null[] = {W("n:i"), W(&i), W(&i), KORV_ARG_END};
    EXPECT_EQ(KorvBinArgFromArgs(no_null, &block), -1);
    KorvArgWord mixed[] = {W("n:is"), W(&i), W("s"), KORV_ARG_NULL, KORV_ARG_END};
    EXPECT_EQ(KorvBinArgFromArgs(mixed, &block), -1);
    EXPECT_EQ(KorvBinArgFromArgs(empty, nullptr), -1);
}

TEST(BinArgs, UnpackRules)
{
    int32_t three[3] = {1, 2, 3};
    int32_t off = 0, on = 1;
    KorvBinArgDesc table[] = {
        {"w:#wi", 0, 3, three},   // fewer than four elements: no window
        {"quiet:", 5, 1, &off},   // a flag that is off: left out
        {"loud:", 5, 1, &on},     // on: an entry without values
        {"none:x", 2, 0, nullptr},
    };
    KorvArgWord *list = KorvBinArgToArgs(4, table, 0);
    ASSERT_NE(list, nullptr);
    EXPECT_STREQ(reinterpret_cast<const char *>(list[0]), "w:#wi");
    EXPECT_EQ(list[1], KORV_ARG_NULL); // the empty variable array
    EXPECT_EQ(list[2], KORV_ARG_NULL);
    EXPECT_STREQ(reinterpret_cast<const char *>(list[3]), "loud:");
    EXPECT_EQ(list[4], KORV_ARG_NULL);
    EXPECT_STREQ(reinterpret_cast<const char *>(list[5]), "none:x");
    EXPECT_EQ(list[6], KORV_ARG_NULL);
    EXPECT_EQ(list[7], KORV_ARG_END);
    korv_internal_free(list);
    KorvBinArgDesc negative[] = {{"n:i", 0, -10, three}};
    list = KorvBinArgToArgs(1, negative, 0); // no values
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list[1], KORV_ARG_NULL);
    EXPECT_EQ(list[2], KORV_ARG_END);
    korv_internal_free(list);
}
