#include <gtest/gtest.h>
#include <kvsup.h>
#include "core/alloc_testing.h"

TEST(ItemArray, PlaceholdersForSizeZero)
{
    void **array = nullptr;
    ASSERT_EQ(KorvAllocArray(&array, 3, 0), 1u);
    EXPECT_EQ(KorvGetArraySize(array), 3u);
    EXPECT_NE(array[0], nullptr);
    EXPECT_EQ(array[0], array[2]); // the shared placeholder
    EXPECT_EQ(array[3], nullptr);
    EXPECT_EQ(KorvFreeArray(array), 1u); // frees only the block
}

TEST(ItemArray, GrowShrinkAndLookup)
{
    void **array = nullptr;
    ASSERT_EQ(KorvAllocArray(&array, 2, 16), 1u);
    EXPECT_EQ(KorvGetArrayItem(array, 1), array[1]);
    EXPECT_EQ(KorvGetArrayItem(array, 10), nullptr);
    EXPECT_EQ(KorvGetArrayItem(nullptr, 0), nullptr);
    void *first = array[0];
    ASSERT_EQ(KorvReallocArray(&array, 5, 8), 1u);
    EXPECT_EQ(KorvGetArraySize(array), 5u);
    EXPECT_EQ(array[0], first);
    ASSERT_EQ(KorvReallocArray(&array, 2, 8), 1u); // frees 2..4 (ASan checks)
    EXPECT_EQ(KorvGetArraySize(array), 2u);
    EXPECT_EQ(array[0], first);

    // Growing ahead of need with placeholders, then ending the list early.
    ASSERT_EQ(KorvReallocArray(&array, 6, 0), 1u);
    EXPECT_EQ(KorvGetArraySize(array), 6u);
    array[3] = nullptr;
    EXPECT_EQ(KorvGetArraySize(array), 3u);
    EXPECT_EQ(KorvFreeArray(array), 1u);
}

TEST(ItemArray, FailuresFreeEverything)
{
    void **array = reinterpret_cast<void **>(0x8);
    EXPECT_EQ(KorvAllocArray(&array, UINT32_MAX, 4), 0u);
    EXPECT_EQ(array, nullptr);

    korv_testing_fail_alloc(3); // the second element
    EXPECT_EQ(KorvAllocArray(&array, 4, 4), 0u);
    EXPECT_EQ(array, nullptr);

    ASSERT_EQ(KorvAllocArray(&array, 2, 4), 1u);
    korv_testing_fail_alloc(1); // the resize
    EXPECT_EQ(KorvReallocArray(&array, 8, 4), 0u);
    EXPECT_EQ(array, nullptr);
    korv_testing_fail_alloc(0);

    void *empty[1] = {nullptr};
    EXPECT_EQ(KorvGetArraySize(empty), 0u);
    EXPECT_EQ(KorvFreeArray(nullptr), 0u);
    EXPECT_EQ(KorvFreeSmartArray(nullptr), 0u);
}

namespace {

int g_freed = 0;

struct SmartItem {
    void *entry1;
    void *entry2;
    uint32_t (*free_fn)(void *);
};

uint32_t free_item(void *item)
{
    g_freed++;
    korv_internal_free(item);
    return 1;
}

} // namespace

TEST(ItemArray, SmartArrayCallsEachFreeOperation)
{
    void **array = nullptr;
    ASSERT_EQ(KorvAllocArray(&array, 3, sizeof(SmartItem)), 1u);
    static_cast<SmartItem *>(array[0])->free_fn = free_item;
    static_cast<SmartItem *>(array[2])->free_fn = free_item;
    void *no_free = array[1];
    g_freed = 0;
    EXPECT_EQ(KorvFreeSmartArray(array), 1u);
    EXPECT_EQ(g_freed, 2);
    korv_internal_free(no_free); // its free operation was NULL
}
