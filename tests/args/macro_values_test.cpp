// Entries made from value text whose qualifier names more values than their
// words hold: a literal after a macro reference leaves a NULL word where the
// reference's scalar value is named (the order of writes is kept as it is).
#include <gtest/gtest.h>
#include <string.h>
#include <kvsup.h>

namespace {

KorvArgWord W(const void *p)
{
    return reinterpret_cast<KorvArgWord>(p);
}

} // namespace

TEST(MacroValues, EntryWithMissingScalarReadsAsUsedUp)
{
    static const int32_t pair[2] = {3, 4};
    const KorvArgWord macros[] = {W("x:#s"), W("first"), W("second"), KORV_ARG_NULL, KORV_ARG_NULL,
                                  W("pair:ii"), W(&pair[0]), W(&pair[1]), KORV_ARG_NULL,
                                  KORV_ARG_END};
    KorvSmallHeap *heap = KorvSmallHeapInit();
    // The security entry comes first, so that looking it up stops before
    // the words the value text leaves behind the entry.
    KorvArgWord *list = nullptr;
    ASSERT_EQ(KorvSafeBuildArgs(&list, W("korvsec:i"), KorvArgWord(0x100), KORV_ARG_NULL,
                                KORV_ARG_END),
              1u);
    ASSERT_EQ(KorvSafeAppendArgValue(heap, &list, "m", "lit %{x:#} %{pair[1]} %{pair[1]}", macros),
              1u);
    ASSERT_STREQ(reinterpret_cast<const char *>(list[3]), "m:#s#sii");

    // Read as texts: the three strings, then the values end at the NULL
    // that stands where the integer's word is named.
    int32_t found = 0, count = -1;
    char **texts = nullptr;
    ASSERT_EQ(KorvParseArgs(list, W("m:#s"), W(&found), W(&count), W(&texts), KORV_ARG_END), 1u);
    EXPECT_EQ(found, 1);
    ASSERT_EQ(count, 3);
    EXPECT_STREQ(texts[0], "lit");
    EXPECT_STREQ(texts[2], "second");
    for (int i = 0; i < count; i++)
        korv_internal_free(texts[i]);
    korv_internal_free(texts);

    // Asking for one value more than the words hold fails instead of reading
    // through the NULL word.
    char *a = nullptr, *b = nullptr, *c = nullptr;
    int32_t n = 0;
    EXPECT_EQ(KorvParseArgs(list, W("m:sssi"), W(nullptr), W(&a), W(&b), W(&c), W(&n),
                            KORV_ARG_END),
              0u);
    korv_internal_free(a);
    korv_internal_free(b);
    korv_internal_free(c);
    korv_internal_free(list);
    KorvSmallHeapFree(heap);
}
