// Allocation failure at every point of the smart buffer spilling to files
// and of the stream constructors.
#include <string.h>

#include "alloc_sweep.h"
#include "io/io_test_util.h"

namespace {

std::string g_dir;

void spilling_buffer(bool failing)
{
    KorvSmartBuffer *sb = KorvSBInit(0, 16);
    if (!sb) {
        EXPECT_TRUE(failing);
        return;
    }
    unsigned char bytes[300];
    for (int i = 0; i < 300; i++)
        bytes[i] = static_cast<unsigned char>(i);
    uint64_t stored = 0;
    for (int part = 0; part < 3; part++)
        stored += KorvSBAppend(sb, bytes + part * 100, 100);
    // A failed allocation or open shortens the append, and the buffer holds
    // exactly what was stored.
    if (!failing)
        EXPECT_EQ(stored, 300u);
    EXPECT_EQ(KorvSBBytesAvailable(sb), static_cast<int64_t>(stored));
    unsigned char out[300];
    uint64_t peeked = KorvSBPeek(sb, 10, out, 20);
    EXPECT_LE(peeked, 20u);
    if (stored >= 30 && !failing) {
        EXPECT_EQ(peeked, 20u);
        EXPECT_EQ(out[0], 10);
    }
    uint64_t read = KorvSBRead(sb, out, 150);
    EXPECT_LE(read, stored);
    int64_t left = KorvSBBytesAvailable(sb);
    EXPECT_EQ(KorvSBAdvance(sb, left), left);
    KorvSBFree(sb);
}

void constructors(bool failing)
{
    KorvIO *mem = KorvIO_Mem(0);
    if (mem) {
        uint64_t n = KorvIOWriteBytes(mem, "hello world, this grows the block", 33);
        EXPECT_TRUE(n == 33 || failing) << n;
    }
    char text[] = "abc";
    KorvIO *str = KorvIO_Str(text, 0);
    KorvIO *parts[2] = {mem, str};
    KorvIO *mux = (mem && str) ? KorvIO_Multiplex(parts, 2) : nullptr;
    if (mux) {
        EXPECT_EQ(KorvIOMultiplexSet(mux, 1), 1u);
        mux->close(mux);
    }
    KorvIO *nop = str ? KorvIO_Nop(str) : nullptr;
    if (nop)
        nop->close(nop);
    std::string name = g_dir + "/file.txt";
    KorvIO *file = KorvIO_FileName(name.c_str(), "w+b");
    if (file) {
        EXPECT_EQ(KorvIOWriteString(file, "line\n"), 5);
        file->close(file);
    }
    KorvIO *temp = KorvIO_Mktemp("sweep");
    if (temp)
        temp->close(temp);
    KorvSmartBuffer *sb = KorvSBInit(1, 256);
    KorvIO *sbio = sb ? KorvIO_SB(sb) : nullptr;
    if (sbio)
        sbio->close(sbio);
    KorvSBFree(sb);
    if (!failing)
        EXPECT_TRUE(mem && str && mux && nop && file && temp && sbio);
    if (str)
        str->close(str);
    if (mem)
        mem->close(mem);
}

class IOSweep : public ::testing::TestWithParam<SweepPath> {};

TEST_P(IOSweep, EveryAllocationFails)
{
    ScratchDir dir("io_sweep");
    g_dir = dir.path.string();
    // Small limits, so that a few hundred bytes spill into several files.
    KorvSetenv("KORV_MEMORY_MAX", "64");
    KorvSetenv("KORV_TEMPFILE_MAX", "50");
    KorvSetenv("KORV_TEMP", g_dir.c_str());
    EXPECT_GT(sweep_path(GetParam()), 0u);
    KorvSetenv("KORV_MEMORY_MAX", nullptr);
    KorvSetenv("KORV_TEMPFILE_MAX", nullptr);
    KorvSetenv("KORV_TEMP", nullptr);
}

INSTANTIATE_TEST_SUITE_P(Paths, IOSweep,
                         ::testing::Values(SweepPath{"SpillingSmartBuffer", spilling_buffer},
                                           SweepPath{"StreamConstructors", constructors}),
                         SweepName());

} // namespace
