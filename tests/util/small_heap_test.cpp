#include <gtest/gtest.h>
#include <string.h>
#include <kvsup.h>
#include "core/alloc_testing.h"

namespace {

size_t room(const KorvSmallHeapBlock *block)
{
    return (size_t)(block->end - block->freePos);
}

size_t block_count(const KorvSmallHeap *heap)
{
    size_t n = 0;
    for (const KorvSmallHeapBlock *b = heap->first; b; b = b->next)
        n++;
    return n;
}

} // namespace

TEST(SmallHeap, FreshHeapAndRoundedPieces)
{
    KorvSmallHeap *heap = KorvSmallHeapInit();
    ASSERT_NE(heap, nullptr);
    EXPECT_EQ(heap->total, 65536u);
    EXPECT_EQ(heap->first, heap->current);
    EXPECT_EQ(room(heap->first), 65536u - 4 * sizeof(void *));

    auto *a = static_cast<char *>(korv_internal_sh_malloc(heap, 5));
    auto *b = static_cast<char *>(korv_internal_sh_malloc(heap, 1));
    EXPECT_EQ(b - a, 8); // sizes round up to 8
    EXPECT_EQ(heap->first->size, 8u); // the latest piece's size
    EXPECT_EQ((uintptr_t)a % 8, 0u);

    char *s = KorvShStrDup(heap, "token");
    EXPECT_STREQ(s, "token");
    EXPECT_STREQ(KorvShStrNDup(heap, "token", 2), "to");
    EXPECT_EQ(KorvShStrDup(heap, nullptr), nullptr);
    KorvSmallHeapFree(heap);
}

TEST(SmallHeap, BlockChainAccounting)
{
    KorvSmallHeap *heap = KorvSmallHeapInit();
    ASSERT_NE(heap, nullptr);
    KorvSmallHeapBlock *first = heap->first;

    // A piece that fits the first block comes from it.
    ASSERT_NE(korv_internal_sh_malloc(heap, 40000), nullptr);
    EXPECT_EQ(block_count(heap), 1u);

    // The next one does not fit: a block of twice its size follows the
    // current block, which stays current.
    void *big = korv_internal_sh_malloc(heap, 40000);
    ASSERT_NE(big, nullptr);
    ASSERT_EQ(block_count(heap), 2u);
    KorvSmallHeapBlock *second = first->next;
    EXPECT_EQ(heap->current, first);
    EXPECT_EQ(heap->total, 65536u + 80000u);
    EXPECT_EQ((size_t)(second->end - (unsigned char *)second), 80000u);
    EXPECT_EQ(big, (void *)(second + 1));

    // A small piece still fits the current block.
    void *small = korv_internal_sh_malloc(heap, 16);
    EXPECT_TRUE(small > (void *)first && small < (void *)first->end);

    // Fill the current block: the next block serves without becoming current.
    ASSERT_NE(korv_internal_sh_malloc(heap, room(first) - 8), nullptr);
    void *from_next = korv_internal_sh_malloc(heap, 64);
    EXPECT_TRUE(from_next > (void *)second && from_next < (void *)second->end);
    EXPECT_EQ(heap->current, first);

    // The next block is too small too: it becomes current, and a new block
    // of twice the rounded size is linked after it.
    ASSERT_LT(room(second), 39952u);
    ASSERT_NE(korv_internal_sh_malloc(heap, 39950), nullptr);
    EXPECT_EQ(heap->current, second);
    EXPECT_EQ(block_count(heap), 3u);
    EXPECT_EQ(heap->total, 65536u + 80000u + 2 * 39952u);

    KorvSmallHeapRelease(heap);
    EXPECT_EQ(heap->total, 65536u);
    EXPECT_EQ(block_count(heap), 1u);
    EXPECT_EQ(heap->current, heap->first);
    KorvSmallHeapFree(heap);
}

TEST(SmallHeap, ZeroFillAndAlignment)
{
    KorvSmallHeap *heap = KorvSmallHeapInit();
    ASSERT_NE(heap, nullptr);
    memset(heap->first->freePos, 0xAB, 256); // dirty the space about to be handed out
    auto *z = static_cast<unsigned char *>(korv_internal_sh_calloc(heap, 4, 10));
    for (int i = 0; i < 40; i++)
        ASSERT_EQ(z[i], 0);

    unsigned char *raw_next = heap->current->freePos;
    auto *p = static_cast<unsigned char *>(korv_internal_sh_aligned_alloc(heap, 24, 64));
    EXPECT_EQ((uintptr_t)p % 64, 0u);
    EXPECT_GT(p, raw_next); // strictly above the raw piece
    EXPECT_LE(p, raw_next + 64);
    for (int i = 0; i < 24; i++)
        ASSERT_EQ(p[i], 0);
    EXPECT_EQ(korv_internal_sh_aligned_malloc(heap, 8, 3), nullptr);
    EXPECT_EQ(korv_internal_sh_calloc(heap, SIZE_MAX, 2), nullptr);
    KorvSmallHeapFree(heap);

    // Without a heap, the general allocators.
    void *g = korv_internal_sh_aligned_alloc(nullptr, 16, 32);
    EXPECT_EQ((uintptr_t)g % 32, 0u);
    korv_internal_aligned_free(g);
    korv_internal_free(korv_internal_sh_calloc(nullptr, 2, 8));
    korv_internal_free(KorvShStrDup(nullptr, "x"));
}

TEST(SmallHeap, AllocationFailures)
{
    korv_testing_fail_alloc(2); // the first block
    EXPECT_EQ(KorvSmallHeapInit(), nullptr);
    korv_testing_fail_alloc(0);

    KorvSmallHeap *heap = KorvSmallHeapInit();
    ASSERT_NE(heap, nullptr);
    korv_testing_fail_alloc(1);
    EXPECT_EQ(korv_internal_sh_malloc(heap, 70000), nullptr);
    EXPECT_EQ(heap->total, 65536u);

    // A release whose fresh block cannot be made leaves an empty heap that
    // makes its first block on the next allocation.
    korv_testing_fail_alloc(1);
    KorvSmallHeapRelease(heap);
    EXPECT_EQ(heap->first, nullptr);
    EXPECT_EQ(heap->total, 0u);
    EXPECT_NE(KorvShStrDup(heap, "again"), nullptr);
    EXPECT_EQ(heap->total, 65536u);
    KorvSmallHeapFree(heap);
    KorvSmallHeapFree(nullptr);
    KorvSmallHeapRelease(nullptr);
}
