// Argument lists and descriptor tables whose shape a careless or hostile
// caller chose: the readers refuse them and never read or write past them.
#include <gtest/gtest.h>
#include <string.h>
#include <kvsup.h>
#include "arg_words.h"

TEST(HostileArgs, NegativeCountUnpacksToNoValues)
{
    const char *texts[2] = {"t0", "t1"};
    int32_t ints[8] = {0};
    KorvBinArgDesc table[] = {{"n:#s", 1, 2, texts}, {"n:i", 0, -8, ints}};
    KorvArgWord *list = KorvBinArgToArgs(2, table, 0);
    ASSERT_NE(list, nullptr);
    EXPECT_STREQ(text(list[0]), "n:#s");
    EXPECT_STREQ(text(list[1]), "t0");
    EXPECT_STREQ(text(list[2]), "t1");
    EXPECT_EQ(list[3], KORV_ARG_NULL);
    EXPECT_EQ(list[4], KORV_ARG_NULL);
    EXPECT_STREQ(text(list[5]), "n:i");
    EXPECT_EQ(list[6], KORV_ARG_NULL);
    EXPECT_EQ(list[7], KORV_ARG_END);
    korv_internal_free(list);

    // Room asked for after the entries is really there: an entry appended
    // in place lands inside the block.
    int32_t v = 4;
    list = KorvBinArgToArgs(2, table, 3);
    ASSERT_NE(list, nullptr);
    KorvAppendArgs(list, W("v:i"), W(&v), KORV_ARG_NULL, KORV_ARG_END);
    EXPECT_EQ(end_of(list), 10u);
    korv_internal_free(list);

    // A negative extra that would cut into the entries gives no list.
    EXPECT_EQ(KorvBinArgToArgs(2, table, -2), nullptr);
    EXPECT_EQ(KorvBinArgToArgs(0, table, -1), nullptr);
}

TEST(HostileArgs, FlagsWithoutElementsAreNotSet)
{
    int32_t on = 1;
    KorvBinArgDesc table[] = {{"empty:", 5, 0, nullptr}, // no element: not set
                              {"neg:", 5, -3, &on},
                              {"set:", 5, 1, &on},
                              {"t:s", 1, 2, nullptr}}; // no data: no values
    KorvArgWord *list = KorvBinArgToArgs(4, table, 0);
    ASSERT_NE(list, nullptr);
    EXPECT_STREQ(text(list[0]), "set:");
    EXPECT_EQ(list[1], KORV_ARG_NULL);
    EXPECT_STREQ(text(list[2]), "t:s");
    EXPECT_EQ(list[3], KORV_ARG_NULL);
    EXPECT_EQ(list[4], KORV_ARG_END);
    korv_internal_free(list);
}

// Value text with a literal after a reference gives an entry whose type
// letters do not cover its words. The list keeps that shape; the walkers
// refuse the list instead of taking a value word for a name.
TEST(HostileArgs, EntriesThatDoNotWalkAreRefused)
{
    KorvSmallHeap *heap = KorvSmallHeapInit();
    double one = 2.5;
    int32_t n1 = 1;
    KorvArgWord macros[] = {W("fr:#f"), KORV_ARG_FIXED, W(&n1), W(&one), KORV_ARG_NULL,
                            W("pp:px"), KorvArgWord(0x42), KORV_ARG_NULL, KORV_ARG_END};
    KorvArgWord *list = nullptr;
    ASSERT_EQ(KorvSafeAppendArgValue(heap, &list, "a", "x %{fr} y %{pp}", macros), 1u);
    EXPECT_STREQ(text(list[0]), "a:#s#fpx");
    EXPECT_EQ(list[3], KORV_ARG_FIXED);
    EXPECT_STREQ(text(list[6]), "y");
    EXPECT_EQ(list[8], KorvArgWord(0x42));
    EXPECT_EQ(end_of(list), 11u);

    int32_t value = 7, found = -1;
    EXPECT_EQ(KorvParseArgs(list, W("b:i"), W(&found), W(&value), KORV_ARG_END), 0u);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(KorvParseArgs(list, KORV_ARG_END), 0u);
    KorvArgWord before[12];
    memcpy(before, list, sizeof before);
    EXPECT_EQ(KorvRemoveArgs(list, W("a:#s#fpx"), KORV_ARG_END), 1u);
    EXPECT_EQ(memcmp(before, list, sizeof before), 0); // refused: left as it was
    // The same list as macros for a further entry is refused too.
    KorvArgWord *other = nullptr;
    EXPECT_EQ(KorvSafeAppendArgValue(heap, &other, "c", "%{zz}", list), 0u);
    korv_internal_free(other);
    korv_internal_free(list);

    // Reserved words and NULLs where a name must be, and arrays that run
    // into the end marker.
    int32_t i = 1;
    KorvArgWord reserved[] = {W("a:i"), W(&i), KORV_ARG_NULL, KORV_ARG_FIXED, KORV_ARG_NULL,
                              KORV_ARG_END};
    KorvArgWord null_name[] = {W("a:i"), W(&i), KORV_ARG_NULL, KORV_ARG_NULL, W("b:i"), W(&i),
                               KORV_ARG_NULL, KORV_ARG_END};
    KorvArgWord first_null[] = {KORV_ARG_NULL, KORV_ARG_END};
    KorvArgWord cut_fixed[] = {W("a:#i"), KORV_ARG_FIXED, KORV_ARG_END};
    KorvArgWord bad_count[] = {W("a:#i"), KORV_ARG_FIXED, KORV_ARG_NULL, W(&i), KORV_ARG_NULL,
                               KORV_ARG_END};
    for (KorvArgWord *l : {reserved, null_name, first_null, cut_fixed, bad_count})
        EXPECT_EQ(KorvParseArgs(l, W("zz:i"), W(&found), W(&value), KORV_ARG_END), 0u);
    memcpy(before, reserved, sizeof reserved);
    KorvRemoveArgs(reserved, W("a:i"), KORV_ARG_END);
    EXPECT_EQ(memcmp(before, reserved, sizeof reserved), 0);
    KorvRemoveArgs(first_null, W("a:i"), KORV_ARG_END);
    EXPECT_EQ(first_null[0], KORV_ARG_NULL);
    // Extra NULL words between entries still belong to the entry before.
    KorvRemoveArgs(null_name, W("a:i"), KORV_ARG_END);
    EXPECT_STREQ(text(null_name[0]), "b:i");
    EXPECT_EQ(end_of(null_name), 3u);
    KorvSmallHeapFree(heap);
}
