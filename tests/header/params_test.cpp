// Header parameters: text, numbers and lists by section and name.
#include <kvsup.h>

#include "core/alloc_testing.h"

#include <gtest/gtest.h>

#include <string.h>
#include <string>

namespace {

struct Tree {
    KorvCMNode *root = nullptr;
    ~Tree() { KorvFreeUserCMData(root); }
};

TEST(HeaderParams, SettersReplaceOrAdd)
{
    Tree t;
    t.root = KVHdrSetHeaderParam(t.root, "Raster", "pixels", "10");
    t.root = KVHdrSetHeaderParam(t.root, "Raster", "pixels", "20");
    EXPECT_STREQ(KVHdrGetHeaderParam(t.root, "raster", "PIXELS"), "20");
    // The string setter keeps the older label, which lookups find first.
    t.root = KVHdrSetHeaderString(t.root, "Raster", "pixels", "x y");
    EXPECT_STREQ(KVHdrGetHeaderParam(t.root, "Raster", "pixels"), "20");
    t.root = KVHdrDeleteHeaderField(t.root, "Raster", "pixels");
    EXPECT_STREQ(KVHdrGetHeaderParam(t.root, "Raster", "pixels"), "x y");

    t.root = KVHdrSetHeaderField(t.root, "Raster", "f", "abcdef", 3);
    EXPECT_STREQ(KVHdrGetHeaderParam(t.root, "Raster", "f"), "abc");
    t.root = KVHdrSetHeaderParam(t.root, "Raster", "f", nullptr); // an empty label
    EXPECT_EQ(KVHdrCheckHeaderParam(t.root, "Raster", "f"), 1u);
    EXPECT_EQ(KVHdrGetHeaderParam(t.root, "Raster", "f"), nullptr);

    const unsigned char bytes[] = {0, 1, 2, 0xFF};
    t.root = KVHdrSetHeaderData(t.root, "Bin", "d", bytes, sizeof bytes);
    t.root = KVHdrDeleteHeaderSection(t.root, "Raster");
    void *data = nullptr;
    uint64_t size = 0;
    ASSERT_EQ(KVHdrGetHeaderData(t.root, "Bin", "d", &data, &size), 1u);
    EXPECT_EQ(std::string(static_cast<char *>(data), size), std::string("\0\1\2\xFF", 4));
}

TEST(HeaderParams, IntegersStopAtTheEndRealsDoNot)
{
    Tree t;
    t.root = KVHdrSetHeaderParam(t.root, "N", "v", "1 2");
    int32_t ints[5] = {9, 9, 9, 9, 9};
    uint32_t count = 5;
    ASSERT_EQ(KVHdrGetHeaderInts(t.root, "N", "v", ints, &count), 1u);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(ints[1], 2);
    EXPECT_EQ(ints[2], 9);
    double d[5] = {7, 7, 7, 7, 7};
    ASSERT_EQ(KVHdrGetHeaderDoubles(t.root, "N", "v", d, &count), 1u);
    EXPECT_EQ(count, 2u); // as asked, and every place tried
    count = 5;
    ASSERT_EQ(KVHdrGetHeaderDoubles(t.root, "N", "v", d, &count), 1u);
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(d[1], 2.0);
    EXPECT_EQ(d[4], 7.0);

    t.root = KVHdrSetHeaderParam(t.root, "N", "v", "0.5 -1.25 x 4");
    float f[3] = {5, 5, 5};
    count = 3;
    ASSERT_EQ(KVHdrGetHeaderFloats(t.root, "N", "v", f, &count), 1u);
    EXPECT_EQ(f[1], -1.25f);
    EXPECT_EQ(f[2], 5.0f); // "x" does not scan
    count = 4;
    ASSERT_EQ(KVHdrGetHeaderInts(t.root, "N", "v", ints, &count), 1u);
    EXPECT_EQ(count, 2u); // "0.5" gives 0, "-1.25" gives -1, "x" stops
    EXPECT_EQ(ints[1], -1);

    count = 1;
    EXPECT_EQ(KVHdrGetHeaderInts(t.root, "N", "missing", ints, &count), 0u);
}

TEST(HeaderParams, NumbersAsText)
{
    Tree t;
    const int32_t ints[] = {1, 2, 3};
    t.root = KVHdrSetHeaderInts(t.root, "N", "i", ints, 3, 2);
    char **list = nullptr;
    // "1 2\n3 " reads back as two values of the label.
    ASSERT_EQ(KVHdrGetHeaderList(t.root, "N", "i", &list), 2u);
    EXPECT_STREQ(list[0], "1 2");
    EXPECT_STREQ(list[1], "3 ");
    EXPECT_EQ(KVHdrFreeList(&list), 1u);
    EXPECT_EQ(list, nullptr);

    const double d[] = {-1.5, 1e300};
    t.root = KVHdrSetHeaderDoubles(t.root, "N", "d", d, 2, 2);
    const char *text = KVHdrGetHeaderParam(t.root, "N", "d");
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text).substr(0, 10), "-1.500000 ");
    EXPECT_EQ(strlen(text), 10u + 301u + 7u); // 1e300 in full, six decimals
    const float f[] = {0.25f};
    t.root = KVHdrSetHeaderFloats(t.root, "N", "f", f, 1, 1);
    EXPECT_STREQ(KVHdrGetHeaderParam(t.root, "N", "f"), "0.250000");

    // No memory for the text, or 0 values per line: the tree stays as it was.
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KVHdrSetHeaderInts(t.root, "N", "i", ints, 1, 1), t.root);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(KVHdrSetHeaderInts(t.root, "N", "i", ints, 1, 0), t.root);
    EXPECT_STREQ(KVHdrGetHeaderParam(t.root, "N", "i"), "1 2");
}

TEST(HeaderParams, ListForms)
{
    Tree t;
    t.root = KVHdrSetHeaderParam(t.root, "L", "p", "1 2 3\n4 5\n6 7 8 9");
    int32_t *ints = nullptr;
    uint32_t per = 0;
    ASSERT_EQ(KVHdrGetHeaderIntsList(t.root, "L", "p", &ints, &per), 3);
    ASSERT_EQ(per, 3u);
    const int32_t want[] = {1, 2, 3, 4, 5, 0, 6, 7, 8};
    EXPECT_EQ(memcmp(ints, want, sizeof want), 0);
    korv_internal_free(ints);

    // The real forms count and fill only tokens that look like numbers.
    t.root = KVHdrSetHeaderParam(t.root, "L", "r", "x .5 -2\nq 1.5e1 3");
    double *d = nullptr;
    ASSERT_EQ(KVHdrGetHeaderDoublesList(t.root, "L", "r", &d, &per), 2);
    ASSERT_EQ(per, 2u);
    const double dwant[] = {0.5, -2.0, 15.0, 3.0};
    EXPECT_EQ(memcmp(d, dwant, sizeof dwant), 0);
    korv_internal_free(d);

    EXPECT_EQ(KVHdrGetHeaderIntsList(t.root, "L", "none", &ints, &per), 0);
    EXPECT_EQ(ints, nullptr);
    // No memory for the numbers (after the list and its three copies).
    korv_testing_fail_alloc(5);
    EXPECT_EQ(KVHdrGetHeaderIntsList(t.root, "L", "p", &ints, &per), -1);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(ints, nullptr);
}

} // namespace
