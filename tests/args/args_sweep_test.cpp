// Allocation failure at every point of building and parsing argument lists
// and of the binary blocks for arguments and headers.
#include <string.h>

#include "alloc_sweep.h"
#include <kvsup.h>

namespace {

KorvArgWord W(const void *p)
{
    return reinterpret_cast<KorvArgWord>(p);
}

const int32_t kPair[2] = {3, 4};
const KorvArgWord kMacros[] = {W("x:#s"), W("first"), W("second"), KORV_ARG_NULL, KORV_ARG_NULL,
                               W("pair:ii"), W(&kPair[0]), W(&kPair[1]), KORV_ARG_NULL,
                               KORV_ARG_END};

void build_and_parse(bool failing)
{
    static int32_t size = 640;
    static double gamma = 2.2;
    KorvSmallHeap *heap = KorvSmallHeapInit();
    if (!heap) {
        EXPECT_TRUE(failing);
        return;
    }
    KorvArgWord *list = nullptr;
    bool built = KorvSafeBuildArgs(&list, W("size:i"), W(&size), KORV_ARG_NULL, KORV_ARG_END) == 1;
    // Enough entries to grow the list past its first block. A list that
    // cannot grow is given up: the address holds null and the old block
    // stays the caller's.
    KorvArgWord *before = list;
    for (int i = 0; built && i < 6; i++) {
        before = list;
        built = KorvSafeAppendArgs(&list, W("gamma:f"), W(&gamma), KORV_ARG_NULL, W("name:s"),
                                   W("text"), KORV_ARG_NULL, KORV_ARG_END) == 1;
    }
    if (built) {
        before = list;
        uint32_t r = KorvSafeAppendArgValue(heap, &list, "names", "%{x:#}", kMacros);
        EXPECT_TRUE(r == 1 || (failing && r == 0)) << r;
        built = list != nullptr;
    }
    if (!built) {
        EXPECT_TRUE(failing);
        EXPECT_EQ(list, nullptr);
        korv_internal_free(before);
        KorvSmallHeapFree(heap);
        return;
    }
    char *text = nullptr;
    int32_t count = 0;
    char **names = nullptr;
    int32_t n = 0;
    uint32_t r = KorvParseArgs(list, W("size:s"), W(nullptr), W(&text), W("names:#s"), W(nullptr),
                               W(&count), W(&names), W("size:i"), W(nullptr), W(&n),
                               KORV_ARG_END);
    if (r == 1) {
        EXPECT_STREQ(text, "640");
        EXPECT_EQ(n, 640);
    } else {
        EXPECT_TRUE(failing);
        EXPECT_EQ(r, 0u);
    }
    korv_internal_free(text);
    for (int32_t i = 0; names && names[i]; i++)
        korv_internal_free(names[i]);
    korv_internal_free(names);
    korv_internal_free(list);
    KorvSmallHeapFree(heap);
}

void binary_arguments(bool failing)
{
    static int32_t win[4] = {1, 2, 3, 4};
    static double real = 0.5;
    const KorvArgWord list[] = {W("win:wi"), W(win), KORV_ARG_NULL, W("real:f"), W(&real),
                                KORV_ARG_NULL, W("on:"), KORV_ARG_NULL, W("t:#s"), W("a"),
                                W("b"), KORV_ARG_NULL, KORV_ARG_NULL, KORV_ARG_END};
    KorvBinArgDesc *block = nullptr;
    int32_t n = KorvBinArgFromArgs(list, &block);
    if (n < 0) {
        EXPECT_TRUE(failing);
        EXPECT_EQ(n, -1);
        korv_internal_free(block);
        return;
    }
    EXPECT_EQ(n, 4);
    KorvArgWord *back = KorvBinArgToArgs(n, block, 2);
    if (back) {
        double d = 0;
        EXPECT_EQ(KorvParseArgs(back, W("real:f"), W(nullptr), W(&d), KORV_ARG_END), 1u);
        EXPECT_EQ(d, 0.5);
    } else {
        EXPECT_TRUE(failing);
    }
    korv_internal_free(back);
    korv_internal_free(block);
}

void binary_header(bool failing)
{
    KorvGenericHeader h;
    KorvInitGenericHeader(&h);
    h.kind = KORV_KIND_PIXELS;
    h.imageParts[0] = 3;
    h.bitsPerSample[0] = h.bitsPerSample[1] = h.bitsPerSample[2] = 8;
    h.dimensions = 2;
    h.pixels = 16;
    h.scanlines = 4;
    h.params = KorvSetParam(nullptr, nullptr, "Origin", "units", "inch", 4);
    void *block = nullptr;
    int32_t size = KorvBinHdrFromHdr(&h, 1, &block, 0);
    KorvFreeUserCMData(h.params);
    if (size <= 0) {
        // Out of memory gives 0 (a parameter the setter could not make
        // leaves a smaller header).
        EXPECT_TRUE(failing);
        EXPECT_EQ(size, 0);
        korv_internal_free(block);
        return;
    }
    KorvGenericHeader *back = KorvBinHdrToHdr(block, static_cast<uint32_t>(size), 0);
    if (back) {
        EXPECT_EQ(back->pixels, 16u);
        back->free(back);
    } else {
        EXPECT_TRUE(failing);
    }
    korv_internal_free(block);
}

class ArgsSweep : public ::testing::TestWithParam<SweepPath> {};

TEST_P(ArgsSweep, EveryAllocationFails)
{
    EXPECT_GT(sweep_path(GetParam()), 0u);
}

INSTANTIATE_TEST_SUITE_P(Paths, ArgsSweep,
                         ::testing::Values(SweepPath{"BuildAndParseList", build_and_parse},
                                           SweepPath{"BinaryArguments", binary_arguments},
                                           SweepPath{"BinaryHeader", binary_header}),
                         SweepName());

} // namespace
