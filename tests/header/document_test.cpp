// Header documents on streams: the written text, reading up to the data,
// the non-destructive read over every kind of stream, and arranging.
#include "header/format_test_util.h"
#include "core/alloc_testing.h"

#include <initializer_list>
#include <vector>

namespace {

const std::string kDoc = "[ID]\nformat: test-doc\nversion: 1\n\n[Raster]\npixels: 7\n\n[End]";

std::vector<std::string> top_names(const KorvCMNode *n)
{
    std::vector<std::string> v;
    for (; n; n = n->next)
        v.emplace_back(n->text);
    return v;
}

TEST(HeaderDocument, WriteThenReadLeavesTheDataBytes)
{
    KorvCMNode *tree = KVHdrSetHeaderParam(nullptr, "ID", "format", "test-doc");
    tree = KVHdrSetHeaderParam(tree, "ID", "version", "1");
    tree = KVHdrSetHeaderParam(tree, "Raster", "pixels", "7");
    KorvCMNode *last = nullptr;
    tree = KorvMergeUserCMData(tree, nullptr, "End", nullptr, &last);
    KorvIO *out = KorvIO_Mem(0);
    ASSERT_EQ(KVHdrWrite(tree, out), 1u);
    out->seek(out, 0, 0);
    EXPECT_EQ(rest_of(out), kDoc + "\f\n");
    out->close(out);
    EXPECT_EQ(KVHdrFree(tree), 1u);
    EXPECT_EQ(KVHdrFree(nullptr), 0u);

    // Bytes between the document and the form feed go with it.
    std::string text = kDoc + " trailing words\r\f\nDATA\f\n";
    KorvIO *in = KorvIO_Str(text.data(), text.size());
    tree = reinterpret_cast<KorvCMNode *>(1); // not looked at
    ASSERT_EQ(KVHdrRead(in, &tree), 1u);
    EXPECT_STREQ(KVHdrGetHeaderParam(tree, "Raster", "pixels"), "7");
    EXPECT_EQ(rest_of(in), "DATA\f\n");
    in->close(in);
    KVHdrFree(tree);
}

TEST(HeaderDocument, BadAndTruncatedDocuments)
{
    struct Case {
        std::string text;
        uint32_t result;
        std::string left;
    } cases[] = {
        {"", 0, ""},
        {"[Header]\nformat: x\n", 0, "\nformat: x\n"}, // not an ID document
        {"[ID]\nformat: {cut", 0, ""},
        {"[ID]\nformat: x\n", 1, ""},             // no End: read to the end
        {"[ID]\nformat: x\n[End]\fD", 1, ""},     // no line feed after the form feed
    };
    for (auto &c : cases) {
        KorvIO *in = KorvIO_Str(c.text.data(), c.text.size());
        KorvCMNode *tree = nullptr;
        EXPECT_EQ(KVHdrRead(in, &tree), c.result) << c.text;
        EXPECT_EQ(tree != nullptr, c.result == 1) << c.text;
        EXPECT_EQ(rest_of(in), c.left) << c.text;
        KorvFreeUserCMData(tree);
        in->close(in);
    }
}

// The bytes handed back are exactly those consumed, and replay the header.
void check_non_destructive(KorvIO *in, const std::string &doc, const std::string &data)
{
    KorvCMNode *tree = nullptr;
    void *block = nullptr;
    uint64_t size = 0;
    ASSERT_EQ(KVHdrNonDestructiveRead(in, &tree, &block, &size), 1u);
    EXPECT_EQ(std::string(static_cast<char *>(block), size), doc);
    EXPECT_EQ(rest_of(in), data);
    KorvIO *replay = KorvIO_Str(static_cast<char *>(block), size);
    KorvCMNode *again = nullptr;
    ASSERT_EQ(KVHdrRead(replay, &again), 1u);
    EXPECT_STREQ(KVHdrGetHeaderParam(again, "ID", "format"), "test-doc");
    replay->close(replay);
    KVHdrFree(again);
    KVHdrFree(tree);
    korv_internal_free(block);
}

TEST(HeaderDocument, NonDestructiveReadOnEveryStream)
{
    const std::string doc = kDoc + "xx\f\n", data(600, 'd');
    std::string all = doc + data;
    KorvSmartBuffer *sb = KorvSBInit(1, 256);
    KorvSBAppend(sb, all.data(), all.size());
    KorvIO *filled[] = {KorvIO_Mem(0), KorvIO_Mktemp("testdoc")};
    for (KorvIO *io : filled) {
        ASSERT_NE(io, nullptr);
        KorvIOWriteBytes(io, all.data(), all.size());
        io->seek(io, 0, 0);
    }
    for (KorvIO *io : {KorvIO_Str(all.data(), all.size()), filled[0], filled[1], KorvIO_SB(sb)}) {
        check_non_destructive(io, doc, data);
        io->close(io);
    }
    KorvSBFree(sb);
}

TEST(HeaderDocument, NonDestructiveReadFailures)
{
    KorvCMNode *tree = nullptr;
    void *block = nullptr;
    uint64_t size = 99;
    // A failed read still hands back what it consumed.
    std::string text = "[Nope]\nx: 1\n";
    KorvIO *in = KorvIO_Str(text.data(), text.size());
    EXPECT_EQ(KVHdrNonDestructiveRead(in, &tree, &block, &size), 0u);
    EXPECT_EQ(tree, nullptr);
    EXPECT_EQ(std::string(static_cast<char *>(block), size), "[Nope]");
    korv_internal_free(block);
    in->close(in);

    // No buffer for the bytes (the first allocation): 0; no block for them
    // (the last one): 0xFFFFFFFF. Either way size 0 and no block.
    text = kDoc + "\f\n";
    in = KorvIO_Str(text.data(), text.size());
    korv_testing_fail_alloc(0);
    ASSERT_EQ(KVHdrNonDestructiveRead(in, &tree, &block, &size), 1u);
    const unsigned long all = korv_testing_alloc_count();
    KVHdrFree(tree);
    korv_internal_free(block);
    in->close(in);
    for (unsigned long n : {1ul, all}) {
        in = KorvIO_Str(text.data(), text.size());
        korv_testing_fail_alloc(n);
        EXPECT_EQ(KVHdrNonDestructiveRead(in, &tree, &block, &size), n == 1 ? 0u : 0xFFFFFFFFu);
        korv_testing_fail_alloc(0);
        EXPECT_EQ(size, 0u);
        EXPECT_EQ(block, nullptr);
        KorvFreeUserCMData(tree);
        in->close(in);
    }
}

// A top-level list of sections with these names, made by hand so that
// names may repeat.
KorvCMNode *nodes(std::initializer_list<const char *> names)
{
    KorvCMNode *head = nullptr;
    KorvCMNode **link = &head;
    for (const char *name : names) {
        auto *n = static_cast<KorvCMNode *>(korv_internal_calloc(1, sizeof(KorvCMNode)));
        n->text = KorvStrDup(name);
        n->length = strlen(name);
        n->kind = KORV_CMK_SECTION;
        *link = n;
        link = &n->next;
    }
    return head;
}

TEST(HeaderDocument, Arrange)
{
    using Names = std::vector<std::string>;
    const struct {
        std::initializer_list<const char *> in;
        Names out;
    } cases[] = {
        {{"End", "A", "ID"}, {"ID", "A", "End"}},
        // Ends set aside follow the last node, the latest first, whatever
        // the case of their names; an End already last stays.
        {{"End", "X", "END", "Y", "id"}, {"id", "X", "Y", "END", "End"}},
        {{"ID", "Ending", "End"}, {"ID", "Ending", "End"}},
    };
    for (const auto &c : cases) {
        KorvCMNode *tree = KVHdrArrange(nodes(c.in));
        EXPECT_EQ(top_names(tree), c.out);
        KorvFreeUserCMData(tree);
    }
    EXPECT_EQ(KVHdrArrange(nullptr), nullptr);
}

} // namespace
