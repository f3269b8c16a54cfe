// Allocation failure at every point of reading a header document with its
// chunks and writing it back.
#include <string>

#include "alloc_sweep.h"
#include "header/format_test_util.h"

namespace {

// An image-ext document of two scan lines of two 16-bit pixels, then its
// two binary chunk frames.
std::string document()
{
    std::string doc = "[ID]\nformat: image-ext\nversion: 1.0\narchitecture: type 2\n"
                      "[Raster]\npixels: 2\nscanlines: 2\n"
                      "[Encoding]\nimageParts: 1 0 0\nbits/sample: 16\nbytes/sl: 4\n"
                      "interleave: pixel\n[End]\n\f\n";
    const unsigned char frame[] = {4, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4};
    for (int i = 0; i < 2; i++)
        doc.append(reinterpret_cast<const char *>(frame), sizeof frame);
    return doc;
}

void read_and_write(bool failing)
{
    static std::string doc = document();
    KorvIO *in = KorvIO_Str(doc.data(), doc.size());
    if (!in) {
        EXPECT_TRUE(failing);
        return;
    }
    KVHdrManager m{};
    KorvGenericHeader *h = nullptr;
    uint32_t r = KVHdrRead_Header(in, &m, &h);
    if (r != 1) {
        EXPECT_TRUE(failing);
        EXPECT_EQ(r, 0u);
        if (h)
            h->free(h);
        in->close(in);
        return;
    }
    EXPECT_EQ(h->pixels, 2u);
    KorvIO *out = KorvIO_Mem(0);
    if (out) {
        uint32_t w = KVHdrWrite_Header(h, &m, out);
        EXPECT_TRUE(w == 1 || failing) << w;
        KorvChunk c{};
        for (int i = 0; i < 2; i++) {
            uint32_t got = KVHdrToChunkLines(&m, h, in, &c, 1);
            if (got != 1) {
                EXPECT_TRUE(failing) << got;
                break;
            }
            KVHdrFromChunk(&m, h, out, &c);
        }
        out->close(out);
    }
    h->free(h);
    in->close(in);
}

class HeaderSweep : public ::testing::TestWithParam<SweepPath> {};

TEST_P(HeaderSweep, EveryAllocationFails)
{
    EXPECT_GT(sweep_path(GetParam()), 0u);
}

INSTANTIATE_TEST_SUITE_P(Paths, HeaderSweep,
                         ::testing::Values(SweepPath{"ReadAndWriteDocument", read_and_write}),
                         SweepName());

} // namespace
