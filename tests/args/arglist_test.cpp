#include <gtest/gtest.h>
#include <string.h>
#include <string>
#include <vector>
#include <kvsup.h>
#include "core/alloc_testing.h"
#include "arg_words.h"

namespace {

struct Heap {
    KorvSmallHeap *h = KorvSmallHeapInit();
    ~Heap() { KorvSmallHeapFree(h); }
};

struct List {
    KorvArgWord *words = nullptr;
    ~List() { korv_internal_free(words); }
};

} // namespace

TEST(ArgLists, BuildAppendAndRemove)
{
    int a = 1, b = 2;
    KorvArgWord list[32];
    EXPECT_EQ(KorvBuildArgs(list, W("a:i"), W(&a), KORV_ARG_NULL, KORV_ARG_END), 1u);
    KorvAppendArgs(list, W("input:h"), W(&b), KORV_ARG_NULL, KORV_ARG_END);
    KorvAppendArgs(list, W("INPUT:H"), W(&b), KORV_ARG_NULL, W("input:hh"), W(&a), W(&b),
                   KORV_ARG_NULL, W("input:"), KORV_ARG_NULL, KORV_ARG_END);
    ASSERT_EQ(end_of(list), 15u);
    EXPECT_EQ(KorvRemoveArgs(list, W("input:h"), KORV_ARG_END), 1u);
    // Both spellings of "input:h" go; "input:hh" and "input:" stay.
    ASSERT_EQ(end_of(list), 9u);
    EXPECT_STREQ(text(list[0]), "a:i");
    EXPECT_STREQ(text(list[3]), "input:hh");
    EXPECT_STREQ(text(list[7]), "input:");
    KorvRemoveArgs(list, W("nothing:i"), KORV_ARG_END);
    EXPECT_EQ(end_of(list), 9u);
    // A variable array ends its entry with two NULL words; both go.
    KorvBuildArgs(list, W("x:#s"), W("p"), W("q"), KORV_ARG_NULL, KORV_ARG_NULL, W("y:i"),
                  W(&a), KORV_ARG_NULL, KORV_ARG_END);
    KorvRemoveArgs(list, W("X:#S"), KORV_ARG_END);
    ASSERT_EQ(end_of(list), 3u);
    EXPECT_STREQ(text(list[0]), "y:i");
}

TEST(ArgLists, GrowableListsDoubleAtTheCapacityMark)
{
    List l;
    int v = 0;
    EXPECT_EQ(KorvSafeBuildArgs(nullptr, KORV_ARG_END), 0u);
    ASSERT_EQ(KorvSafeBuildArgs(&l.words, KORV_ARG_END), 1u);
    EXPECT_EQ(l.words[15], KORV_ARG_CAPACITY);
    // Fourteen words and the end marker fill the fifteen usable words.
    for (int i = 0; i < 7; i++)
        ASSERT_EQ(KorvSafeAppendArgs(&l.words, W("v:i"), W(&v), KORV_ARG_END), 1u);
    EXPECT_EQ(l.words[15], KORV_ARG_CAPACITY);
    EXPECT_EQ(end_of(l.words), 14u);
    // The next word lands on the mark: the block grows to 32 words.
    ASSERT_EQ(KorvSafeAppendArgs(&l.words, KORV_ARG_NULL, KORV_ARG_NULL, KORV_ARG_END), 1u);
    EXPECT_EQ(l.words[16], KORV_ARG_END);
    EXPECT_EQ(l.words[17], 0u);
    EXPECT_EQ(l.words[31], KORV_ARG_CAPACITY);
    // Building again overwrites from the first word.
    ASSERT_EQ(KorvSafeBuildArgs(&l.words, W("w:i"), W(&v), KORV_ARG_NULL, KORV_ARG_END), 1u);
    EXPECT_STREQ(text(l.words[0]), "w:i");
    EXPECT_EQ(l.words[3], KORV_ARG_END);

    // When growth fails the list pointer is cleared; the old block stays
    // the caller's.
    KorvArgWord *old = l.words;
    while (end_of(l.words) < 30)
        KorvSafeAppendArgs(&l.words, W(&v), KORV_ARG_END);
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvSafeAppendArgs(&l.words, W(&v), KORV_ARG_END), 0u);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(l.words, nullptr);
    l.words = old;
}

TEST(ArgLists, ValueTextGivesLiteralStrings)
{
    Heap heap;
    List l;
    ASSERT_EQ(KorvSafeAppendArgValue(heap.h, &l.words, "v", "a \"b c\"\td%%e 'x\"y' ", nullptr), 1u);
    EXPECT_STREQ(text(l.words[0]), "v:#s");
    EXPECT_STREQ(text(l.words[1]), "a");
    EXPECT_STREQ(text(l.words[2]), "b c");
    EXPECT_STREQ(text(l.words[3]), "d%e");
    EXPECT_STREQ(text(l.words[4]), "x\"y");
    EXPECT_EQ(l.words[5], KORV_ARG_NULL);
    EXPECT_EQ(l.words[6], KORV_ARG_NULL);
    EXPECT_EQ(l.words[7], KORV_ARG_END);
    // An empty text gives an entry without values; list values are taken
    // whole, quotes and blanks included.
    ASSERT_EQ(KorvSafeAppendArgValue(heap.h, &l.words, "e", "  ", nullptr), 1u);
    EXPECT_STREQ(text(l.words[7]), "e:");
    const char *items[] = {"a b", "'q'", "50%%", nullptr};
    ASSERT_EQ(KorvSafeAppendArgList(heap.h, &l.words, "l", items, nullptr), 1u);
    EXPECT_STREQ(text(l.words[9]), "l:#s");
    EXPECT_STREQ(text(l.words[10]), "a b");
    EXPECT_STREQ(text(l.words[11]), "'q'");
    EXPECT_STREQ(text(l.words[12]), "50%");
    const char *none[] = {nullptr};
    ASSERT_EQ(KorvSafeAppendArgList(heap.h, &l.words, "n", none, nullptr), 1u);
    EXPECT_STREQ(text(l.words[15]), "n:");
}

TEST(ArgLists, MacroReferences)
{
    Heap heap;
    List l;
    int32_t five[5] = {10, 11, 12, 13, 14};
    int32_t n5 = 5;
    int32_t i1 = 7, i2 = 8;
    double f1 = 1.5;
    KorvArgWord macros[] = {W("x:#i"), KORV_ARG_FIXED, W(&n5), W(five), KORV_ARG_NULL,
                            W("pair:ii"), W(&i1), W(&i2), KORV_ARG_NULL,
                            W("names:#s"), W("n0"), W("n1"), W("n2"), KORV_ARG_NULL, KORV_ARG_NULL,
                            W("mix:f#s"), W(&f1), W("m0"), W("m1"), KORV_ARG_NULL, KORV_ARG_NULL,
                            KORV_ARG_END};

    // All of a fixed array: a new count, the same elements.
    ASSERT_EQ(KorvSafeAppendArgValue(heap.h, &l.words, "all", "%{x:#}", macros), 1u);
    EXPECT_STREQ(text(l.words[0]), "all:#i");
    EXPECT_EQ(l.words[1], KORV_ARG_FIXED);
    EXPECT_NE(l.words[2], W(&n5));
    EXPECT_EQ(*reinterpret_cast<int32_t *>(l.words[2]), 5);
    EXPECT_EQ(l.words[3], W(five));
    // Entered part-way: the whole remainder, though one value was asked.
    size_t at = end_of(l.words);
    ASSERT_EQ(KorvSafeAppendArgValue(heap.h, &l.words, "tail", "pre%{x[2]}post", macros), 1u);
    EXPECT_STREQ(text(l.words[at]), "tail:#i");
    EXPECT_EQ(*reinterpret_cast<int32_t *>(l.words[at + 2]), 3);
    EXPECT_EQ(l.words[at + 3], W(five + 2));

    // Scalars and variable arrays, a reference name that only begins with
    // the entry's name, and a literal before a reference.
    at = end_of(l.words);
    ASSERT_EQ(KorvSafeAppendArgValue(heap.h, &l.words, "m", "lit %{PAIRS[1]} %{names[1]:#}", macros), 1u);
    EXPECT_STREQ(text(l.words[at]), "m:#si#s");
    EXPECT_STREQ(text(l.words[at + 1]), "lit");
    EXPECT_EQ(l.words[at + 2], KORV_ARG_NULL); // ends the literal array
    EXPECT_EQ(l.words[at + 3], W(&i2));
    EXPECT_EQ(l.words[at + 4], KORV_ARG_NULL); // written again before the next reference
    EXPECT_STREQ(text(l.words[at + 5]), "n1");
    EXPECT_STREQ(text(l.words[at + 6]), "n2");
    EXPECT_EQ(l.words[at + 7], KORV_ARG_NULL);
    EXPECT_EQ(l.words[at + 8], KORV_ARG_NULL); // the literal array's last NULL
    EXPECT_EQ(l.words[at + 9], KORV_ARG_NULL); // the entry's
    EXPECT_EQ(l.words[at + 10], KORV_ARG_END);
    // A count that runs over two types of one entry.
    at = end_of(l.words);
    ASSERT_EQ(KorvSafeAppendArgValue(heap.h, &l.words, "c", "%{mix:2}", macros), 1u);
    EXPECT_STREQ(text(l.words[at]), "c:f#s");
    EXPECT_EQ(l.words[at + 1], W(&f1));
    EXPECT_STREQ(text(l.words[at + 2]), "m0");
    EXPECT_EQ(l.words[at + 3], KORV_ARG_NULL);

    // Failures leave the list as it was.
    size_t before = end_of(l.words);
    EXPECT_EQ(KorvSafeAppendArgValue(heap.h, &l.words, "f", "a %{pair:3}", macros), 0u);
    EXPECT_EQ(end_of(l.words), before);
    EXPECT_EQ(KorvSafeAppendArgValue(heap.h, &l.words, "f", "%{nosuch}", macros), 2u);
    EXPECT_EQ(KorvSafeAppendArgValue(heap.h, &l.words, "f", "%{x}", nullptr), 2u);
    EXPECT_EQ(end_of(l.words), before);
    int32_t flags[1] = {1};
    int32_t one = 1;
    KorvArgWord bad[] = {W("b:#b"), KORV_ARG_FIXED, W(&one), W(flags), KORV_ARG_NULL,
                         W("nocolon"), KORV_ARG_NULL, KORV_ARG_END};
    EXPECT_EQ(KorvSafeAppendArgValue(heap.h, &l.words, "f", "%{b}", bad), 0u);
    EXPECT_EQ(KorvSafeAppendArgValue(heap.h, &l.words, "f", "%{z}", bad), 0u);
    EXPECT_EQ(end_of(l.words), before);
}
