// Info fields: parsing, layout, header round trip, typed access and
// allocation failures.
#include <kvsup.h>

#include "core/alloc_testing.h"

#include <gtest/gtest.h>

#include <string.h>
#include <string>

namespace {

struct List {
    KorvInfoField **f = nullptr;
    ~List() { KorvFreeSmartArray(reinterpret_cast<void **>(f)); }
    uint32_t size() const { return KorvGetArraySize(reinterpret_cast<void **>(f)); }
};

TEST(InfoField, ParseOneText)
{
    const struct {
        const char *text;
        const char *name;
        char type;
        uint32_t count;
    } cases[] = {{"rgb:3f", "rgb", 'f', 3}, {"xy:ii", "xy", 'i', 2}, {"abc:2ff", "abc", 'f', 4},
                 {"a:b:0c", "a", 'b', 1}, {"e:", "e", '\0', 1}};
    for (const auto &c : cases) {
        char *name = nullptr;
        char type = 'z';
        uint32_t count = 0;
        ASSERT_EQ(KorvParseInfoField(c.text, &name, &type, &count), 1) << c.text;
        EXPECT_STREQ(name, c.name);
        EXPECT_EQ(type, c.type) << c.text;
        EXPECT_EQ(count, c.count) << c.text;
        korv_internal_free(name);
    }
    char *name = nullptr;
    char type;
    uint32_t count;
    EXPECT_EQ(KorvParseInfoField("nocolon", &name, &type, &count), -1);
    EXPECT_EQ(KorvParseInfoField("a:i", &name, nullptr, &count), 0);
    EXPECT_EQ(name, nullptr);
}

TEST(InfoField, LayoutAndHeaderRoundTrip)
{
    const char *texts[] = {"width:i", "scale:2f", "tag:8c", nullptr};
    List list;
    ASSERT_EQ(KorvParseInfoFields(texts, &list.f), 1u);
    ASSERT_EQ(list.size(), 3u);
    const uint32_t sizes[] = {4, 16, 8};
    const uint64_t offsets[] = {0, 4, 20};
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(list.f[i]->size, sizes[i]) << i;
        EXPECT_EQ(list.f[i]->offset, offsets[i]) << i;
    }
    EXPECT_EQ(KorvGetInfoFieldsTotal(list.f), 28u);
    EXPECT_EQ(KorvFindInfoField(list.f, "SCALE"), 1);
    EXPECT_EQ(KorvFindInfoField(list.f, "scal"), -1);

    KorvGenericHeader h{};
    h.params = KVHdrSetHeaderParam(nullptr, "Info", "field-7", "stale");
    ASSERT_EQ(KorvWriteInfoFieldsToHdr(&h, list.f), 1u);
    const char *want[] = {"width:1i", "scale:2f", "tag:8c"};
    for (int i = 0; i < 3; i++)
        EXPECT_STREQ(KVHdrGetHeaderParam(h.params, "Info", ("field-" + std::to_string(i)).c_str()),
                     want[i]);
    EXPECT_EQ(KVHdrCheckHeaderParam(h.params, "Info", "field-7"), 0u); // section rebuilt

    List back;
    ASSERT_EQ(KorvParseInfoFieldsFromHdr(&h, &back.f), 1u);
    ASSERT_EQ(back.size(), 3u);
    for (int i = 0; i < 3; i++) {
        EXPECT_STREQ(back.f[i]->name, list.f[i]->name);
        EXPECT_EQ(back.f[i]->count, list.f[i]->count);
        EXPECT_EQ(back.f[i]->offset, list.f[i]->offset);
    }

    // An empty list leaves no Info section behind, and reads back empty.
    List empty, again;
    const char *none[] = {nullptr};
    ASSERT_EQ(KorvParseInfoFields(none, &empty.f), 1u);
    ASSERT_EQ(KorvWriteInfoFieldsToHdr(&h, empty.f), 1u);
    EXPECT_EQ(h.params, nullptr);
    EXPECT_EQ(KorvParseInfoFieldsFromHdr(&h, &again.f), 1u);
    EXPECT_EQ(again.size(), 0u);

    // A field of size 0 fails the parse; what was parsed stays listed.
    const char *bad[] = {"a:i", "b:q", "c:i", nullptr};
    List partial;
    EXPECT_EQ(KorvParseInfoFields(bad, &partial.f), 0u);
    EXPECT_EQ(partial.size(), 2u);
}

TEST(InfoField, AddCopyRemove)
{
    List list;
    EXPECT_EQ(KorvAddInfoField(&list.f, "a", 'f', 2), 0);
    EXPECT_EQ(KorvAddInfoField(&list.f, "b", 'i', 3), 1);
    EXPECT_EQ(KorvAddInfoField(&list.f, "c", 'c', 5), 2);
    EXPECT_EQ(KorvAddInfoField(&list.f, "d", 'x', 5), -1); // kept, with size 0
    EXPECT_EQ(list.size(), 4u);
    EXPECT_EQ(list.f[3]->offset, 33u);

    KorvInfoField *copy = list.f[1]->copy(list.f[1]);
    EXPECT_NE(copy->name, list.f[1]->name);
    EXPECT_STREQ(copy->name, "b");
    EXPECT_EQ(copy->offset, 16u);
    copy->free(copy);

    ASSERT_EQ(KorvRemoveInfoField(list.f, 0), 1u);
    EXPECT_EQ(list.f[0]->offset, 0u);
    EXPECT_EQ(list.f[1]->offset, 12u);
    EXPECT_EQ(KorvRemoveInfoField(list.f, 3), 0u);
    EXPECT_EQ(KorvRemoveInfoField(list.f, -1), 0u);
    EXPECT_EQ(KorvGetInfoFieldsTotal(list.f), 17u);
}

TEST(InfoField, TypedAccess)
{
    const char *texts[] = {"n:2i", "d:f", "tag:4c", nullptr};
    List list;
    ASSERT_EQ(KorvParseInfoFields(texts, &list.f), 1u);
    KorvInfoField *n = list.f[0], *d = list.f[1], *tag = list.f[2];
    unsigned char block[1 + 20 + 1]; // the fields start at odd addresses
    memset(block, 0xAB, sizeof block);
    unsigned char *b = block + 1;
    int32_t i = 0;
    double x = 0;
    EXPECT_EQ(KorvSetInfoFieldInt(n, b, 1, -7), 1);
    EXPECT_EQ(KorvSetInfoFieldDouble(d, b, 0, 2.5), 1);
    EXPECT_EQ(KorvGetInfoFieldDouble(d, b, 0, &x), 1);
    EXPECT_EQ(x, 2.5);
    EXPECT_EQ(KorvGetInfoFieldInt(n, b, 2, &i), -1);
    EXPECT_EQ(KorvGetInfoFieldInt(tag, b, 0, &i), -1);
    EXPECT_EQ(KorvSetInfoFieldDouble(n, b, 0, 1.0), -1);
    EXPECT_EQ(KorvGetInfoFieldInt(nullptr, b, 0, &i), 0);

    // A string as long as the field or longer fills it with no terminator.
    EXPECT_EQ(KorvSetInfoFieldStr(tag, b, "abcdef"), 1);
    EXPECT_EQ(b[20], 0xAB);
    char *s = nullptr;
    ASSERT_EQ(KorvGetInfoFieldStr(tag, b, &s), 1);
    EXPECT_STREQ(s, "abcd");
    korv_internal_free(s);
    EXPECT_EQ(KorvSetInfoFieldStr(tag, b, "xy"), 1);
    EXPECT_EQ(memcmp(b + 16, "xy\0d", 4), 0);
    EXPECT_EQ(KorvSetInfoFieldStr(n, b, "xy"), -1);
    EXPECT_EQ(KorvGetInfoFieldStr(d, b, &s), -1);
    EXPECT_EQ(KorvGetInfoFieldInt(n, b, 1, &i), 1);
    EXPECT_EQ(i, -7); // neighbours untouched
    EXPECT_EQ(block[0], 0xAB);
}

TEST(InfoField, AllocationFailuresLeaveListsWhole)
{
    List list;
    ASSERT_EQ(KorvAddInfoField(&list.f, "a", 'c', 3), 0);
    for (unsigned long n = 1; n <= 3; n++) { // the record, its name, the grown list
        korv_testing_fail_alloc(n);
        EXPECT_EQ(KorvAddInfoField(&list.f, "b", 'i', 1), -1) << n;
        korv_testing_fail_alloc(0);
        ASSERT_EQ(list.size(), 1u) << n;
    }
    char *s = nullptr;
    unsigned char block[3] = {};
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvGetInfoFieldStr(list.f[0], block, &s), 0);
    korv_testing_fail_alloc(0);

    // Writing to a header fails with 0 wherever memory runs out.
    ASSERT_EQ(KorvAddInfoField(&list.f, "b", 'f', 2), 1);
    KorvGenericHeader h{};
    for (unsigned long n = 1;; n++) {
        korv_testing_fail_alloc(n);
        uint32_t r = KorvWriteInfoFieldsToHdr(&h, list.f);
        bool failed = korv_testing_alloc_count() >= n;
        korv_testing_fail_alloc(0);
        EXPECT_EQ(r, failed ? 0u : 1u) << n;
        if (!failed)
            break;
    }
    EXPECT_STREQ(KVHdrGetHeaderParam(h.params, "Info", "field-1"), "b:2f");
    KorvFreeUserCMData(h.params);
}

} // namespace
