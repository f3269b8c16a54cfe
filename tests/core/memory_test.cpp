#include <gtest/gtest.h>
#include <string.h>
#include <kvsup.h>
#include "core/alloc_testing.h"

TEST(AlignedAlloc, AlignsAndZeroes)
{
    auto *p = static_cast<unsigned char *>(korv_internal_aligned_alloc(100, 64));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ((uintptr_t)p % 64, 0u);
    for (int i = 0; i < 100; i++)
        ASSERT_EQ(p[i], 0) << i;
    korv_internal_aligned_free(p);

    for (size_t a : {1, 2, 4, 8}) {
        void *q = korv_internal_aligned_malloc(3, a);
        ASSERT_NE(q, nullptr);
        EXPECT_EQ((uintptr_t)q % 8, 0u);
        memset(q, 0xAB, 3);
        korv_internal_aligned_free(q);
    }
    korv_internal_aligned_free(nullptr);
}

TEST(AlignedAlloc, FailuresGiveNull)
{
    korv_testing_fail_alloc(1);
    EXPECT_EQ(korv_internal_aligned_malloc(10, 32), nullptr);
    korv_testing_fail_alloc(1);
    EXPECT_EQ(korv_internal_aligned_alloc(10, 32), nullptr);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(korv_internal_aligned_malloc(SIZE_MAX - 4, 16), nullptr);
}

TEST(Blocks, SwapWordsAndTail)
{
    char a[] = "abcdefg", b[] = "1234567";
    KorvSwapBlock(a + 1, b + 1, 6); // unaligned, one word and two bytes
    EXPECT_STREQ(a, "a234567");
    EXPECT_STREQ(b, "1bcdefg");
}

TEST(Blocks, CompareAsUnsignedBytes)
{
    EXPECT_EQ(KorvCmpBlock("ab", "ac", 2), -1);
    EXPECT_EQ(KorvCmpBlock("ab", "ac", 0), 0);
    EXPECT_EQ(KorvCmpBlock("\xFF", "\x01", 1), 254);
    EXPECT_EQ(KorvCmpBlock("abc", "abc", 3), 0);
    EXPECT_EQ(KorvCmpBlock("xbc", "abc", 3), 'x' - 'a');
}
