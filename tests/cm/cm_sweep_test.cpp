// Allocation failure at every point of reading a CM document into a tree,
// duplicating it and writing it back.
#include <string.h>
#include <string>

#include "alloc_sweep.h"
#include <kvsup.h>

namespace {

const char kDocument[] =
    "<ID>\n[Section]\nw: 100\nn: \"abc\"\nlist: 1\n2\n3\n"
    "data: \"<<<<Base64Data:QUJD>>>>\"\nblock: {a{b}c}\n<Other>\n[S]\nx: y\n";

KorvIO *document_stream()
{
    KorvIO *io = KorvIO_Mem(0);
    if (!io)
        return nullptr;
    if (KorvIOWriteBytes(io, kDocument, strlen(kDocument)) != strlen(kDocument)) {
        io->close(io);
        return nullptr;
    }
    io->seek(io, 0, 0);
    return io;
}

void read_document(bool failing)
{
    KorvIO *in = document_stream();
    if (!in) {
        EXPECT_TRUE(failing);
        return;
    }
    KorvCMNode *root = nullptr;
    uint32_t r = KorvReadUserCMData(in, &root, 1);
    in->close(in);
    if (r != 1) {
        // A failure leaves nothing behind.
        EXPECT_TRUE(failing);
        EXPECT_EQ(r, 0u);
        EXPECT_EQ(root, nullptr);
        return;
    }
    char *w = KorvGetParam(root, "ID", "Section", "w");
    EXPECT_STREQ(w, "100");
    KorvCMNode *copy = KorvUserCMDupData(root);
    KorvFreeUserCMData(copy);
    char **list = nullptr;
    if (KorvGetUserCMList(root, "ID", "Section", "list", &list) == 3)
        EXPECT_STREQ(list[2], "3");
    KorvFreeUserCMList(&list);
    KorvFreeUserCMData(root);
}

void write_document(bool failing)
{
    KorvCMNode *root = nullptr;
    root = KorvSetParam(root, "ID", "S", "w", "100", 3);
    root = KorvSetString(root, "ID", "S", "n", "abc");
    root = KorvSetData(root, "ID", "S", "d", "xyz", 3);
    KorvIO *out = KorvIO_Mem(0);
    if (out) {
        uint32_t r = KorvWriteUserCMData(root, out);
        // A stream that cannot grow makes a short write.
        EXPECT_TRUE(r == 1 || (failing && r == 0xFFFFFFFFu)) << r;
        out->close(out);
    }
    if (!failing)
        EXPECT_NE(out, nullptr);
    KorvFreeUserCMData(root);
}

class CMSweep : public ::testing::TestWithParam<SweepPath> {};

TEST_P(CMSweep, EveryAllocationFails)
{
    EXPECT_GT(sweep_path(GetParam()), 0u);
}

INSTANTIATE_TEST_SUITE_P(Paths, CMSweep,
                         ::testing::Values(SweepPath{"ReadDocument", read_document},
                                           SweepPath{"WriteDocument", write_document}),
                         SweepName());

} // namespace
