// The generic header record: layout, init, arrays, copy and free,
// resolution and units.
#include "core/alloc_testing.h"

#include <kvsup.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace {

// Field offsets are part of the interface: formats allocate larger records
// and binary layouts are read by modules built separately.
static_assert(offsetof(KorvGenericHeader, free) == 16);
static_assert(offsetof(KorvGenericHeader, toStruct) == 24);
static_assert(offsetof(KorvGenericHeader, createHeader) == 88);
static_assert(offsetof(KorvGenericHeader, kind) == 96);
static_assert(offsetof(KorvGenericHeader, endian) == 100);
static_assert(offsetof(KorvGenericHeader, imageParts) == 104);
static_assert(offsetof(KorvGenericHeader, bitsPerSample) == 116);
static_assert(offsetof(KorvGenericHeader, blobs) == 272);
static_assert(offsetof(KorvGenericHeader, frame) == 272);
static_assert(offsetof(KorvGenericHeader, offset) == 276);
static_assert(offsetof(KorvGenericHeader, reserved) == 280);
static_assert(offsetof(KorvGenericHeader, compressed) == 312);
static_assert(offsetof(KorvGenericHeader, bytesPerLine) == 316);
static_assert(offsetof(KorvGenericHeader, colorSpace) == 468);
static_assert(offsetof(KorvGenericHeader, params) == 472);
static_assert(sizeof(KorvGenericHeader) == 480);
static_assert(sizeof(KorvWindow) == 16 && sizeof(KorvFWindow) == 32);

// The header's copy of the manager entries lines up with KVHdrManager, so
// that a manager's entries can be copied into a header as one block.
static_assert(offsetof(KorvGenericHeader, createHeader) - offsetof(KorvGenericHeader, toStruct) ==
              offsetof(KVHdrManager, createHeader));
static_assert(sizeof(KVHdrManager) == 72);

struct Header {
    KorvGenericHeader *h = nullptr;
    Header()
    {
        h = static_cast<KorvGenericHeader *>(korv_internal_calloc(1, sizeof *h));
        KorvInitGenericHeader(h);
    }
    ~Header()
    {
        if (h)
            h->free(h);
    }
};

TEST(GenericHeader, InitAllocCopyAndFree)
{
    EXPECT_EQ(KorvInitGenericHeader(nullptr), 0u);
    KorvGenericHeader **array = nullptr;
    ASSERT_EQ(KorvAllocHeaders(&array, 2, 0), 1u);  // small sizes get the common record
    for (int i = 0; i < 2; i++) {
        EXPECT_EQ(array[i]->free, &KorvGenericHeaderFree);
        EXPECT_EQ(array[i]->copy, &KorvGenericHeaderCopy);
        EXPECT_EQ(array[i]->endian, KorvIdentifyEndian());
        array[i]->bytesPerLine[KORV_MAX_SEPARATIONS - 1] = 1;  // whole record writable
    }
    KorvFreeArray(reinterpret_cast<void **>(array));
    EXPECT_EQ(KorvAllocHeaders(&array, -1, 512), 0u);
    korv_testing_fail_alloc(2);
    EXPECT_EQ(KorvAllocHeaders(&array, 2, 512), 0u);
    korv_testing_fail_alloc(0);

    Header src;
    src.h->free = nullptr;  // a format's own entries are not carried over
    src.h->bitsPerSample[35] = 12;
    src.h->params = KorvSetParam(nullptr, nullptr, "Origin", "units", "inch", 4);
    KorvGenericHeader *copy = KorvGenericHeaderCopy(src.h);
    src.h->free = KorvGenericHeaderFree;
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->free, &KorvGenericHeaderFree);
    EXPECT_EQ(copy->bitsPerSample[35], 12u);
    EXPECT_NE(copy->params, src.h->params);
    EXPECT_STREQ(KorvHeaderGetUnits(copy), "inch");
    copy->free(copy);
    EXPECT_EQ(KorvGenericHeaderCopy(nullptr), nullptr);
    KorvGenericHeaderFree(nullptr);
    korv_testing_fail_alloc(2);  // the parameters cannot be duplicated
    EXPECT_EQ(KorvGenericHeaderCopy(src.h), nullptr);
    korv_testing_fail_alloc(0);
}

uint32_t resolution(KorvGenericHeader *h, double *x, double *y)
{
    *x = *y = -1;
    return KorvHeaderGetResolution(h, x, y);
}

TEST(GenericHeader, ResolutionAspectAndUnits)
{
    Header r;
    double x, y;
    EXPECT_EQ(resolution(r.h, &x, &y), 0u);
    EXPECT_EQ(x + y, 2.0);
    KorvHeaderSetResolution(r.h, 300, 300);
    EXPECT_EQ(resolution(r.h, &x, &y), 1u);
    EXPECT_EQ(x + y, 600.0);
    KorvHeaderSetResolution(r.h, 600, 150);  // the aspect divides y
    EXPECT_EQ(resolution(r.h, &x, &y), 1u);
    EXPECT_EQ(y, 150.0);
    // A resolution of 1.0 or less is not stored; the aspect still is.
    KorvHeaderSetResolution(r.h, 1.0, 2);
    EXPECT_EQ(resolution(r.h, &x, &y), 2u);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(y, 2.0);
    KorvHeaderSetResolution(r.h, 72, 0);  // y of 0 removes the aspect
    EXPECT_EQ(resolution(r.h, &x, &y), 0u);
    KorvHeaderSetResolution(r.h, 96, 96);
    EXPECT_EQ(KorvGetUserCMData(r.h->params, nullptr, "Origin", "resolution")->next->next,
              nullptr);  // one resolution, one aspect
    EXPECT_STREQ(KorvGetParam(r.h->params, nullptr, "Origin", "resolution"), "96");

    KorvFreeUserCMData(r.h->params);
    r.h->params = KorvSetParam(nullptr, nullptr, "Origin", "resolution", " 254.5", 6);
    r.h->params = KorvSetParam(r.h->params, nullptr, "Origin", "aspect", "abc", 3);
    EXPECT_EQ(resolution(r.h, &x, &y), 1u);  // a non-number aspect is absent
    EXPECT_EQ(y, 254.5);

    EXPECT_EQ(KorvHeaderSetUnits(r.h, "dots: per [inch]"), 1u);
    EXPECT_STREQ(KorvHeaderGetUnits(r.h), "dots: per [inch]");
    EXPECT_EQ(KorvHeaderSetUnits(r.h, nullptr), 1u);
    EXPECT_EQ(KorvHeaderGetUnits(r.h), nullptr);

    EXPECT_EQ(KorvHeaderSetResolution(nullptr, 1, 1), 0u);
    EXPECT_EQ(resolution(nullptr, &x, &y), 0u);
    EXPECT_EQ(KorvHeaderSetUnits(nullptr, "cm"), 0u);
    EXPECT_EQ(KorvHeaderGetUnits(nullptr), nullptr);
}

} // namespace
